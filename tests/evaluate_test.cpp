#include "eval/evaluate.h"
#include "eval/pawns.h"

#include <cstdlib>
#include <initializer_list>

#include "board/legalmoves.h"
#include "eval/drawish.h"
#include "eval/endgame.h"
#include "eval/king.h"
#include "eval/material.h"
#include "eval/pieces.h"
#include "tests/evaluation.h"

namespace {

class EvaluateTest : public EvaluationTest {};
class EvaluateSlow : public EvaluationTest {};

struct Case {
    const char* fen;
    int value;
};

TEST_F(EvaluateTest, MaterialBalance) {
    constexpr Case kCases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w", 0},
        {"4k3/8/8/8/8/8/PPP5/N3K3 w", 750},     // 600, lone minor with three pawns 150
        {"4k3/pppp4/8/8/8/8/PP6/N3K3 w", 200},  // 100, with two pawns 100
        {"4kn2/p7/8/8/8/8/P7/B3K3 w", 0},       // a minor each
        {"r3kn2/8/8/8/8/8/8/R2NKB2 w", 420},    // a minor more 120
        {"r3k3/8/8/8/8/8/8/2N1KB2 w", 220},     // two minors against a rook: 100 + 120
        {"r3k2r/8/8/8/8/8/8/R3KN2 w", -230},    // a minor against a rook more: -200 - 30
        {"4kn2/8/8/8/8/8/8/R3K3 w", 230},       // the exchange: 200 + 30
        {"3qk3/8/8/8/8/8/8/2N1KBN1 w", 120},    // three minors against a queen
        {"3qk3/8/8/8/8/8/8/4KBN1 w", -300},     // two: nothing but the men
        {"1n2k3/8/8/8/8/8/8/R3KN2 w", 620},     // a rook more: 500 + 120
        {"nn2k3/8/8/8/8/8/8/R2QK3 w", 800},     // three majors, two minors apart: nothing
        {"r3k2r/8/8/8/8/8/8/3QK3 w", -40},      // queen against two rooks: -100 + 60
        {"3qkb2/p7/8/8/8/8/P7/3QKN2 w", 15},  // queen and knight against queen and bishop
        {"3qkb2/8/8/8/8/8/8/3QKN2 w", 0},     // the same without pawns
        {"r3kn2/p7/8/8/8/8/P7/R3KB2 w", 15},  // rook and bishop against rook and knight
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int) { EXPECT_EQ(MaterialBalance(), value); });
}

TEST_F(EvaluateTest, MatingHelp) {
    constexpr Case kCases[] = {
        {"8/8/8/4k3/8/8/8/R3K3 w", 390},   // kings 110 - 15 * 4, bare 300, edge 40
        {"7k/8/8/8/8/5K2/8/4BN2 w", 435},  // 110 - 15 * 5 + 400, in the bishop's corner
        {"k7/8/8/8/8/5K2/8/4BN2 w", 295},  // the wrong corner: 35 + 400 - 20 * 7
        {"3r3k/8/5K2/8/8/8/8/Q7 w", 180},  // 110 - 15 * 2, edge 100; not bare
        {"4k2n/8/8/8/8/8/8/R3K3 w", 0},    // a lead of two units
        {"4k3/p7/8/8/8/8/8/Q3K3 w", 0},    // the weaker side has a pawn
        {"7k/8/8/8/8/8/qb6/QQ4K1 w",
         100},  // the stronger king is not in its ending phase
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int sign) {
            const bool ending[2] = {IsEnding(WHITE), IsEnding(BLACK)};
            EXPECT_EQ(MatingHelp(ending), sign * value);
        });
}

TEST_F(EvaluateTest, KingEndingPlacement) {
    constexpr Case kCases[] = {
        {"8/1k4p1/8/8/4K3/8/P7/8 w", 50},  // both wings: e4 30, b7 like b2 -20
        {"8/2k3p1/8/8/8/8/6KP/8 w", 20},   // king side: g2 -10, c7 like c2 -30
        {"8/1p6/8/5k2/8/8/P7/1K6 w", 10},  // queen side: b1 like g1 -20, f5 like c4 -30
        {"3r3k/8/5K2/8/8/8/8/Q7 w", 35},   // bare: only the side behind, h8 -35
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int sign) {
            const bool ending[2] = {true, true};
            EXPECT_EQ(KingEndingPlacement(ending, MaterialBalanceForWhite()),
                      sign * value);
        });
}

