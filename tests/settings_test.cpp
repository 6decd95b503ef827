// The settings file: what every line does to the settings, and what it must leave alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "driver/settings.h"
#include "driver/settingsfile.h"
#include "eval/evaluate.h"
#include "search/control.h"
#include "search/strong/helpers.h"
#include "tests/scratch.h"
#include "tests/support.h"

namespace {

// All settings: what a line must not touch is compared as a whole.
struct Values : EngineSettings {
    int aggressivity, cowardice;
    bool operator==(const Values&) const = default;
};

Values Current() {
    return {Settings, EvaluationInput.Aggressivity, EvaluationInput.Cowardice};
}

Values Defaults() {
    SetDefaultSettings();
    return Current();
}

class SettingsFile : public ::testing::Test {
protected:
    void TearDown() override { SetDefaultSettings(); }
    Values Read(const std::string& text) {
        SetDefaultSettings();
        scratch.Write("settings.ini", text);
        ReadSettingsFile(scratch.Path("settings.ini").c_str());
        return Current();
    }
    Scratch scratch;
};

// The defaults but for one setting, named by its key in the file.
Values With(std::string_view key, int value) {
    SetDefaultSettings();
    for (const Setting& setting : AllSettings())
        if (setting.key == key) *setting.value = value;
    return Current();
}
Values WithPath(const std::string& path) {
    SetDefaultSettings();
    std::copy(path.begin(), path.end() + 1, SettingsInForce.EgtbPath);
    return Current();
}

TEST_F(SettingsFile, LinesChangeWhatTheyName) {
    const struct {
        std::string line;
        Values expected;
    } cases[] = {
        {"TranspositionSize=22", With("TranspositionSize", 22)},
        {"TranspositionSize=13", With("TranspositionSize", 13)},
        {"TranspositionSize=24", With("TranspositionSize", 24)},
        {"PawnHashSize=11", With("PawnHashSize", 18)},
        {"PawnHashSize=12", With("PawnHashSize", 12)},
        {"PawnHashSize=23", With("PawnHashSize", 23)},
        {"egtbHASHsize=24", With("EGTBHashSize", 24)},
        {"EGTBHashSize=04", With("EGTBHashSize", 4)},
        {"EGTBHashSize=31", With("EGTBHashSize", 30)},
        {"ResignValue=1500", With("ResignValue", 1500)},
        {"ResignValue=15000", With("ResignValue", 1500)},
        {"ResignValue=7 pawns", With("ResignValue", 7)},
        {"ResignTimes=0", With("ResignTimes", 0)},
        {"ResignTimes=52", With("ResignTimes", 5)},
        {"aggressivity=450", With("Aggressivity", 300)},
        {"Cowardice=0", With("Cowardice", 0)},
        {"VarietyOfPlay=250", With("VarietyOfPlay", 100)},
        {"BookLearningBound=9999", With("BookLearningBound", 9999)},
        {"Learning=on", With("Learning", 1)},
        {"Learning=ONx", With("Learning", 1)},
        {"UseLearningData=On", With("UseLearningData", 1)},
        {"LogLearningIntoFile=on", With("LogLearningIntoFile", 1)},
        {"BookLearning=off", With("BookLearning", 0)},
        {"BookLearningMode=Discover", With("BookLearningMode", 1)},
        {"UseBookWeights=off", With("UseBookWeights", 0)},
        {"UseEGTB=OFF", With("UseEGTB", 0)},
        {"Pondering=off", With("Pondering", 0)},
        {"search=STRONG", With("Search", 1)},
        {"Threads=4", With("Threads", 4)},
        {"threads=999", With("Threads", kMostThreads)},
        {"EGTBPath=C:\\TB", WithPath("C:\\TB")},
        {"EGTBPath=/a b;c\x01hidden", WithPath("/a b;c")},
        {"EGTBPath=tables\xC3\xA9", WithPath("tables")},
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
                             "Search=classic",
                             "Search=strange",
                             "Threads=0",
                             "Threads=-3",
                             "Threads=all",
                             "ResignValue=",
                             "ResignValue=-5",
                             "ResignValue=8x",
                             "ResignValue=8\xC3\xA9",
                             "Aggressivity=ten",
                             "=",
                             "\xEF\xBB\xBF",
                             ""})
        EXPECT_TRUE(Read(line) == Defaults()) << line;
    EXPECT_TRUE(Read(std::string("Learning\0=on", 12)) == Defaults());
    ReadSettingsFile(scratch.Path("no such file").c_str());
    EXPECT_TRUE(Current() == Defaults());
}

TEST_F(SettingsFile, WhatIsBeyondTheLineLengthIsTheNextLine) {
    const std::string filler(kSettingsLineLength, ' ');
    EXPECT_EQ(Read(filler + "Learning=on\n").UseLearning, 1);
    EXPECT_EQ(Read(filler + "\nLearning=on\n").UseLearning, 1);
    EXPECT_EQ(Read(filler + " Learning=on\n").UseLearning, 0);
    const std::string key = "EGTBPath=";
    EXPECT_EQ(std::strlen(Read(key + std::string(5000, 'x')).EgtbPath),
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

// Front ends of before read the report: it has a new line only for what they do not have.
TEST_F(SettingsFile, TheReportNamesSearchAndThreadsOnlyWhereTheyAreNew) {
    Read("Search=classic\n");
    const std::string before = OutputOf(WriteSettingsReport);
    EXPECT_EQ(before.find("Search"), std::string::npos);
    Read("Search=strong\n");
    EXPECT_EQ(OutputOf(WriteSettingsReport),
              before.substr(0, before.size() - 1) + "Search=strong\n\n");
    Read("Threads=1\n");
    EXPECT_EQ(OutputOf(WriteSettingsReport), before);
    Read("Threads=2\n");
    EXPECT_EQ(OutputOf(WriteSettingsReport),
              before.substr(0, before.size() - 1) + "Threads=2\n\n");
}

TEST_F(SettingsFile, LaterLinesWin) {
    EXPECT_EQ(Read("Cowardice=50\n\n; no\nCowardice=60\nCowardice=x\n").cowardice, 60);
}

// The file that comes with the program says of every key what the program does without
// it.
TEST_F(SettingsFile, TheTemplateIsTheTableOfSettings) {
    const std::string name =
        std::string(VELTRAMOX_TEST_FOLDER) + "/../data/Veltramox.ini";
    std::ifstream file(name);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text, DefaultSettingsText()) << "veltramox-tool settings writes it";
    for (const Setting& setting : AllSettings())
        if (setting.value != nullptr) *setting.value = setting.standard == 0 ? 1 : 0;
    const Values before = Current();
    ReadSettingsFile(name.c_str());
    for (const Setting& setting : AllSettings()) {
        if (setting.value == nullptr) continue;
        // What is on by default can only be switched off, by the other word.
        const bool heard = setting.kind != SettingKind::Switch ||
                           (setting.heard >> setting.standard & 1) != 0;
        EXPECT_EQ(*setting.value == setting.standard, heard) << setting.key;
    }
    EXPECT_FALSE(Current() == before);
}

}  // namespace
