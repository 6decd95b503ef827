// The generators: counts of move trees, the staged generator against the legal one at
// every node, the fixed orders, and the sort.
#include <gtest/gtest.h>

#include <algorithm>

#include "board/attacks.h"
#include "search/movewalk.h"
#include "tests/support.h"

namespace {

std::int64_t Perft(int depth, int start) {
    GenerateLegalMoves(start);
    const int end = Generated.MoveStackTop;
    if (depth == 1) return end - start;
    std::int64_t leaves = 0;
    for (int i = start; i < end; ++i) {
        MakeMove(Generated.MoveStack[i]);
        leaves += Perft(depth - 1, end);
        UnmakeMove();
    }
    return leaves;
}

TEST(Generate, Perft) {
    const struct {
        const char* fen;
        int depth;
        std::int64_t leaves;
    } cases[] = {
        {kStart, 5, 4865609},     {kCastlings, 4, 4085603},  {kRookEnding, 6, 11030083},
        {kPromotions, 4, 422333}, {kKnightFork, 4, 2103487}, {kMiddlegame, 4, 3894594},
    };
    for (const auto& c : cases) {
        Position(c.fen);
        EXPECT_EQ(Perft(c.depth, 0), c.leaves) << c.fen;
    }
}

TEST(Generate, SlowPerft) {
    Position(kStart);
    EXPECT_EQ(Perft(6, 0), 119060324);
}

// ---- The staged generator ----

std::vector<Move> Sorted(std::vector<Move> moves) {
    std::sort(moves.begin(), moves.end());
    return moves;
}

bool Contains(const std::vector<Move>& moves, Move m) {
    return std::find(moves.begin(), moves.end(), m) != moves.end();
}

std::vector<Move> OnlyLegal(const std::vector<Move>& moves) {
    const int S = Board.SideToMove;
    std::vector<Move> legal;
    for (const Move m : moves) {
        MakeMove(m);
        if (!IsAttacked(ChangeSide(S), Board.KingSquare[S])) legal.push_back(m);
        UnmakeMove();
    }
    return legal;
}

// All stages together give each legal move once, and before the quiet moves the killers
// among them; the walk that the search takes gives each move but the table's once.
void ExpectStagesComplete(const std::vector<Move>& legal, Move hashMove) {
    const int S = Board.SideToMove;
    Line.InCheckAt[0] = IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 1 : 0;
    std::vector<Move> staged, killers, quiet, expectedKillers;
    Generated.MoveStackTop = 0;
    for (int stage = kFirstStage; stage != kNoMoreStages;) {
        const int first = Generated.MoveStackTop;
        stage = GenerateStage(stage, hashMove);
        const std::vector<Move> group(Generated.MoveStack + first,
                                      Generated.MoveStack + Generated.MoveStackTop);
        const bool isKillers = stage == kKillerStage && Line.InCheckAt[0] == 0;
        if (isKillers) killers = group;
        if (stage == kQuietStage) quiet = group;
        if (!isKillers) staged.insert(staged.end(), group.begin(), group.end());
    }
    ASSERT_EQ(Sorted(OnlyLegal(staged)), legal);
    for (const Move m : {Ordering.Killer1[S][0], Ordering.Killer2[S][0]})
        if (Line.InCheckAt[0] == 0 && Contains(quiet, m)) expectedKillers.push_back(m);
    ASSERT_EQ(killers, expectedKillers);

    std::vector<Move> walked;
    if (hashMove != NO_MOVE) walked.push_back(hashMove);
    Generated.MoveStackTop = 0;
    MoveWalk walk(hashMove);
    while (const Move m = walk.Next()) walked.push_back(m);
    Generated.MoveStackTop = 0;
    ASSERT_EQ(Sorted(OnlyLegal(walked)), legal);
}

TEST(Generate, StagesAreComplete) {
    const struct {
        const char* fen;
        int depth;
    } cases[] = {{kStart, 3},      {kCastlings, 3},
                 {kRookEnding, 4}, {kPromotions, 3},
                 {kKnightFork, 2}, {"8/8/1k6/2b5/2pP4/8/5K2/8 b - d3", 4}};
    Random random(3);
    for (const auto& c : cases) {
        Position(c.fen);
        Move lately[2] = {NO_MOVE, NO_MOVE};  // quiet moves of other nodes
        WalkTree(c.depth, [&] {
            const std::vector<Move> legal = Sorted(LegalMoveList());
            if (HasFatalFailure() || legal.empty()) return;
            const int S = Board.SideToMove;
            if (Ordering.Killer1[S][0] != lately[S])
                Ordering.Killer2[S][0] = Ordering.Killer1[S][0];
            Ordering.Killer1[S][0] = lately[S];
            const Move any = random.Of(legal);
            ExpectStagesComplete(legal, IsEnPassant(any) ? NO_MOVE : any);
            if (IsQuiet(any)) lately[S] = any;
        });
    }
}

// ---- Orders ----

TEST(Generate, Orders) {
    const struct {
        const char* fen;
        bool captures;  // of everything; else of nothing, which a few come beside
        const char* expected;
        const char* quiet;  // without the king's moves, which come last
    } cases[] = {
        {kStart, true, "",
         "b1a3 b1c3 g1f3 g1h3 a2a3 a2a4 b2b3 b2b4 c2c3 c2c4 d2d3 d2d4 e2e3 e2e4 f2f3 "
         "f2f4 "
         "g2g3 g2g4 h2h3 h2h4"},
        // Black's pawns are taken from the highest square down, their targets up.
        {"4k3/1p4p1/P1P2P1P/8/8/8/8/4K3 b", true, "g7f6 g7h6 b7a6 b7c6",
         "g7g6 g7g5 b7b6 b7b5"},
        {"4k3/8/8/8/8/1p4p1/P4P1P/4K3 w", true, "a2b3 f2g3 h2g3",
         "a2a3 a2a4 f2f3 f2f4 h2h3 h2h4"},
        // Castling stands before everything, short before long.
        {"4k3/8/8/8/p6p/P6P/P6P/R3K2R w KQ", true, "",
         "e1g1 e1c1 a1b1 a1c1 a1d1 h1f1 h1g1"},
        // Captures on the last rank come always, but for its h-square; en passant too.
        {"4kn1r/3P2P1/8/8/8/8/8/4K3 w", false,
         "d7e8q d7e8n d7e8r d7e8b g7f8q g7f8n g7f8r g7f8b",
         "d7d8q d7d8n d7d8r d7d8b g7g8q"},
        {"4k3/8/8/3PpP2/8/8/8/4K3 w - e6", false, "d5e6 f5e6", "d5d6 f5f6"},
        {"4k3/8/8/3PpP2/8/8/8/4K3 w - -", false, "", "d5d6 f5f6"},
    };
    for (const auto& c : cases) {
        Position(c.fen);
        GenerateCaptures(c.captures ? Board.Occupied[ChangeSide(Board.SideToMove)] : 0);
        EXPECT_EQ(TextsFrom(0), c.expected) << c.fen;
        Generated.MoveStackTop = 0;
        GenerateQuiet();
        EXPECT_EQ(TextsFrom(0).find(c.quiet), 0u) << c.fen << '\n' << TextsFrom(0);
    }
}

TEST(Generate, CaptureScores) {
    Position("4k3/2p5/3p1r2/4P3/4N3/8/8/3QK3 w - -");
    ASSERT_EQ(GenerateStage(kFirstStage, NO_MOVE), kCaptureStage);
    SortMoves(0, Generated.MoveStackTop);
    EXPECT_EQ(TextsFrom(0), "e5f6 e4f6 e5d6 e4d6 d1d6");
    const int scores[] = {(500 - 100) * 65536, (500 - 300) * 65536, 100, -100, -700};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Generated.MoveScores[i], scores[i]) << i;
}