// A game's traces of castling, all White's; the enemy has a queen.
TEST_F(EvaluateTest, CastlingTerms) {
    struct {
        std::uint8_t castledKingside, castledQueenside;
        int king, rookH, rookA, value;
    } constexpr kCases[] = {
        {0, 0, 0, 0, 0, 0},   {1, 0, 1, 0, 0, 40},  {0, 1, 1, 0, 0, 30},
        {0, 0, 1, 1, 1, -44}, {0, 0, 0, 1, 0, -24}, {0, 0, 0, 0, 1, -20},
        {0, 0, 0, 1, 1, -44},
    };
    for (const auto& c : kCases)
        for (const int own : {WHITE, BLACK})
            for (const bool queen : {true, false}) {
                ASSERT_TRUE(SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq"));
                (own == WHITE ? Board.WK : Board.BK) = c.king;
                (own == WHITE ? Board.H1 : Board.H8) = c.rookH;
                (own == WHITE ? Board.A1 : Board.A8) = c.rookA;
                Board.CastledKingside[own] = c.castledKingside;
                Board.CastledQueenside[own] = c.castledQueenside;
                if (!queen) RemovePiece(own == WHITE ? D8 : D1);
                const int value = queen ? c.value : c.value / 2;
                EXPECT_EQ(CastlingTerms(), own == WHITE ? value : -value);
            }
}

TEST_F(EvaluateTest, TrappedBishops) {
    constexpr Case kCases[] = {
        {"4k3/B7/1p6/8/8/8/8/4K3 w", -160},    {"1B2k3/2p5/8/8/8/8/8/4K3 w", -160},
        {"4k1B1/5p2/8/8/8/8/8/4K3 w", -160},   {"4k3/7B/6p1/8/8/8/8/4K3 w", -160},
        {"4k3/B7/2p5/8/8/8/8/4K3 w", 0},       {"4k3/B6B/6p1/8/8/8/8/4K3 w", -160},
        {"4k3/B6B/1p4p1/8/8/8/8/4K3 w", -160},
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int sign) {
            EXPECT_EQ(TrappedBishops(), sign * value);
        });
}

TEST_F(EvaluateTest, DrawishScaling) {
    struct {
        const char* fen;
        int score, balance, scaled;
    } constexpr kCases[] = {
        // Rook and pawn against rook: the defender before the pawn, the attacker behind
        // it.
        {"k7/8/8/P7/1K6/8/8/r3R3 w", 180, 100, 22},  // 180 / 6 = 30, then 3/4
        {"k7/8/8/PK6/8/8/8/r3R3 w", 180, 100, 30},
        {"k7/8/8/KP6/8/8/8/r3R3 w", 180, 100, 36},    // knight's pawn
        {"k7/8/8/1KP5/8/8/8/r3R3 w", 180, 100, 180},  // the king two files away
        {"2k5/8/8/1KP5/8/8/8/r3R3 w", 180, 100, 60},
        {"7k/8/8/P7/3K4/8/8/r3R3 w", 180, 100, 135},
        // Bishops of opposite colours.
        {"4kb2/p7/8/8/8/8/PP6/4KB2 w", 200, 100, 66},
        {"4kb2/p7/8/8/8/8/PPPP4/4KB2 w", 200, 300, 133},
        {"r3kb2/p7/8/8/8/8/PPPP4/R3KB2 w", 400, 300, 290},  // 50 + 4/5 of 300
        {"n3kb2/p7/8/8/8/8/PPPP4/N3KB2 w", 400, 300, 350},  // 50 + 300
        {"r3kb2/p7/8/8/8/8/PP6/R3KB2 w", 400, 150, 400},
        {"2b1k3/p7/8/8/8/8/PP6/4KB2 w", 200, 100, 200},  // the same colour
        // The stronger side has no pawns.
        {"r3k3/8/8/8/8/8/8/R3K3 w", 91, 0, 30},
        {"r3k3/8/8/8/8/8/8/2B1KB2 w", 160, 0, 10},
        {"k6r/8/8/8/8/8/1R6/2N1K3 w", 70, 0, 10},  // cut off on the edge, with a knight
        {"k6r/8/8/8/8/8/1R6/2B1K3 w", 70, 0, 14},  // with a bishop
        {"k6r/8/8/8/8/8/2R5/2N1K3 w", 70, 0, 7},
        {"k6r/8/8/8/8/8/2R5/2B1K3 w", 70, 0, 10},
        {"3k3r/R7/8/8/8/8/8/2N1K3 w", 70, 0, 10},  // on the edge rank
        {"n3k3/8/8/8/8/8/8/R3K3 w", 90, 0, 30},
        {"b3k3/8/8/8/8/8/8/R3K3 w", 90, 0, 11},
        {"n3k3/8/8/8/8/8/8/2B1KB2 w", 250, 0, 20},
        {"2b1k3/8/8/8/8/8/8/2B1KB2 w", 250, 0, 10},
        {"q3k3/8/8/8/8/8/8/N2QK3 w", 100, 0, 25},
        {"r3k3/8/8/8/8/8/PP6/R3K3 b", 91, -200, 30},  // Black is the stronger side here
    };
    LastEvaluation.CantWin[WHITE] = LastEvaluation.CantWin[BLACK] = 0;
    for (const auto& c : kCases)
        InBothColours(
            c.fen, [&](int) { EXPECT_EQ(ScaleDrawish(c.score, c.balance), c.scaled); });
}

