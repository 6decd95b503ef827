// Position learning: which positions become suspects, what reaches the file, and files
// that are damaged, cut off or written by a program that was killed.
#include "book/positionlearn.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>

#include "board/fen.h"
#include "book/learnfile.h"
#include "driver/settings.h"
#include "tests/bookmaker.h"
#include "tests/killed.h"
#include "tests/moves.h"
#include "tests/scratch.h"

namespace {

constexpr std::size_t kEmptySize = 262167;

// The engine's side of a game: its moves with their scores, and learning after each.
struct Game {
    explicit Game(const std::string& moves) { PlayFromStart(moves); }
    // The opponent's move (none: ""), the engine's, and what its search said.
    void Play(const std::string& reply, const std::string& own, int score, int depth = 8,
              bool fromBook = false) {
        PlayMoves(reply);
        PlayMoves(own);
        recent[2] = recent[1];
        recent[1] = recent[0];
        recent[0] = {Board.hash1, Board.hash2, score, fromBook ? 1 : 0};
        PositionLearnAfterMove(score, depth, recent);
    }
    OwnMove recent[3] = {};
};

class PositionLearnTest : public ::testing::Test {
protected:
    void SetUp() override {
        before = std::filesystem::current_path();
        std::filesystem::current_path(scratch.directory);
        BuildTables();
        ASSERT_TRUE(OpenLearningFile("Learn.vl1"));
        SettingsInForce.LogLearningIntoFile = 1;
    }
    void TearDown() override {
        CloseLearningFile();
        SettingsInForce.LogLearningIntoFile = 0;
        std::filesystem::current_path(before);
    }
    // The position after these moves is in the file.
    static bool Holds(const std::string& moves, int score, int depth) {
        PlayFromStart(moves);
        int foundScore = 0, foundDepth = 0;
        return LearnLookup(Board.hash1, Board.hash2, foundScore, foundDepth) &&
               foundScore == score && foundDepth == depth;
    }
    std::size_t Records() const {
        return (scratch.Read("Learn.vl1").size() - kEmptySize) / 24;
    }

