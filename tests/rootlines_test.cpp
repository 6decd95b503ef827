// Several lines at once and restricted root moves in the strong search: lines are all
// different, in order and playable wherever the search ends, and only what was asked for
// is searched.
#include <gtest/gtest.h>

#include <set>

#include "bench/positions.h"
#include "board/notation.h"
#include "driver/modes.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/strong/state.h"
#include "tests/support.h"

namespace {

void Wish(const std::string& line) { ActiveSearch().hearWish(line.c_str()); }

class RootLinesTest : public testing::Test {
protected:
    void SetUp() override { FreshEngine(19, StrongSearch); }
    void TearDown() override { FreshEngine(); }

    static void ThinkWith(std::int64_t nodes) {
        AskForLimits(("limits 0 0 " + std::to_string(nodes)).c_str());
        StartSearchClock();
        ClearRequests();
        Search(kTimedDepthLimit, true);
    }
    // The lines that are shown, as "score depth move...".
    static std::vector<std::string> Shown() {
        std::vector<std::string> all;
        const RootLines& lines = Strong.rootLines;
        for (int i = 0; i < lines.shownCount; ++i) {
            const RootLine& line = lines.shown[i];
            std::string text =
                std::to_string(line.score) + ' ' + std::to_string(line.depth);
            for (int j = 0; j < line.moves.length; ++j)
                text += ' ' + MoveText(line.moves.moves[j]);
            all.push_back(text);
        }
        return all;
    }
    static void ExpectSound(int count) {
        const RootLines& lines = Strong.rootLines;
        ASSERT_EQ(lines.shownCount, count);
        EXPECT_EQ(lines.shown[0].moves.moves[0], RootMoves[0]);
        EXPECT_EQ(lines.shown[0].score, RootScore);
        std::set<Move> first;
        for (int i = 0; i < count; ++i) {
            const RootLine& line = lines.shown[i];
            EXPECT_TRUE(first.insert(line.moves.moves[0]).second) << i;
            if (i > 0) {
                EXPECT_LE(line.score, lines.shown[i - 1].score) << i;
            }
            EXPECT_EQ(line.depth, lines.shown[0].depth);
            int made = 0;
            for (; made < line.moves.length; ++made) {
                ASSERT_TRUE(LegalMoves().Contains(line.moves.moves[made])) << i;
                MakeMove(line.moves.moves[made]);
            }
            while (made-- > 0) UnmakeMove();
        }
    }
};

TEST_F(RootLinesTest, AllDifferentAndInOrder) {
    Wish("lines 4");
    for (const char* fen : kBenchPositions) {
        Position(fen);
        const int moves = LegalMoves().count;
        Search(7, false);
        ExpectSound(std::min(moves, 4));
    }
    // More lines than there are moves; one again.
    Wish("lines 500");
    Position(kRookEnding);
    Search(5, false);
    ExpectSound(LegalMoves().count);
    for (const char* none : {"lines", "lines 0", "lines -3", "lines x"}) Wish(none);
    EXPECT_EQ(WantedLines(), LegalMoves().count);
    Wish("lines 1");
    Search(5, false);
    ExpectSound(1);
}

// The second line is the best one without the first move.
TEST_F(RootLinesTest, EveryLineIsTheBestOfTheRest) {
    Position("1k6/8/8/8/8/8/R6R/K6q w - - 0 1");
    Wish("lines 2");
    Search(6, false);
    ExpectSound(2);
    EXPECT_EQ(MoveText(RootMoves[0]), "h2h1");
    // Two mates in one.
    Position("7k/8/6K1/8/8/8/8/R1R5 w - - 0 1");
    Wish("lines 3");
    Search(7, false);
    ExpectSound(3);
    EXPECT_EQ(Strong.rootLines.shown[1].score, MateScore - 1);
    EXPECT_LT(Strong.rootLines.shown[2].score, MateScore - 1);
}

TEST_F(RootLinesTest, SameNodesSameLines) {
    std::vector<std::string> first;
    for (int run = 0; run < 2; ++run) {
        FreshEngine(19, StrongSearch);
        Wish("lines 3");
        Position(kMiddlegame);
        ThinkWith(20000);
        EXPECT_EQ(Result.NodeCount, 20000);
        if (run == 0) first = Shown();
    }
    EXPECT_EQ(Shown(), first);
    EXPECT_EQ(first.size(), 3u);
}

// Broken off anywhere, the lines are those of the last complete iteration.
TEST_F(RootLinesTest, StoppedAnywhereTheLinesAreWhole) {
    for (std::int64_t nodes = 1; nodes < 6000; nodes += nodes / 8 + 1) {
        FreshEngine(12, StrongSearch);
        Wish("lines 5");
        Position(kCastlings);
        const BoardRecord before = Board;
        ThinkWith(nodes);
        ASSERT_EQ(Result.NodeCount, nodes);
        ASSERT_TRUE(SameBoard(Board, before));
        ASSERT_TRUE(LegalMoves().Contains(RootMoves[0])) << nodes;
        if (Strong.rootLines.shownCount > 0) ExpectSound(Strong.rootLines.shownCount);
    }
    EXPECT_EQ(Strong.rootLines.shownCount, 5);
}

TEST_F(RootLinesTest, OnlyTheMovesAskedFor) {
    Position(kStart);
    Wish("searchmoves a2a3 e2e5 h2h3 nonsense a2a3");
    Wish("searchmoves b2b3");
    Wish("lines 8");
    Search(6, false);
    ExpectSound(3);
    EXPECT_EQ(Root.RootMoveCount, 3);
    // Analysis comes back to them, another position does not.
    Search(4, false);
    ExpectSound(3);
    PlayGameMove(MoveOf("e2e4"));
    Search(4, false);
    ExpectSound(8);
    TakeBackGameMove();
    Search(4, false);
    ExpectSound(3);
    Wish("searchmoves");
    Search(4, false);
    ExpectSound(8);
    // A single one is searched like any other, none at all is no restriction.
    Wish("searchmoves g1h3");
    Wish("lines 1");
    ThinkWith(5000);
    EXPECT_EQ(MoveText(RootMoves[0]), "g1h3");
    EXPECT_EQ(Result.NodeCount, 5000);
    Wish("searchmoves");
    Wish("searchmoves e2e5");
    Search(5, false);
    EXPECT_EQ(Root.RootMoveCount, 20);
}

// The only move has a score and a line, but where time counts it is made at once.
TEST_F(RootLinesTest, OnlyMove) {
    Position("7k/8/8/8/8/8/6q1/7K w - - 0 1");
    Search(8, false);
    ExpectSound(1);
    EXPECT_EQ(RootScore, 0);
    AskForLimits("limits 5000 10000 0");
    StartSearchClock();
    ClearRequests();
    Search(kTimedDepthLimit, true);
    EXPECT_LT(ElapsedMilliseconds(), 1000);
    ExpectSound(1);
}

// What is told in full: every line of the last iteration, bounds while the window opens.
TEST_F(RootLinesTest, ToldInFull) {
    Modes.FullThinking = Modes.PostThinking = 1;
    Wish("lines 2");
    Position("7k/4P3/6K1/8/8/8/8/8 w - - 0 1");
    StartSearchClock();
    const std::string text = OutputOf([] { Search(3, false); });
    EXPECT_NE(text.find("line 1 depth 3 deepest "), std::string::npos) << text;
    EXPECT_NE(text.find("line 2 depth 3 deepest "), std::string::npos) << text;
    EXPECT_NE(text.find(" score 32766 exact time "), std::string::npos) << text;
    EXPECT_NE(text.find(" pv e7e8"), std::string::npos) << text;
    Wish("lines 1");
    const std::string bounds = OutputOf([] {
        for (const char* fen : kBenchPositions) {
            Position(fen);
            Search(10, false);
        }
    });
    EXPECT_NE(bounds.find(" lower time "), std::string::npos);
    EXPECT_NE(bounds.find(" upper time "), std::string::npos);
    EXPECT_EQ(bounds.find("line 2"), std::string::npos);
    EXPECT_FALSE(OutputOf([] { ActiveSearch().tellLines(); }).starts_with("line 2"));
}

}  // namespace
