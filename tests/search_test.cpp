// The search: the same input gives the same tree, mates and draws are seen, the rules of
// extension and ordering, and the limits of its stacks.
#include <gtest/gtest.h>

#include <algorithm>

#include "bench/searchbench.h"
#include "board/notation.h"
#include "driver/modes.h"
#include "driver/thinkingline.h"
#include "platform/clock.h"
#include "search/alphabeta.h"
#include "search/control.h"
#include "search/extend.h"
#include "search/history.h"
#include "search/movewalk.h"
#include "search/quiesce.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "tests/signature.h"
#include "tests/support.h"

namespace {

// ---- The whole search ----

// From a fresh state; RootMoves, RootScore, RootDepth and NodeCount tell the result.
void SearchFresh(const char* fen, int depthLimit) {
    FreshEngine();
    Position(fen);
    Search(depthLimit, false);
}

TEST(Search, SameInputSameTree) {
    const auto result = [](const char* fen) {
        SearchFresh(fen, 6);
        std::vector<std::int64_t> all = {Result.NodeCount, Root.RootDepth};
        for (int i = 0; i < Root.RootMoveCount; ++i) {
            all.push_back(RootMoves[i]);
            all.push_back(Root.RootScores[i]);
        }
        return all;
    };
    const auto first = result(kCastlings);
    result(kRookEnding);
    EXPECT_EQ(result(kCastlings), first);
}

TEST(Search, BenchSignature) {
    ExpectSignature("signature.txt", kSignatureDepth, SearchFresh);
}

TEST(Search, FindsMates) {
    const struct {
        const char* fen;
        const char* move;
        int score;
        int rootDepth;  // no iteration beyond: a mate that is found ends the search
    } cases[] = {
        {"6k1/5ppp/8/8/8/8/8/K3R3 w", "e1e8", 32699, 3},
        {"k3r3/8/8/8/8/8/5PPP/6K1 b", "e8e1", 32699, 3},
        {"kbK5/pp6/1P6/8/8/8/8/R7 w", "a1a6", 32697, 12},
        {"r5rk/5p1p/5R2/4B3/8/8/7P/7K w", "f6a6", 32695, 12},
    };
    for (const auto& c : cases) {
        SearchFresh(c.fen, 90);
        EXPECT_EQ(MoveText(RootMoves[0]), c.move) << c.fen;
        EXPECT_EQ(RootScore, c.score) << c.fen;
        EXPECT_LE(Root.RootDepth, c.rootDepth) << c.fen;
    }
}

TEST(Search, DepthLimitAndOnlyMove) {
    for (const int limit : {3, 5}) {
        SearchFresh(kMiddlegame, limit);
        EXPECT_EQ(Root.RootDepth, limit - 1);
    }
    SearchFresh(kMiddlegame, 2);  // no iteration at all: the first move of the list
    EXPECT_EQ(Result.NodeCount, 0);
    EXPECT_EQ(Root.RootMoveCount, 46);
    Modes.PostThinking = 1;  // a lone move is neither searched nor shown
    Position("k7/8/1K6/8/8/8/8/7R b");
    EXPECT_EQ(OutputOf([] { EXPECT_FALSE(Search(20, false)); }), "");
    EXPECT_EQ(MoveText(RootMoves[0]), "a8b8");
    EXPECT_EQ(Result.NodeCount, 0);
}

TEST(Search, MateScoresAreShownSixtySevenFurther) {
    SearchFresh(kMiddlegame, 3);
    for (const auto& [score, start] : {std::pair{31500, "3 31567 "},
                                       {-31500, "3 -31567 "},
                                       {31000, "3 31000 "},
                                       {-31000, "3 -31000 "}}) {
        RootScore = score;
        EXPECT_EQ(OutputOf(FinalThinkingLine).find(start), 0u) << score;
    }
}

// ---- Single nodes ----

// One node of a search ten plies deep, with the widest window.
int SearchNode(int depth, int ply = 1, int alpha = -ScoreBound, int beta = ScoreBound) {
    const int S = Board.SideToMove;
    Line.InCheckAt[ply] = IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 1 : 0;
    Line.ExtFlags[ply] = 0;
    Line.Ply = ply;
    Root.RootDepth = 10;
    Root.HashMoveBonus = 6;
    const int score = AlphaBeta(alpha, beta, depth, true);
    EXPECT_EQ(Line.Ply, ply);
    EXPECT_EQ(Generated.MoveStackTop, 0);
    return score;
}

TEST(Search, Draws) {
    FreshEngine();
    Position("4k3/8/8/8/8/8/P7/R3K3 w");
    Play("a1b1 e8d8 b1a1");
    EXPECT_LT(SearchNode(120), -100);
    Play("d8e8");
    EXPECT_EQ(SearchNode(120), 0);  // a position that comes again, once is enough
    Position("4k3/8/8/8/8/8/P7/R3K3 w");
    Play("a1b1");
    Board.SideToMove = WHITE;  // as "white" does between two moves
    Play("b1a1");
    EXPECT_EQ(SearchNode(120), 0);
    Position("R3k3/8/4K3/8/8/8/8/8 b - - 99");
    EXPECT_EQ(SearchNode(120), 1 - MateScore);
    Position("R3k3/8/4K3/8/8/8/8/8 b - - 100");
    EXPECT_EQ(SearchNode(120), 0);
    Position("7k/5Q2/8/8/8/8/8/K7 b");
    EXPECT_EQ(SearchNode(120), 0);
    Position("4k3/8/8/8/8/8/8/4K3 w");
    EXPECT_EQ(SearchNode(600, 1, 20, 30), 0);
    // A minor piece alone cannot win: no more than alpha from a draw upwards.
    Position("4k3/3p4/8/8/8/8/8/2B1K3 w");
    EXPECT_EQ(SearchNode(600, 1, 20, 30), 20);
}

TEST(Search, Extensions) {
    const char* const check = "4k3/8/8/8/8/8/8/R3K3 w";
    const char* const attack = "4k3/8/2q1r3/8/3P4/8/8/K7 w";
    const struct {
        const char* fen;
        const char* moves;  // the last one is the one looked at
        int depth;
        bool threat;
        int full, half;  // depth changes
        int flags;
    } cases[] = {
        {kStart, "e2e4", 300, false, -60, -60, 0},
        {kStart, "e2e4", 300, true, -15, -38, kExtMateThreat},
        {check, "a1a8", 300, false, 0, -30, kExtCheck},
        {check, "a1a8", 300, true, 0, -8, kExtCheck | kExtMateThreat},
        {"4k3/8/2p5/3p4/4P3/8/8/4K3 w", "e4d5 c6d5", 300, false, -15, -38, kExtRecapture},
        {"4k3/8/2p5/3n4/4P3/8/8/4K3 w", "e4d5 c6d5", 300, false, -60, -60, 0},
        {"4k3/8/P7/8/8/8/8/4K3 w", "a6a7", 300, false, -15, -38, kExtPawnPush},
        {"4k3/8/8/8/8/p7/8/4K3 b", "a3a2", 300, false, -15, -38, kExtPawnPush},
        {"8/P7/7k/8/6K1/8/p7/8 w", "a7a8q a2a1q", 300, false, -15, -38, kExtPawnPush},
        {"4k3/8/8/8/3n4/4P3/8/4K3 w", "e3d4", 300, false, 0, -30, kExtPawnEnding},
        {"3rk3/8/8/8/8/8/7P/3RK3 w", "d1d8 e8d8", 300, false, 45, -8,
         kExtPawnEnding | kExtRecapture},
        // Attacks near the horizon
        {attack, "d4d5", 119, false, -15, -38, 0},
        {attack, "d4d5", 120, false, -60, -60, 0},
        {"7k/8/8/2q1r3/8/8/5N2/K7 w", "f2d3", 60, false, -15, -38, 0},
        {"7k/8/8/2q1r3/8/4B3/8/K7 w", "e3d4", 60, false, -15, -38, 0},
        {"7k/8/8/2q5/r7/8/4R3/1K6 w", "e2c2", 60, false, -30, -45, 0},
        {"7k/8/8/2r5/8/8/4R3/1K6 w", "e2c2", 60, false, -60, -60, 0},
        // The king hunts a lone piece.
        {"8/8/8/3r4/8/2K5/8/7k w", "c3c4", 300, false, -15, -38, 0},
        {"8/8/8/3n4/8/2K5/8/7k w", "c3c4", 300, false, -15, -38, 0},
        {"8/8/4k3/3r4/8/2K5/8/8 w", "c3c4", 300, false, -60, -60, 0},
        {"8/8/4p3/3r4/8/2K5/8/7k w", "c3c4", 300, false, -60, -60, 0},
    };
    for (const auto& c : cases)
        for (const bool full : {true, false}) {
            Position(c.fen);
            Line.ExtFlags[0] = 0;
            Play(c.moves);
            EXPECT_EQ(ExtendMove(c.depth, c.threat, full, true), full ? c.full : c.half)
                << c.fen << ' ' << c.moves;
            EXPECT_EQ(Line.ExtFlags[1], c.flags) << c.fen << ' ' << c.moves;
            EXPECT_EQ(Line.InCheckAt[1], c.flags & kExtCheck) << c.fen << ' ' << c.moves;
        }
}

TEST(Search, OrderOfMoves) {
    Position("4k3/2p5/3p1r2/4P3/4N3/8/8/3QK3 w - -");
    Ordering.Killer1[WHITE][0] = MoveOf("e1e2");
    Ordering.Killer2[WHITE][0] = MoveOf("e4c3");
    Ordering.HistoryTable[FromTo(MoveOf("d1a1")) * 2 + WHITE] = 5;
    Ordering.HistoryTable[FromTo(MoveOf("d1b1")) * 2 + WHITE] = 9;
    Ordering.HistoryTable[FromTo(MoveOf("e1d2")) * 2 + BLACK] = 99;
    MoveWalk walk(MoveOf("d1d6"));  // the table's move, searched before
    std::string order;
    while (const Move m = walk.Next()) order += MoveText(m) + " ";
    EXPECT_EQ(order.find("e5f6 e4f6 e5d6 e1e2 e4c3 d1b1 d1a1 "), 0u) << order;
    EXPECT_EQ(order.substr(order.size() - 5), "e4d6 ");  // the losing capture
}

TEST(Search, GoodMovesRiseAndAge) {
    Position(kStart);
    const Move e4 = MoveOf("e2e4"), d4 = MoveOf("d2d4");
    Line.Ply = 6;
    UpdateGoodMove(e4, 300);
    UpdateGoodMove(d4, 60);
    UpdateGoodMove(d4, 60);
    UpdateGoodMove(MakeWord(E4, D5, PAWN, PAWN), 60);  // captures have no part in it
    EXPECT_EQ(Ordering.Killer1[WHITE][6], d4);
    EXPECT_EQ(Ordering.Killer2[WHITE][6], e4);
    EXPECT_EQ(Ordering.HistoryTable[FromTo(d4) * 2], 7200);
    AgeHistoryAndKillers();
    EXPECT_EQ(Ordering.Killer1[WHITE][4], d4);
    EXPECT_EQ(Ordering.Killer1[WHITE][6], NO_MOVE);
    EXPECT_EQ(Ordering.HistoryTable[FromTo(e4) * 2], 90000 >> 8);
    for (int i = 0; i < 5000; ++i) UpdateGoodMove(e4, 6000);  // never overflows
    EXPECT_GT(Ordering.HistoryTable[FromTo(e4) * 2], 0);
}

// ---- Limits ----

// The clock stops the search so long after its beginning.
void StopAfter(int milliseconds) {
    Control.DepthLimit = kTimedDepthLimit;
    Control.TimeBudget = milliseconds;
    GameClock.EngineClock = milliseconds;  // ten times as long
    Control.PollCountdown = Control.PollInterval;
    Control.SearchStartTime = ClockMilliseconds();
}

TEST(SearchLimits, DeepestPly) {
    for (const int ply : {121, 125}) {
        FreshEngine();
        Position(kRookEnding);
        StopAfter(20000);
        SearchNode(40 * OnePly, ply);
        EXPECT_EQ(Control.StopSearch, 0);
        EXPECT_EQ(Ordering.Killer1[BLACK][0], NO_MOVE);  // stands behind White's last one
    }
}

// More queens than any game has: the captures alone would go on for hours.
const char* const kManyQueens =
    "qqqqqqqk/qqqqqqqq/1q1q1qqq/8/8/QQQ1Q1Q1/QQQQQQQQ/KQQQQQQQ w - -";

// Without room for one more node's moves the position is scored as it stands.
TEST(SearchLimits, FullStacks) {
    const struct {
        int moveStackTop, gamePly;
        bool searched;
    } cases[] = {{kSearchStackEnd - 1, 0, true},
                 {kSearchStackEnd, 0, false},
                 {kSearchStackEnd + kMaxMoves - 9, 0, false},
                 {0, kHistoryCapacity - 5, true},
                 {0, kHistoryCapacity - 4, false},
                 {0, kHistoryCapacity, false}};
    constexpr Move kMark = 0xFFFFFFFF;
    // The room of one list of legal moves stays free.
    constexpr int kListStart = kMoveStackSize - kMaxMoves;
    Move* const list = Generated.MoveStack + kListStart;
    for (const auto& c : cases) {
        FreshEngine();
        Position(kManyQueens);
        StopAfter(100);
        std::fill(list, Generated.MoveStack + kMoveStackSize, kMark);
        Generated.MoveStackTop = c.moveStackTop;
        Board.GamePly = c.gamePly;
        if (c.gamePly > 0)
            Board.MoveHistory[c.gamePly - 1] = MakeWord(A2, A3, PAWN, EMPTY);
        Result.NodeCount = 0;
        SearchChild(-ScoreBound, ScoreBound, 5 * OnePly, true);
        EXPECT_EQ(Result.NodeCount > 1, c.searched) << c.moveStackTop << ' ' << c.gamePly;
        EXPECT_EQ(std::count(list, Generated.MoveStack + kMoveStackSize, kMark),
                  kMoveStackSize - kListStart);
        EXPECT_EQ(Board.GamePly, c.gamePly);
    }
}

TEST(SearchLimits, EndlessCapturesHeedTheClock) {
    FreshEngine();
    Position(kManyQueens);
    StopAfter(100);
    Line.Ply = 1;
    Result.NodeCount = 0;
    Quiesce(-ScoreBound, ScoreBound);
    EXPECT_EQ(Control.StopSearch, 1);
    EXPECT_LT(Result.NodeCount, 10000000);
    EXPECT_EQ(Generated.MoveStackTop, 0);
    EXPECT_EQ(Board.GamePly, 0);
}

}  // namespace