TEST_F(EvaluateTest, SideThatCannotWinGetsNoMore) {
    ASSERT_TRUE(SetFen("4k3/8/8/8/8/8/8/R3K3 w"));
    LastEvaluation.CantWin[WHITE] = 1;
    LastEvaluation.CantWin[BLACK] = 0;
    EXPECT_EQ(ClampCantWin(50), 0);
    EXPECT_EQ(ClampCantWin(-50), -50);
    Board.SideToMove = BLACK;
    EXPECT_EQ(ClampCantWin(50), 50);
    EXPECT_EQ(ClampCantWin(-50), 0);
}

// The start position: shelter -24 for the root side, +14 (60 % of 24) for the other,
// White's development 8 * 12 - 24 = 72 against 5 * 14 - 15 = 55; all else is even.
TEST_F(EvaluateTest, WholeScores) {
    InBothColours("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq",
                  [](int) { EXPECT_EQ(FullScore(), -27); });
    // Rook 620, mating help 390, black king -30, open file 24, one attack unit 2.
    InBothColours("8/8/8/4k3/8/8/8/R3K3 w", [](int) { EXPECT_EQ(FullScore(), 1006); });
    // The e-pawn runs past the king with one move to go.
    InBothColours("3k4/8/4PK2/1PP5/8/8/8/8 b",
                  [](int) { EXPECT_EQ(FullScore(), -1613); });
    InBothColours("3k4/8/4PK2/1P6/8/8/8/8 b", [](int) { EXPECT_EQ(FullScore(), -1305); });
}

TEST_F(EvaluateTest, DrawsLeaveAHigherAlpha) {
    for (const char* fen : {"4k3/8/8/8/8/8/8/4K3 w", "4kn2/8/8/8/8/8/8/4K3 w"})
        InBothColours(fen, [](int) {
            EXPECT_EQ(Evaluated(-500, 500), 0);
            EXPECT_EQ(Evaluated(20, 500), 20);
        });
}

TEST_F(EvaluateTest, FirstLazyExit) {
    // Nothing moves the balance but a queen: 900 and, with equal minors, 120 for the
    // major.
    InBothColours("rnb1kbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq", [](int) {
        EXPECT_EQ(MaterialBalance(), 1020);
        EXPECT_EQ(Evaluated(-1000, 419), 419);
        Board.SideToMove = ChangeSide(Board.SideToMove);
        EXPECT_EQ(Evaluated(-419, 1000), -419);
        EXPECT_EQ(Margins.PositionalMargin, 280);  // no term was computed
        Board.SideToMove = ChangeSide(Board.SideToMove);
        EXPECT_GT(Evaluated(-1000, 1000), 420);
    });
}

TEST_F(EvaluateTest, MarginsGrow) {
    ASSERT_TRUE(SetFen("8/8/8/4k3/8/8/8/R3K3 w"));
    EXPECT_EQ(Margins.PositionalMargin, 280);
    EXPECT_EQ(Margins.LazyMargin, 180);
    Margins.PositionalMargin = Margins.LazyMargin = 0;
    EXPECT_EQ(FullScore(), 1006);
    EXPECT_EQ(Margins.PositionalMargin, 386);  // without the rook's 620
    EXPECT_EQ(Margins.LazyMargin, 26);         // open file and attack
}

// Plays random legal moves from the position and calls `check` now and then.
template <typename Check>
void PlayOut(Random& random, const char* fen, int moves, Check& check) {
    ASSERT_TRUE(SetFen(fen));
    for (int i = 0; i < moves; ++i) {
        const LegalMoves legal;
        if (legal.count == 0) return;
        MakeMove(legal.moves[Below(random, legal.count)]);
        if (Below(random, 4) == 0) check();
    }
}

