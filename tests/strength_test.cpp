// Limited strength: the same seed makes the same game whatever was searched before, the
// level's nodes and the clock are kept, and endings of the tables are played as they
// say.
#include <gtest/gtest.h>

#include <cstdlib>

#include "board/notation.h"
#include "egtb/tablebase.h"
#include "search/control.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/strong/state.h"
#include "tests/support.h"
#include "tests/tables.h"

namespace {

class StrengthTest : public testing::Test {
protected:
    void SetUp() override { FreshEngine(16, StrongSearch); }
    void TearDown() override { FreshEngine(); }

    static void Limit(int elo, int seed) {
        ActiveSearch().hearWish(
            ("strength " + std::to_string(elo) + ' ' + std::to_string(seed)).c_str());
    }
    // As for a game; the best move.
    static Move Think(const char* limits = "limits 0 0 0") {
        AskForLimits(limits);
        StartSearchClock();
        ClearRequests();
        EXPECT_FALSE(Search(kTimedDepthLimit, true));
        return RootMoves[0];
    }
    // Moves of the engine against itself.
    static std::string Game(const char* fen, int plies) {
        Position(fen);
        std::string moves;
        for (int ply = 0; ply < plies && LegalMoves().count > 0; ++ply) {
            const Move m = Think();
            moves += MoveText(m) + ' ';
            PlayGameMove(m);
        }
        return moves;
    }
};

TEST_F(StrengthTest, LevelsGrow) {
    for (int elo = kWeakest; elo < kStrongest; elo += 10) {
        const StrengthLevel low = LevelOf(elo), high = LevelOf(elo + 10);
        EXPECT_LE(low.nodes, high.nodes) << elo;
        EXPECT_GE(low.margin, high.margin) << elo;
        EXPECT_GE(low.lines, high.lines) << elo;
        EXPECT_GE(high.lines, 2);
    }
    EXPECT_EQ(LevelOf(0).nodes, LevelOf(kWeakest).nodes);
    EXPECT_EQ(LevelOf(9999).nodes, LevelOf(kStrongest).nodes);
    EXPECT_GT(LevelOf(kStrongest).nodes, 100 * LevelOf(kWeakest).nodes);
}

TEST_F(StrengthTest, TheSameGameComesAgain) {
    for (const int elo : {800, 1150, 1600}) {
        FreshEngine(16, StrongSearch);
        Limit(elo, 7);
        const std::string game = Game(kMiddlegame, 30);
        // Tables, history and corrections full of other things.
        FreshEngine(17, StrongSearch);
        Position(kMiddlegame);
        Search(9, true);
        Limit(elo, 7);
        EXPECT_EQ(Game(kMiddlegame, 30), game) << elo;
        Limit(elo, 8);
        EXPECT_NE(Game(kMiddlegame, 30), game) << elo;
    }
}

TEST_F(StrengthTest, WhatIsChosenIsNearlyAsGood) {
    const StrengthLevel level = LevelOf(1600);
    std::string chosen;
    int others = 0;
    for (int seed = 0; seed < 60; ++seed) {
        Limit(1600, seed);
        Position(kStart);
        const Move m = Think();
        ASSERT_TRUE(LegalMoves().Contains(m));
        EXPECT_EQ(Result.NodeCount, level.nodes);
        const RootLines& lines = Strong.rootLines;
        ASSERT_EQ(lines.shownCount, level.lines);
        EXPECT_EQ(lines.told, 1);
        EXPECT_EQ(lines.shown[0].moves.moves[0], m);
        EXPECT_EQ(RootScore, lines.shown[0].score);
        for (int i = 1; i < lines.shownCount; ++i)
            EXPECT_LE(lines.shown[i].score - RootScore, level.margin);
        others += lines.shown[1].score > RootScore ? 1 : 0;
    }
    EXPECT_GT(others, 10);
    EXPECT_LT(others, 55);
}

// Other limits hold beside the level's, and the whole table is there afterwards.
TEST_F(StrengthTest, LimitsAndAnalysis) {
    Limit(2400, 1);
    Position(kMiddlegame);
    const std::size_t buckets = Strong.results.count;
    Think("limits 0 0 500");
    EXPECT_EQ(Result.NodeCount, 500);
    Think("limits 1 5 0");
    EXPECT_LT(ElapsedMilliseconds(), 200);
    for (std::int64_t nodes = 1; nodes < 200; nodes += nodes / 3 + 1) {
        Think(("limits 0 0 " + std::to_string(nodes)).c_str());
        ASSERT_TRUE(LegalMoves().Contains(RootMoves[0]));
        EXPECT_EQ(Result.NodeCount, nodes);
    }
    EXPECT_EQ(Strong.results.count, buckets);
    Limit(800, 1);
    ClearRequests();
    Search(7, false);
    EXPECT_GT(Result.NodeCount, 1000);
    ActiveSearch().hearWish("searchmoves a3a4 h2h3");
    const std::string move = MoveText(Think());
    EXPECT_TRUE(move == "a3a4" || move == "h2h3") << move;
    EXPECT_EQ(Root.RootMoveCount, 2);
    // Back to full strength; what cannot be read changes nothing.
    for (const char* line : {"strength", "strength 900", "strength x 1", "strength -1 1"})
        ActiveSearch().hearWish(line);
    EXPECT_EQ(Strong.strength.elo, 800);
    Limit(0, 1);
    Think("limits 0 0 5000");
    EXPECT_EQ(Result.NodeCount, 5000);
}

// Where captures go on for ever the first iteration is broken off too.
TEST_F(StrengthTest, EndlessCapturesEnd) {
    Limit(kWeakest, 1);
    Position("qqqqqqqk/qqqqqqqq/1q1q1qqq/8/8/QQQ1Q1Q1/QQQQQQQQ/KQQQQQQQ w - -");
    EXPECT_TRUE(LegalMoves().Contains(Think()));
    EXPECT_LE(Result.NodeCount, 20000);
}

// Nothing is thought on the opponent's time.
TEST_F(StrengthTest, NoPondering) {
    Limit(800, 1);
    Position(kMiddlegame);
    BeginPondering(LegalMoveList()[0]);
    StartSearchClock();
    Search(kTimedDepthLimit, true);
    EXPECT_EQ(Result.NodeCount, 0);
    EXPECT_NE(Ponder.PonderMiss, 0);
    LeavePondering();
}

// Both sides play by the tables: mate comes when they say.
TEST_F(StrengthTest, WonEndingsAreWon) {
    const WithTables tables(ThreeManTables());
    for (const char* fen :
         {"8/8/8/3k4/8/8/8/KQ6 w", "8/8/8/3k4/8/8/8/KR6 w", "k7/8/8/8/3K4/8/8/r7 b",
          "8/1K6/P7/8/8/8/7k/8 w", "8/8/4k3/8/8/8/1Q6/K7 b"}) {
        FreshEngine(12, StrongSearch);
        Limit(800, 3);
        Position(fen);
        int value = 0;
        ASSERT_TRUE(ProbeTablebase(ChangeSide(Board.SideToMove), value));
        ASSERT_NE(value, 0) << fen;
        const int plies = value > 0 ? 2 * (32767 - value) - 1 : 2 * (value + 32766);
        const int score = value > 0 ? MateScore - plies : plies - MateScore;
        int played = 0;
        for (; LegalMoves().count > 0 && played < 200; ++played) {
            const Move m = Think();
            if (played == 0) {
                EXPECT_EQ(RootScore, score) << fen;
            }
            PlayGameMove(m);
        }
        EXPECT_EQ(played, plies) << fen;
    }
}

}  // namespace
