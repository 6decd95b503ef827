#include "eval/king.h"

#include "eval/pieces.h"
#include "tests/evaluation.h"

namespace {

class KingTest : public EvaluationTest {};

TEST_F(KingTest, ShieldDefects) {
    struct {
        const char* fen;
        int own[2], other[2];  // king side, queen side
    } constexpr kCases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w", {0, 0}, {0, 0}},
        {"rnbqkbnr/pppppppp/8/8/8/6P1/PPPPPP1P/RNBQKBNR w", {2, 0}, {0, 0}},  // g3
        {"rnbqkbnr/pppppppp/8/8/6P1/8/PPPPPP1P/RNBQKBNR w", {3, 0}, {0, 0}},  // g4
        {"rnbqkbnr/pppppppp/8/8/8/6PP/PPPPPP2/RNBQKBNR w", {2, 0}, {0, 0}},   // 2 + 1 - 1
        {"rnbqkbnr/pppppppp/8/8/8/PP6/2PPPPPP/RNBQKBNR w", {0, 2}, {0, 0}},
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPP1/RNBQKBNR w", {3, 0}, {1, 0}},  // half-open
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPP2/RNBQKBNR w", {7, 0}, {3, 0}},
        {"rnbqkbnr/ppppppp1/8/8/8/8/PPPPPPP1/RNBQKBNR w", {8, 0}, {8, 0}},  // open
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPP1PP/RNBQKBNR w", {0, 0}, {0, 0}},  // f alone
        {"rnbqkbnr/ppppp1pp/8/8/8/8/PPPPP1PP/RNBQKBNR w", {8, 0}, {8, 0}},
        {"rnbqkbnr/3ppppp/8/8/8/8/3PPPPP/RNBQKBNR w", {0, 16}, {0, 16}},
        {"rnbqkbnr/pppppppp/8/8/8/5PP1/PPP3PP/RNBQKBNR w",
         {0, 0},
         {0, 0}},  // never below 0
    };
    for (const auto& c : kCases)
        InBothColours(c.fen, [&](int sign) {
            PawnEntry entry{};
            ShieldDefects(entry);
            const int own = sign > 0 ? WHITE : BLACK;
            for (int wing : {0, 1}) {
                EXPECT_EQ(entry.defects[own][wing], c.own[wing]) << wing;
                EXPECT_EQ(entry.defects[1 - own][wing], c.other[wing]) << wing;
            }
        });
}

TEST_F(KingTest, DefectsOfTheKing) {
    struct {
        const char* fen;
        int own, other;
    } constexpr kCases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq", 3, 3},
        {"rnbq1rk1/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1RK1 w", 0, 0},
        {"rnbq1rk1/pppppppp/8/8/8/8/PPPPPPPP/RNBQ1R1K w", 1, 0},
        {"rnbq1rk1/pppppppp/8/8/6P1/8/PPPPPP1P/RNBQ1RK1 w", 3, 0},
        {"rnb2rk1/pppppppp/8/8/6P1/8/PPPPPP1P/RNBQ1RK1 w", 1,
         0},  // no enemy queen: halved
        {"rnbq1rk1/pppppppp/8/8/8/5bP1/PPPPPP1P/RNBQ1RK1 w", 5, 0},  // 2, the hole 3
        // A king that has not moved, with one rook gone from its corner: 3 + 2 / 2.
        {"rnbqkbnr/pppppppp/8/8/8/1P6/P1PPPPPP/RNBQKBNR w Qkq", 4, 3},
        {"rnbqkbnr/pppppppp/8/8/8/1P6/P1PPPPPP/RNBQKBNR w Kkq", 3, 3},
        {"rnbqkbnr/pppp1ppp/8/8/8/8/PPPP1PPP/RNBQKBNR w KQkq", 7, 7},  // open e-file 4
        {"rnbqkbnr/ppp2ppp/8/8/8/8/PPP2PPP/RNBQKBNR w KQkq", 9, 9},    // and d-file 2
        // A king on e2 that has moved: 3, open e-file 4.
        {"rnbqkbnr/pppp1ppp/8/8/8/8/PPPPKPPP/RNBQ1BNR w kq", 7, 7},
    };
    for (const auto& c : kCases)
        InBothColours(c.fen, [&](int sign) {
            FullScore();
            EXPECT_EQ(LastEvaluation.Defended[sign > 0 ? WHITE : BLACK], c.own);
            EXPECT_EQ(LastEvaluation.Defended[sign > 0 ? BLACK : WHITE], c.other);
        });
}