    Scratch scratch;
    std::filesystem::path before;
};

TEST_F(PositionLearnTest, ANewFileIsAHeaderAndEmptyBuckets) {
    EXPECT_EQ(scratch.Read("Learn.vl1"),
              "Veltramox learning file" + std::string(4 * 65536, '\0'));
}

TEST_F(PositionLearnTest, ADropIsASuspectAndACollapseConfirmsIt) {
    Game game("e2e4 e7e5");
    game.Play("", "g1f3", 25);
    game.Play("b8c6", "f1c4", -20, 8);
    EXPECT_EQ(Records(), 0u);
    game.Play("g8f6", "d2d3", -401);  // also a drop: a second suspect
    EXPECT_EQ(Records(), 1u);
    game.Play("f8c5", "c2c3", -500, 9);
    EXPECT_EQ(Records(), 2u);
    EXPECT_TRUE(Holds("e2e4 e7e5", -20, 510));
    EXPECT_TRUE(Holds("e2e4 e7e5 g1f3 b8c6", -401, 510));
    EXPECT_FALSE(Holds("e2e4 e7e5 g1f3", -20, 510));
    const std::string file = scratch.Read("Learn.vl1");
    PlayFromStart("e2e4 e7e5");
    EXPECT_EQ(file.substr(kEmptySize, 24),
              Bytes32(510) + Bytes32(static_cast<std::uint32_t>(-20)) +
                  Bytes32(LegalMove("g1f3")) + Bytes32(Board.hash1) +
                  Bytes32(Board.hash2) + Bytes32(0));
    EXPECT_EQ(file.substr(23 + 4 * (Board.hash1 & 0xFFFF), 4), Bytes32(kEmptySize));
}

TEST_F(PositionLearnTest, RefreshesAndLogs) {
    for (const int depth : {8, 8, 12, 9}) {  // only the deeper search replaces the first
        Game game("e2e4 c7c5 g1f3 d7d6 d2d4");
        game.Play("", "c5d4", 30);
        game.Play("f3d4", "g8f6", -41, depth);
        game.Play("b1c3", "a7a6", -450, 5);
    }
    EXPECT_EQ(Records(), 1u);
    EXPECT_TRUE(Holds("e2e4 c7c5 g1f3 d7d6 d2d4", -41, 750));
    const std::string log = scratch.Read("learn.log");
    const std::size_t tab = log.find('\t');
    const std::string epd =
        "rnbqkbnr/pp2pppp/3p4/2p5/3PP3/5N2/PPP2PPP/RNBQKB1R b KQkq d3 c5d4\n";
    const int first = std::stoi(log.substr(0, tab));  // counts from the program's start
    EXPECT_EQ(log,
              std::to_string(first) +
                  "\tAdd: Depth=510\tOldEvaluation=30\tEvaluaton=-41\tEPD=" + epd +
                  std::to_string(first + 1) +
                  "\tRefresh: Depth=750\tOldEvaluation=30\tEvaluaton=-41\tEPD=" + epd);
}

// Each case differs in one thing from a game that makes a suspect and confirms it.
TEST_F(PositionLearnTest, WhatMakesNoSuspect) {
    const struct {
        const char* why;
        int oldScore, newScore, depth;
        bool oldBook, newBook;
        std::size_t records;
    } cases[] = {
        {"none: it is learned", 25, -16, 7, false, false, 1},
        {"drop too small", 25, -15, 7, false, false, 0},
        {"depth too small", 25, -16, 6, false, false, 0},
        {"bad before", -180, -300, 7, false, false, 0},
        {"just not bad before", -179, -300, 7, false, false, 1},
        {"still winning", 900, 520, 7, false, false, 0},
        {"no longer winning", 900, 519, 7, false, false, 1},
        {"previous move from the book", 25, -16, 7, true, false, 0},
        {"this move from the book", 25, -16, 7, false, true, 0},
    };
    std::size_t expected = 0;
    const char* openings[] = {"a2a3", "b2b3", "c2c4", "d2d3", "e2e3",
                              "f2f3", "g2g3", "h2h4", "a2a4"};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        DropSuspects();
        Game game(std::string(openings[i]) + " e7e6");
        game.Play("", "g1h3", c.oldScore, 8, c.oldBook);
        game.Play("b8c6", "b1c3", c.newScore, c.depth, c.newBook);
        game.Play("g8f6", "h3g1", -401, 5);
        expected += c.records;
        EXPECT_EQ(Records(), expected) << c.why;
    }
}

TEST_F(PositionLearnTest, RecoveryAndBookMovesDropSuspects) {
    Game recovered("e2e4 e7e5");
    recovered.Play("", "g1f3", 60);
    recovered.Play("b8c6", "f1c4", 10);
    recovered.Play("g8f6", "d2d3", -9);
    recovered.Play("f8c5", "c2c3", -401, 5);
    Game booked("d2d4 d7d5");
    booked.Play("", "c2c4", 60);
    booked.Play("e7e6", "b1c3", -50);
    booked.Play("g8f6", "c1g5", -50, 8, true);
    booked.Play("f8e7", "e2e3", -401, 5);
    EXPECT_EQ(Records(), 0u);
}

TEST_F(PositionLearnTest, TakeBacksAndThreeSuspectsAtMost) {
    Game game("e2e4 e7e5");
    game.Play("", "g1f3", 200);
    TakeBackGameMove();
    PlayMoves("b1c3");
    game.Play("b8c6", "f1c4", 100);  // the move before is not the game's
    const char* moves[][2] = {
        {"g8f6", "d2d3"}, {"f8c5", "c3b5"}, {"a7a6", "b5c3"}, {"d7d6", "h2h3"}};
    int score = 50;
    for (const auto& [reply, own] : moves) game.Play(reply, own, score -= 50);
    game.Play("h7h6", "a2a3", -401);
    EXPECT_EQ(Records(), 3u);
}

TEST_F(PositionLearnTest, SidesMaySwitchBetweenTheEnginesMoves) {
    Game game("e2e4 e7e5");
    game.Play("", "g1f3", 200);
    Board.SideToMove = WHITE;
    game.Play("f1c4", "b8c6", 100);  // White moves twice, then the engine is Black
    char epd[kEpdSize];
    WriteEpd(epd);
    EXPECT_STREQ(epd, "r1bqkbnr/pppp1ppp/2n5/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq - ");
}