constexpr const char* kStarts[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq",
    "2kr3r/pp3ppp/2p1bn2/4p3/4P3/2N1BP2/PPP3PP/2KR3R w",
    "8/pp3k2/2p2pp1/3p4/3P1n2/2P1BP2/PP3KP1/8 w",
    "8/8/1p1k2p1/p1p2p1p/P1P2P1P/1P1K2P1/8/8 w",
    "8/5k2/8/3PK3/8/2r5/8/4R3 w",
};

// The one thing that is not symmetric: of two passers that promote equally fast by
// different ways, the race looks at the one on the lower square of the board, which
// turning exchanges. Both sides need a passer and one of them a choice.
bool RaceDependsOnSquares() {
    const auto number = [](int c) { return PopCount8[LastEvaluation.PassedVector[c]]; };
    const auto onlyKnights = [](int c) {
        return Board.Units[c] == 3 * PopCount(Board.Knights[c]);
    };
    return onlyKnights(WHITE) && onlyKnights(BLACK) && number(WHITE) > 0 &&
           number(BLACK) > 0 && number(WHITE) + number(BLACK) > 2;
}

// A position and the same position turned are worth the same to the side to move.
struct SymmetryCheck {
    int positions = 0, exceptions = 0;

    void operator()() {
        StartFresh();
        EvaluationInput.RootSide = static_cast<int>(Board.hash1 & 1);
        const int score = FullScore();
        const BoardRecord position = Board;
        TurnBoard();
        AllocatePawnTable(
            10);  // an entry keeps what the pieces of its first position allowed
        const int turned = FullScore();
        ++positions;
        if (score != turned && RaceDependsOnSquares())
            ++exceptions;
        else
            EXPECT_EQ(turned, score) << "position " << positions;
        Board = position;
    }
};

TEST_F(EvaluateTest, Symmetry) {
    Random random(4711);
    SymmetryCheck check;
    for (int round = 0; round < 40; ++round)
        for (const char* start : kStarts) PlayOut(random, start, 60, check);
    for (int i = 0; i < 4000; ++i) {
        SetRandomMen(random, Below(random, 24), true);
        check();
    }
    EXPECT_GT(check.positions, 6000);
    EXPECT_LT(check.exceptions, 5);
}

// With margins as large as the terms behind them, a bounded evaluation says of the score
// exactly whether it lies below, inside or above the window; with a margin of 0 it errs
// by no more than those terms are worth.
void ExpectBoundsHold(Random& random) {
    Margins.PositionalMargin = Margins.LazyMargin = 0;
    const int score = FullScore(), terms = Margins.LazyMargin,
              positional = Margins.PositionalMargin;
    if (std::abs(score) >= 10000) return;  // settled, with the bound itself as the score
    const int alpha = score + Below(random, 1200) - 600;
    const int beta = alpha + 1 + Below(random, 300);
    const bool exact = positional <= 600 || IsEndgame();
    for (const int margin : {terms, 0}) {
        Margins.LazyMargin = margin;
        const int error = margin == 0 ? terms : 0;
        const int result = Evaluated(alpha, beta);
        EXPECT_GE(result, alpha);
        if (!exact || result == score) continue;
        if (result == alpha)
            EXPECT_LE(score, alpha + error);
        else
            EXPECT_TRUE(result == beta && score >= beta - error) << score;
    }
}

TEST_F(EvaluateTest, Bounds) {
    Random random(815);
    auto check = [&random] { ExpectBoundsHold(random); };
    for (int round = 0; round < 100; ++round)
        for (const char* start : kStarts) PlayOut(random, start, 60, check);
}

// Nothing may be read outside a table, whatever stands on the board.
void EvaluateOddPositions(int count) {
    Random random(99);
    for (int i = 0; i < count; ++i) {
        SetRandomMen(random, Below(random, 63), Below(random, 2) == 0);
        FullScore();
        Evaluated(-50, 50);
        KingDanger(WHITE);
    }
}

TEST_F(EvaluateTest, OddPositions) {
    for (const int kind : {QUEEN, KNIGHT, PAWN, BISHOP, ROOK}) {
        ClearBoard();
        AddPiece(A1, WHITE, KING);
        AddPiece(H8, BLACK, KING);
        for (int square = B1; square < H8; ++square)
            AddPiece(square, square % 3 == 0, kind);
        UpdateMatingFlags();
        FullScore();
    }
    EvaluateOddPositions(20000);
}

TEST_F(EvaluateSlow, MillionOddPositions) { EvaluateOddPositions(1000000); }

}  // namespace