// Five defects of White's king, 42; the enemy king has none.
TEST_F(KingTest, SettingsWeighTheShelter) {
    struct {
        int rootSide, aggressivity, cowardice, value;
    } constexpr kCases[] = {
        {WHITE, 100, 100, -42}, {WHITE, 200, 50, -21}, {BLACK, 100, 100, -25},
        {BLACK, 200, 50, -50},  {BLACK, 0, 100, 0},
    };
    ASSERT_TRUE(SetFen("rnbq1rk1/pppppppp/8/8/8/5bP1/PPPPPP1P/RNBQ1RK1 w"));
    for (const auto& c : kCases) {
        EvaluationInput.RootSide = c.rootSide;
        EvaluationInput.Aggressivity = c.aggressivity;
        EvaluationInput.Cowardice = c.cowardice;
        Terms t = PreparedTerms(false, false);
        EXPECT_EQ(ShelterTerms(t), c.value);
    }
}

// The queen has left d1 before castling: -12, besides the shelter's -24 against 14.
TEST_F(KingTest, EarlyQueen) {
    ASSERT_TRUE(SetFen("rnbqkbnr/pppppppp/8/8/8/3Q4/PPPPPPPP/RNB1KBNR w KQkq"));
    Terms t = PreparedTerms(false, false);
    EXPECT_EQ(ShelterTerms(t), -22);
}

TEST_F(KingTest, AttackScore) {
    struct {
        int units, defects, score;
    } constexpr kCases[] = {
        {-8, 0, -25}, {0, 20, 0},   {1, 0, 2},      {10, 3, 70},   {5, 10, 25},
        {-5, 4, -22}, {30, 0, 180}, {119, 63, 360}, {27, 34, 360}, {16, 33, 242},
    };
    for (const auto& c : kCases) EXPECT_EQ(AttackOnKing(c.units, c.defects), c.score);
}

TEST_F(KingTest, SettingsWeighTheAttack) {
    EvaluationInput.Aggressivity = 200;
    EvaluationInput.Cowardice = 50;
    for (const auto& [root, value] : {std::pair{WHITE, 140}, std::pair{BLACK, 35}}) {
        EvaluationInput.RootSide = root;
        Terms t{};
        t.danger[WHITE] = 10;
        EXPECT_EQ(AttackTerms(t), value);
    }
    Terms t{};
    t.danger[BLACK] = -16;
    AttackTerms(t);
    EXPECT_EQ(t.danger[BLACK], -8);
}

TEST_F(KingTest, AttackUnits) {
    struct {
        const char* fen;
        bool ending;
        int units;
    } constexpr kCases[] = {
        {"7k/8/8/8/8/8/8/K5R1 w", false, 4},  // the king in the corner counts as on g8
        {"7k/8/8/8/8/8/8/K5R1 w", true, 3},   // in the ending it does not
        {"7k/8/8/8/8/8/6P1/K5R1 w", false, 0},       {"7k/8/8/8/8/5Q2/8/K7 w", false, 5},
        {"7k/8/5N2/8/8/8/8/K7 w", false, 3},         {"7k/8/8/6B1/8/8/8/K7 w", false, 2},
        {"7k/8/8/8/Q3P3/8/1PPP1P2/K7 w", false, -8},  // on the far wing, closed centre
        {"7k/8/8/8/Q3P3/8/1PPP4/K7 w", false, 0},
    };
    for (const auto& c : kCases)
        InBothColours(c.fen, [&](int sign) {
            Terms t = PreparedTerms(true, c.ending);
            PiecePlacement(t);
            EXPECT_EQ(t.danger[sign > 0 ? WHITE : BLACK], c.units);
        });
}

TEST_F(KingTest, QueenAgainstWeakKing) {
    struct {
        bool ending[2];
        int defended[2], value;
    } constexpr kCases[] = {
        {{false, false}, {0, 5}, 30}, {{false, false}, {0, 4}, 0},
        {{true, false}, {0, 0}, 30},  {{false, true}, {0, 9}, 0},
        {{true, true}, {0, 0}, 0},
    };
    for (const auto& c : kCases)
        InBothColours("4k3/8/8/8/8/8/8/3QK3 w", [&](int sign) {
            const int own = sign > 0 ? WHITE : BLACK;
            Terms t{};
            for (int side : {0, 1}) {
                const int colour = side == 0 ? own : 1 - own;
                t.ending[colour] = c.ending[side];
                t.defended[colour] = c.defended[side];
            }
            EXPECT_EQ(QueenAgainstWeakKing(t), sign * c.value);
        });
}

// The danger belongs to the last evaluation that ran to its end: lazy exits leave it
// alone.
TEST_F(KingTest, LazyExitsLeaveTheDanger) {
    ASSERT_TRUE(SetFen("rnb2rk1/pppp2pp/8/6Q1/4N3/3B4/PPP2PPP/R4RK1 w"));
    FullScore();
    const int danger = KingDanger(WHITE);
    EXPECT_GT(danger, 0);
    ASSERT_TRUE(SetFen("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq"));
    Evaluated(-400, -390);
    Evaluated(390, 400);
    EXPECT_EQ(KingDanger(WHITE), danger);
    FullScore();
    EXPECT_EQ(KingDanger(WHITE), 24);
}

}  // namespace