// Links that lead backwards, in circles, out of the file or into the wrong bucket;
// records cut off; stored scores that no search returns.
TEST_F(PositionLearnTest, DamagedFilesAreSurvived) {
    CloseLearningFile();
    const std::string empty = "Veltramox learning file" + std::string(4 * 65536, '\0');
    const auto record = [](std::uint32_t hash1, std::uint32_t next,
                           std::uint32_t score = 5) {
        return Bytes32(510) + Bytes32(score) + Bytes32(0) + Bytes32(hash1) + Bytes32(9) +
               Bytes32(next);
    };
    const auto first = [&empty](std::uint32_t offset) {
        return std::string(empty).replace(23 + 4, 4, Bytes32(offset));
    };
    const std::uint32_t at = kEmptySize;
    const struct {
        std::string content;
        bool found;  // hash1 0x20001
    } cases[] = {
        {first(at) + record(0x20001, 0), true},
        {first(at) + record(0x10001, at + 24) + record(0x20001, 0), true},
        {first(at) + record(0x10001, at) + record(0x20001, 0), false},
        {first(at) + record(0x10001, at + 24) + record(0x10001, at), false},
        {first(at) + record(0x10001, 0xFFFFFFFF), false},
        {first(at) + record(0x10002, at + 24) + record(0x20001, 0), false},
        {first(22) + record(0x20001, 0), false},
        {first(at) + record(0x20001, 0).substr(0, 23), false},
        {first(at) + record(0x20001, 0, 40000), false},
        {first(at).substr(0, 100), false},
        {"Velt", false},
        {"", false},
    };
    for (const auto& c : cases) {
        scratch.Write("damaged", c.content);
        ASSERT_TRUE(OpenLearningFile("damaged"));
        int score, depth;
        EXPECT_EQ(LearnLookup(0x20001, 9, score, depth), c.found);
        CloseLearningFile();
        // What is learned now can be found again.
        FileHandle file = OpenOrCreateLearnFile(scratch.Path("damaged").c_str());
        LearnRecord r;
        const LearnPlace place = FindLearnRecord(file, 0x20001, 9, r);
        EXPECT_TRUE(WriteLearnRecord(file, place, {60, -7, 0, 0x20001, 9, 0}));
        EXPECT_NE(FindLearnRecord(file, 0x20001, 9, r).record, 0u);
        EXPECT_EQ(r.score, -7);
        CloseFile(file);
    }
    testing::internal::CaptureStdout();
    EXPECT_FALSE(OpenLearningFile(scratch.directory.string().c_str()));
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}

#ifndef _WIN32

TEST_F(PositionLearnTest, AFullDiskIsSaidInOneLine) {
    Game game("e2e4 e7e5");
    game.Play("", "g1f3", 60);
    game.Play("b8c6", "f1c4", 0);
    testing::internal::CaptureStdout();
    {
        const FileSizeLimit full(kEmptySize);
        game.Play("g8f6", "d2d3", -401, 5);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "# The learning file cannot be written: what was learned is lost\n");
    EXPECT_EQ(scratch.Read("Learn.vl1").size(), kEmptySize);
    testing::internal::CaptureStdout();
    {
        const FileSizeLimit full(100000);
        EXPECT_FALSE(OpenLearningFile("other.vl1"));
        EXPECT_FALSE(std::filesystem::exists("other.vl1"));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "# The learning file cannot be opened or written: no position learning\n");
    EXPECT_TRUE(OpenLearningFile("other.vl1"));
    EXPECT_EQ(scratch.Read("other.vl1").size(), kEmptySize);
}

// The system copies a write page by page: a kill can cut what crosses a page there, the
// refresh of a record or a new link. A cut link leads to where no record can be.
bool CrossesPage(std::uint32_t record) {
    constexpr std::uint32_t kPage = 4096, kOverwritten = 20;
    return record / kPage != (record + kOverwritten - 1) / kPage;
}

struct FoundRecord : LearnRecord {
    bool crossesPage;
};

