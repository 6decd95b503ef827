// The settings file: what every line does to the settings, and what it must leave alone.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "driver/settings.h"
#include "driver/settingsfile.h"
#include "eval/evaluate.h"
#include "search/control.h"
#include "tests/scratch.h"

namespace {

// Every setting of one kind in one place: what a line must not touch is compared as a
// whole.
struct Values {
    int learning = 0, learningData = 0, logLearning = 0, pondering = 1, egtb = 1;
    int egtbHash = 20, table = 19, pawnHash = 18, resignValue = 800, resignTimes = 3;
    int bookLearning = 1, bookWeights = 1, bookMode = 0, bookBound = 400, variety = 10;
    int aggressivity = 100, cowardice = 100;
    std::string path;
    bool operator==(const Values&) const = default;
};

void Store(const Values& v) {
    UseLearning = v.learning;
    UseLearningData = v.learningData;
    LogLearningIntoFile = v.logLearning;
    Pondering = v.pondering;
    UseEGTB = v.egtb;
    EGTBHashSize = v.egtbHash;
    TranspositionSize = v.table;
    PawnHashSize = v.pawnHash;
    ResignValue = v.resignValue;
    ResignTimes = v.resignTimes;
    UseBookLearning = v.bookLearning;
    UseBookWeights = v.bookWeights;
    BookLearningMode = v.bookMode;
    BookLearningBound = v.bookBound;
    VarietyOfPlay = v.variety;
    Aggressivity = v.aggressivity;
    Cowardice = v.cowardice;
    EgtbPath[0] = '\0';
}

Values Current() {
    return {UseLearning,      UseLearningData,   LogLearningIntoFile, Pondering,
            UseEGTB,          EGTBHashSize,      TranspositionSize,   PawnHashSize,
            ResignValue,      ResignTimes,       UseBookLearning,     UseBookWeights,
            BookLearningMode, BookLearningBound, VarietyOfPlay,       Aggressivity,
            Cowardice,        EgtbPath};
}

class SettingsFile : public ::testing::Test {
protected:
    void SetUp() override { Store(Values{}); }
    void TearDown() override { Store(Values{}); }
    Values Read(const std::string& text) {
        Store(Values{});
        scratch.Write("settings.ini", text);
        ReadSettingsFile(scratch.Path("settings.ini").c_str());
        return Current();
    }
    Scratch scratch;
};

template <typename Member, typename Value>
Values With(Member member, Value value) {
    Values v;
    v.*member = value;
    return v;
}

TEST_F(SettingsFile, LinesChangeWhatTheyName) {
    const struct {
        std::string line;
        Values expected;
    } cases[] = {
        {"TranspositionSize=22", With(&Values::table, 22)},
        {"TranspositionSize=13", With(&Values::table, 13)},
        {"TranspositionSize=24", With(&Values::table, 24)},
        {"PawnHashSize=11", With(&Values::pawnHash, 18)},
        {"PawnHashSize=12", With(&Values::pawnHash, 12)},
        {"PawnHashSize=23", With(&Values::pawnHash, 23)},
        {"egtbHASHsize=24", With(&Values::egtbHash, 24)},
        {"EGTBHashSize=04", With(&Values::egtbHash, 4)},
        {"EGTBHashSize=31", With(&Values::egtbHash, 30)},
        {"ResignValue=1500", With(&Values::resignValue, 1500)},
        {"ResignValue=15000", With(&Values::resignValue, 1500)},
        {"ResignValue=7 pawns", With(&Values::resignValue, 7)},
        {"ResignTimes=0", With(&Values::resignTimes, 0)},
        {"ResignTimes=52", With(&Values::resignTimes, 5)},
        {"aggressivity=450", With(&Values::aggressivity, 300)},
        {"Cowardice=0", With(&Values::cowardice, 0)},
        {"VarietyOfPlay=250", With(&Values::variety, 100)},
        {"BookLearningBound=9999", With(&Values::bookBound, 9999)},
        {"Learning=on", With(&Values::learning, 1)},
        {"Learning=ONx", With(&Values::learning, 1)},
        {"UseLearningData=On", With(&Values::learningData, 1)},
        {"LogLearningIntoFile=on", With(&Values::logLearning, 1)},
        {"BookLearning=off", With(&Values::bookLearning, 0)},
        {"BookLearningMode=Discover", With(&Values::bookMode, 1)},
        {"UseBookWeights=off", With(&Values::bookWeights, 0)},
        {"UseEGTB=OFF", With(&Values::egtb, 0)},
        {"Pondering=off", With(&Values::pondering, 0)},
        {"EGTBPath=C:\\TB", With(&Values::path, "C:\\TB")},
        {"EGTBPath=/a b;c\x01hidden", With(&Values::path, "/a b;c")},
        {"EGTBPath=tables\xC3\xA9", With(&Values::path, "tables")},
    };
    for (const auto& c : cases)
        for (const char* end : {"", "\n", "\r\n"})
            EXPECT_TRUE(Read(c.line + end) == c.expected) << c.line;
}

TEST_F(SettingsFile, OtherLinesChangeNothing) {
    for (const char* line : {";TranspositionSize=22",
                             " TranspositionSize=22",
                             "TranspositionSize =22",
                             "TranspositionSize= 22",
                             "TranspositionSize=9",
                             "TranspositionSize=2x",
                             "TranspositionSize=30",
                             "TranspositionSize",
                             "UseLearning=on",
                             "Learning=yes",
                             "Learning=o",
                             "UseEGTB=on",
                             "Pondering=on",
                             "BookLearningMode=kill",
                             "ResignValue=",
                             "ResignValue=-5",
                             "ResignValue=8x",
                             "ResignValue=8\xC3\xA9",
                             "Aggressivity=ten",
                             "=",
                             "\xEF\xBB\xBF",
                             ""})
        EXPECT_TRUE(Read(line) == Values{}) << line;
    EXPECT_TRUE(Read(std::string("Learning\0=on", 12)) == Values{});
    ReadSettingsFile(scratch.Path("no such file").c_str());
    EXPECT_TRUE(Current() == Values{});
}

TEST_F(SettingsFile, WhatIsBeyondTheLineLengthIsTheNextLine) {
    const std::string filler(kSettingsLineLength, ' ');
    EXPECT_EQ(Read(filler + "Learning=on\n").learning, 1);
    EXPECT_EQ(Read(filler + "\nLearning=on\n").learning, 1);
    EXPECT_EQ(Read(filler + " Learning=on\n").learning, 0);
    const std::string key = "EGTBPath=";
    EXPECT_EQ(Read(key + std::string(5000, 'x')).path.size(),
              kSettingsLineLength - key.size());
}

TEST_F(SettingsFile, PonderingOffAlsoWithdrawsThePermission) {
    Ponder.PonderAllowed = 1;
    Read("Pondering=on\n");
    EXPECT_EQ(Ponder.PonderAllowed, 1);
    Read("Pondering=off\n");
    EXPECT_EQ(Ponder.PonderAllowed, 0);
    Ponder.PonderAllowed = 1;
}

TEST_F(SettingsFile, LaterLinesWin) {
    EXPECT_EQ(Read("Cowardice=50\n\n; no\nCowardice=60\nCowardice=x\n").cowardice, 60);
}

// Every key at its default, so that a newcomer can edit it in place.
TEST_F(SettingsFile, TheTemplateNamesEveryKeyAtItsDefault) {
    const std::string name =
        std::string(VELTRAMOX_TEST_FOLDER) + "/../data/Veltramox.ini";
    std::ifstream file(name);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const char* key :
         {"TranspositionSize=19", "PawnHashSize=18", "EGTBHashSize=20", "ResignValue=800",
          "ResignTimes=3", "Aggressivity=100", "Cowardice=100", "VarietyOfPlay=10",
          "BookLearningBound=400", "Learning=off", "UseLearningData=off",
          "LogLearningIntoFile=off", "BookLearning=on", "BookLearningMode=kill",
          "UseBookWeights=on", "UseEGTB=on", "EGTBPath=", "Pondering=on"})
        EXPECT_NE(text.find('\n' + std::string(key) + '\n'), std::string::npos) << key;
    ReadSettingsFile(name.c_str());
    EXPECT_TRUE(Current() == Values{});
}

}  // namespace
