#include "eval/pieces.h"

#include "eval/development.h"
#include "tests/evaluation.h"

namespace {

class PiecesTest : public EvaluationTest {};

struct Case {
    const char* fen;
    int value;
};

TEST_F(PiecesTest, Placement) {
    constexpr Case kCases[] = {
        // Rooks
        {"4k3/8/8/8/8/8/8/3RK3 w", 24},   // open file
        {"4k3/3p4/8/8/8/8/8/3RK3 w", 5},  // half-open
        {"4k3/8/8/8/8/8/3P4/3RK3 w", 0},
        {"r3k3/p7/8/8/8/8/7P/3RK3 w", 8},    // rook ending, six open files: 48 / 6
        {"4k3/8/8/8/8/8/P7/RN2K3 w", -20},   // boxed
        {"6k1/R7/8/8/8/8/8/4K3 w", 54},      // open 24, seventh 30
        {"8/R6p/6k1/8/8/8/8/4K3 w", 54},     // a pawn to attack there
        {"8/R7/6k1/8/8/8/8/4K3 w", 24},      // nothing to do there
        {"6k1/2R1R3/8/8/8/8/8/4K3 w", 156},  // doubled: 2 * (24 + 54)
        {"6k1/R7/8/8/8/8/7P/4K3 w", 74},     // with a passed pawn 20 more
        {"6k1/R2n4/8/8/8/8/7P/4K3 w", 54},   // not against a piece on the seventh
        {"6k1/1R2Q3/8/8/8/8/8/4K3 w", 88},   // 24 + 54, the queen 10
        // Back rank
        {"4k3/8/8/8/8/8/5PPP/6K1 w", -12},
        {"4k3/8/8/8/8/7P/5PP1/6K1 w", 0},
        // Knights near the edge: what they attack counts against them
        {"4k3/p7/8/8/N7/8/8/4K3 w", -6},      // one covered: 2 * (4 * 3 / 4)
        {"4k3/p7/8/8/N7/8/1P6/4K3 w", -10},   // and an own pawn: 2 * 5
        {"4k3/p7/1p6/8/N7/8/8/4K3 w", -16},   // two covered, one a pawn: 2 * 8
        {"N1k5/p1P5/8/8/8/8/8/4K3 w", -140},  // 5 * (4 * 7 / 2), no square left 70
        // Outposts
        {"4k3/8/4N3/3P1P2/8/8/8/4K3 w", 40},
        {"4k3/8/4N3/3P4/8/8/8/4K3 w", 40},
        {"b3k3/8/4N3/3P4/8/8/8/4K3 w", 24},  // 20 + 10, its mobility 6
        {"4k3/8/4N3/8/8/8/8/4K3 w", 40},
        {"4k3/3p4/4N3/8/8/8/8/4K3 w", 0},  // a pawn may chase it
        {"4k3/8/5N2/8/8/8/8/4K3 w", 24},
        // Bishops
        {"4k3/8/8/8/3B4/8/8/4K3 w", 39},      // 13 empty squares
        {"4k3/8/8/8/8/6p1/6P1/4K2B w", -90},  // shut in
        {"4k3/8/8/8/8/8/6P1/4K2B w", -35},    // cramped
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int sign) {
            Terms t = PreparedTerms(true, false);
            EXPECT_EQ(PiecePlacement(t), sign * value);
        });
}

TEST_F(PiecesTest, NoOutpostsWhenTheKingComesOut) {
    InBothColours("4k3/8/4N3/3P1P2/8/8/8/4K3 w", [](int) {
        Terms t = PreparedTerms(true, true);
        EXPECT_EQ(PiecePlacement(t), 0);
    });
}

TEST_F(PiecesTest, BishopsAsAGroup) {
    constexpr Case kCases[] = {
        {"4k3/8/8/3p4/3P4/8/8/2B1K3 w", -5},  // bad: -3, blocked -2
        {"4k3/8/8/3p4/3P4/8/8/4KB2 w", 0},
        {"4k3/pppppppp/8/8/8/8/8/2B1KB2 w", 33},   // pair 8, both wings 25
        {"4k3/ppppppp1/8/8/8/8/8/2B1KB2 w", 40},   // 15 + 25
        {"4k3/1pppppp1/8/8/8/8/8/2B1KB2 w", 45},   // 20 + 25
        {"4k3/1pppppp1/8/8/8/8/8/R1B1KB2 w", 20},  // not with a rook
        {"4k3/8/8/8/8/6P1/6B1/6K1 w", 10},         // fianchetto
        {"4k3/8/8/8/8/6P1/6B1/4K3 w", 0},
        {"4k3/8/8/8/6P1/8/6B1/6K1 w", -3},  // g4 is on its colour
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int sign) {
            EXPECT_EQ(BishopTerms(PreparedTerms(true, false)), sign * value);
        });
    ASSERT_TRUE(SetFen("4k3/8/8/8/8/6P1/6B1/6K1 w"));
    EXPECT_EQ(BishopTerms(PreparedTerms(true, true)), 0);
}

TEST_F(PiecesTest, Development) {
    constexpr Case kCases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w", -17},  // 55 - 72
        // d2 behind its bishop 5 instead of 3, f1 empty, g4 like g2: 13 points, 55 - 80.
        {"rnbqkbnr/pppppppp/8/8/6P1/3B4/PPPPPP1P/RNBQK1NR w", -25},
        // b1 and g1 developed, d2 and e2 moved: -2 + 2 + 1 + 2 + 1 = 4, nothing.
        {"rnbqkbnr/pppppppp/8/8/3PP3/2N2N2/PPP2PPP/R1BQKB1R w", 55},
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int) { EXPECT_EQ(Development(), value); });
}

}  // namespace