// All records reachable in a file image, hash2 to record; walks every chain by itself.
std::map<std::uint32_t, FoundRecord> Reachable(const std::string& image) {
    const auto word = [&image](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(image.at(at + i));
        return value;
    };
    std::map<std::uint32_t, FoundRecord> records;
    for (std::size_t bucket = 0; bucket < 65536; ++bucket)
        for (std::uint32_t at = word(23 + 4 * bucket); at >= 262167; at = word(at + 20)) {
            const FoundRecord r = {
                {static_cast<int>(word(at)), static_cast<int>(word(at + 4)), word(at + 8),
                 word(at + 12), word(at + 16), word(at + 20)},
                CrossesPage(at)};
            EXPECT_EQ(r.hash1 & 0xFFFF, bucket);
            EXPECT_TRUE(records.emplace(r.hash2, r).second) << "linked twice";
        }
    return records;
}

// Killed two hundred times while it writes: every record written before is there and
// whole, and the file can be written on.
TEST_F(PositionLearnTest, NothingIsLostWhenKilled) {
    // Record number n: few buckets, so that chains grow; the score repeats the depth.
    const auto learn = [](FileHandle file, std::uint32_t n, int depth) {
        const std::uint32_t hash1 = n * 2654435761u & 0xFFFF003F;
        bool known;
        return StoreLearnRecord(file, {depth, -depth, n, hash1, n, 0}, known);
    };
    const std::string name = scratch.Path("killed.vl1");
    std::mt19937 random(2);
    std::map<std::uint32_t, int> depths;  // of what must be in the file
    std::set<std::uint32_t> cut;          // perhaps
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        const auto base = static_cast<std::uint32_t>(depths.size());
        // Every third write refreshes a record of this round or an earlier one.
        const auto target = [base](int n) {
            const auto k = static_cast<std::uint32_t>(n);
            return n % 3 == 2 ? (base + k) / 2 : base + k - (k + 1) / 3;
        };
        FileHandle file = nullptr;
        const int calls = CallsUntilKilled(
            [&](int n) {
                if (file == nullptr) file = OpenOrCreateLearnFile(name.c_str());
                if (!learn(file, target(n), 1000 * round + n)) pause();
            },
            random);
        for (int n = 0; n < calls; ++n) depths[target(n)] = 1000 * round + n;
        const auto records = Reachable(scratch.Read("killed.vl1"));
        for (const auto& [n, r] : records) {
            const bool interrupted =
                n == target(calls) && r.depth == 1000 * round + calls;
            EXPECT_TRUE(depths.contains(n) || interrupted);
            EXPECT_EQ(r.move, n);
            if (n == target(calls) && r.crossesPage) cut.insert(n);
            if (!cut.contains(n)) {
                EXPECT_TRUE(r.depth == depths[n] || interrupted) << n;
                EXPECT_EQ(r.score, -r.depth);
            }
            depths[n] = r.depth;
        }
        EXPECT_EQ(records.size(), depths.size());
    }
    EXPECT_GT(depths.size(), 1000u);
}

// Two engines make the file, and learn, at the same time. All records are of one bucket.
TEST_F(PositionLearnTest, TwoProgramsAtOnceLoseNothing) {
    constexpr int kRecords = 20;
    const std::string name = scratch.Path("both.vl1");
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        std::filesystem::remove(name);
        AtOnce([&](int i) {
            FileHandle file = OpenOrCreateLearnFile(name.c_str());
            ASSERT_NE(file, nullptr);
            for (int n = 0; n < kRecords; ++n) {
                const auto key = static_cast<std::uint32_t>(i * kRecords + n);
                bool known = true;
                EXPECT_TRUE(StoreLearnRecord(file, {60, 1, 2, 7, key, 0}, known));
                EXPECT_FALSE(known);
                EXPECT_TRUE(StoreLearnRecord(file, {90, -3, 2, 7, key, 0}, known));
                EXPECT_TRUE(known);
            }
        });
        const auto records = Reachable(scratch.Read("both.vl1"));
        EXPECT_EQ(records.size(), 2 * kRecords) << round;
        for (const auto& [key, record] : records) EXPECT_EQ(record.score, -3);
    }
}

#endif

}  // namespace