TEST(Generate, Evasions) {
    // In double check the king alone moves; promotions have an order of their own.
    Position("4k3/8/8/8/1b6/8/2n5/4K3 w - -");
    EXPECT_EQ(GenerateStage(kFirstStage, NO_MOVE), kKillerStage);
    EXPECT_EQ(Line.CheckerSquare[0], kSeveralCheckers);
    EXPECT_EQ(TextsFrom(0), "e1d1 e1f1 e1d2 e1e2 e1f2");
    Position("k2r4/2P5/8/8/8/8/8/3K4 w - -");
    EXPECT_EQ(GenerateStage(kFirstStage, NO_MOVE), kCaptureStage);
    EXPECT_EQ(TextsFrom(0), "c7d8q c7d8r c7d8n c7d8b");
    EXPECT_EQ(GenerateStage(kCaptureStage, NO_MOVE), kKillerStage);
    EXPECT_EQ(GenerateStage(kKillerStage, NO_MOVE), kNoMoreStages);
}

TEST(Generate, QuiescenceCaptures) {
    const char* const rook = "4k3/2p5/3p4/8/r7/8/8/3QK3 w - -";
    const char* const enPassant = "4k3/8/8/3Pp3/8/8/8/4K3 w - e6";
    const struct {
        const char* fen;
        int threshold;
        const char* move;
        int score;
    } cases[] = {
        {rook, 0, "d1a4", 500},
        {rook, 500, "d1a4", 500},
        {rook, 501, "", 0},
        {enPassant, 100, "d5e6", 0},  // gains a pawn, orders as nothing
        {enPassant, 101, "", 0},
        {"4k3/1P6/8/8/8/8/8/4K3 w", 900, "b7b8q", 900},
        // An equal trade: below threshold 1 the exchange is not looked at.
        {"4k3/3p4/4p3/3P4/8/8/8/4K3 w", 0, "d5e6", 100},
        {"4k3/3p4/4p3/3P4/8/8/8/4K3 w", 1, "d5e6", 0},
    };
    for (const auto& c : cases)
        for (const bool inner : {true, false}) {
            Position(c.fen);
            EXPECT_FALSE(inner ? GenerateQuiesceCapturesInner(c.threshold)
                               : GenerateQuiesceCaptures(c.threshold, NO_MOVE));
            EXPECT_EQ(TextsFrom(0), c.move) << c.fen << ' ' << c.threshold;
            if (Generated.MoveStackTop > 0) {
                EXPECT_EQ(Generated.MoveScores[0], c.score)
                    << c.fen << ' ' << c.threshold;
            }
        }
    Position(rook);
    EXPECT_FALSE(GenerateQuiesceCaptures(0, MoveOf("d1a4")));
    EXPECT_EQ(Generated.MoveStackTop, 0);
    Position("4k3/4R3/8/8/8/8/8/4K3 w - -");  // the king can be taken
    EXPECT_TRUE(GenerateQuiesceCapturesInner(5000));
    // Another bishop stands behind the bishop, so the knight's exchange value is not its
    // own: the pawn that is taken in between must not bring that one back.
    Position("4q2k/8/8/p3p3/1p6/2B2N2/8/b6K w - -");
    EXPECT_FALSE(GenerateQuiesceCapturesInner(0));
    EXPECT_EQ(TextsFrom(0), "c3a1 f3e5");
}

// A few passes at a time or all at once: what the plain exchange sort gives, ties
// included.
TEST(Generate, ExchangeSortKeepsItsOrderAmongEquals) {
    Random random(5);
    for (int round = 0; round < 2000; ++round) {
        const int count = random.Below(40), scores = 1 + random.Below(8);
        std::vector<std::pair<int, Move>> plain;
        for (int i = 0; i < count; ++i) {
            plain.push_back({random.Below(scores) - 3, static_cast<Move>(i)});
            Generated.MoveScores[i] = plain.back().first;
            Generated.MoveStack[i] = plain.back().second;
        }
        for (std::size_t i = 0; i < plain.size(); ++i)
            for (std::size_t j = i + 1; j < plain.size(); ++j)
                if (plain[j].first > plain[i].first) std::swap(plain[i], plain[j]);
        if (round % 2 == 0) SortMoves(0, count);
        for (int i = 0, sorted = round % 2 == 0 ? count : 0; i < count; ++i) {
            if (i >= sorted || random.Below(5) == 0) {  // a pass again changes nothing
                SelectMoves(i, count);
                sorted = i + kSelectedAtOnce;
            }
            ASSERT_EQ(Generated.MoveStack[i], plain[static_cast<std::size_t>(i)].second);
        }
    }
}

}  // namespace
