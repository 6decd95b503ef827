#include "eval/pawns.h"

#include "eval/passers.h"
#include "tests/evaluation.h"

namespace {

class PawnsTest : public EvaluationTest {};

struct Case {
    const char* fen;
    int value;
};

TEST_F(PawnsTest, StructureOfBothSides) {
    struct {
        const char* fen;
        int own, other;
    } constexpr kCases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w", 0, 0},
        // e4: square 12, isolated -12, in the open -5, passed 32.
        {"4k3/8/8/8/4P3/8/8/4K3 w", 27, 0},
        // d4, e4: squares 24, beside each other 7, passed 2 * 32.
        {"4k3/8/8/8/3PP3/8/8/4K3 w", 95, 0},
        // e4, e5: squares 24, doubled and isolated -8 - 24 - 10, passed 32 and half
        // of 60.
        {"4k3/8/8/4P3/4P3/8/8/4K3 w", 44, 0},
        // e5, e7: square 12, -8 - 24 - 10, passed 60 and half of 160.
        {"4k3/4P3/8/4P3/8/8/8/4K3 w", 110, 0},
        // a4, c4, e4: squares 24, three isolated -56 - 15, passed 29 + 32 + 32.
        {"4k3/8/8/8/P1P1P3/8/8/4K3 w", 46, 0},
        // d3 backward -12: c5 covers d4; squares 4 + 12, e4 passed 32. c5: square 12,
        // isolated -12, in the open -5.
        {"4k3/8/8/2p5/4P3/3P4/8/4K3 w", 36, -5},
        // d4 backward, but c2 can come up: -8; squares 24, e5 passed 60. c6: 3 - 12.
        {"4k3/8/2p5/4P3/3P4/8/2P5/4K3 w", 76, -9},
        // e6 blocked and defended by d5: 16; squares 6 + 12; d5 backward -12. e7: -12.
        {"4k3/4p3/4P3/3P4/8/8/8/4K3 w", 22, -12},
        // Doubled, not isolated: -5 each for e4 and e5; f4 beside e4 7; squares 12, 12,
        // 6; passed 32, half of 60, 32.
        {"4k3/8/8/4P3/4PP2/8/8/4K3 w", 121, 0},
        // Nobody can move: -36; squares 36, side by side 4 * 7.
        {"4k3/8/8/ppppp3/PPPPP3/8/8/4K3 w", 28, 28},
        // Storm: g4 towards a king on the g-file, squares 7; -12 - 5, passed 32.
        {"6k1/8/8/8/6P1/8/8/2K5 w", 22, 0},
        {"2k5/8/8/8/1P6/8/8/6K1 w", 22, 0},
        {"4k3/8/8/8/6P1/8/8/2K5 w", 15, 0},  // not against a king in the centre
    };
    for (const auto& c : kCases)
        InBothColours(c.fen, [&](int sign) {
            PreparedTerms(false, false);
            EXPECT_EQ(LastEvaluation.PSValue[sign > 0 ? WHITE : BLACK], c.own);
            EXPECT_EQ(LastEvaluation.PSValue[sign > 0 ? BLACK : WHITE], c.other);
        });
}

TEST_F(PawnsTest, EndgameTable) {
    // a7: square 25, isolated -12 - 5, passed 154; e2: square -7, -17, passed 8.
    InBothColours("4k3/P7/8/8/8/8/8/4K3 w", [](int) {
        EXPECT_EQ(std::abs(PreparedTerms(true, true).pawns->score), 162);
    });
    InBothColours("4k3/8/8/8/8/8/4P3/4K3 w", [](int sign) {
        EXPECT_EQ(PreparedTerms(true, true).pawns->score, sign * -16);
    });
}

TEST_F(PawnsTest, NoPawns) {
    ASSERT_TRUE(SetFen("4k3/8/8/8/8/8/8/R3K3 w"));
    const Terms t = PreparedTerms(true, true);
    EXPECT_EQ(t.pawnScore, 0);
    EXPECT_EQ(t.passers[WHITE] | t.passers[BLACK], SquareSet{0});
    PawnEntry counted{};
    ShieldDefects(counted);
    for (int c : {WHITE, BLACK})
        for (int wing : {0, 1})
            EXPECT_EQ(t.pawns->defects[c][wing], counted.defects[c][wing]);
}

TEST_F(PawnsTest, StructureWithPieces) {
    struct {
        const char* fen;
        bool endgame;
        int value;
    } constexpr kCases[] = {
        // A pair on the fifth rank 24, a wing without enemy pawns 96 against no pieces.
        {"8/8/8/3PP3/8/8/8/K6k w", false, 120},
        // On the sixth 48, 200 with the king outside both squares, 48 against a knight.
        {"8/8/4PP2/8/8/8/n7/K6k w", false, 296},
        {"6k1/8/4PP2/8/8/8/n7/K7 w", false, 196},
        {"8/4n3/4PP2/8/8/8/8/K6k w", false, 96},  // blocked
        {"8/8/4P3/5P2/8/8/n7/K6k w", false, 72},  // the rear pawn on the fifth
        {"8/8/4PP2/7k/8/8/n7/K7 w", false, 296},
        {"8/8/4PP2/7k/8/8/n7/K7 b", false, 196},  // one step nearer
        // The king between the other king and the pawns.
        {"8/8/8/8/k2K2p1/8/6P1/8 w", true, 150},
        {"8/8/2k5/8/3K2p1/8/6P1/8 w", true, 150},
        {"8/8/2k5/8/3K2p1/8/6P1/8 b", true, 0},
        {"8/8/8/8/k2K2p1/8/6P1/7N w", true, 0},  // with pieces on the board
        // Passers six files apart against no pieces: 5 * 48, and the free wing 96.
        {"4k3/8/8/P6P/8/8/8/N3K3 w", true, 336},
    };
    for (const auto& c : kCases)
        InBothColours(c.fen, [&](int sign) {
            EXPECT_EQ(PawnsWithPieces(PreparedTerms(c.endgame, true)), sign * c.value);
        });
}

TEST_F(PawnsTest, PassedPawns) {
    constexpr Case kCases[] = {
        {"4k3/8/8/4P3/8/8/8/K3R3 w", 40},   // a rook behind
        {"8/8/4k3/4P3/8/8/8/K3R3 w", -10},  // behind a blocked pawn 20, blocked -30
        {"4k3/8/8/4P3/8/8/8/K3r3 w", -12},  // an enemy rook behind
        {"4k3/8/8/4P3/8/8/4N3/K3R3 w", 0},  // a man between
        {"8/8/3K4/4P3/8/8/8/r6k w", 12},    // the king ahead
        {"8/4k3/8/3PP3/8/8/8/4K3 w", 80},   // two passers against no pieces
        {"n7/4k3/8/3PP3/8/8/8/4K3 w", 30},  // against a knight
        {"4k3/8/8/P7/8/8/8/7K w", 530},     // unstoppable, two moves to go
        {"3k4/8/8/P7/8/8/8/7K b", 0},       // the king is in the square
        // A king before the pawn that comes too late saves it a move, 10, if no own man
        // stands in the way.
        {"8/8/4PK2/8/8/8/8/3k4 b", 530},    // two moves
        {"3k4/8/4PK2/8/8/8/8/8 b", 540},    // one
        {"3k4/5K2/4P3/8/8/8/8/8 w", 610},   // none; the own king ahead 60
        {"3k4/4PK2/8/8/8/8/8/8 b", 550},    // none, in check
        {"3k4/4NK2/4P3/8/8/8/8/8 b", 535},  // three: 520 + 60, blocked -45
        // Races with d the moves: kings ahead of their pawns cancel out or say so.
        {"8/7K/6P1/8/8/1p6/k7/8 w", 440},  // one move faster: 400 + 50 - 10
        {"8/7K/6P1/8/8/1p6/k7/8 b", -440},
        {"8/7K/6P1/8/1p6/8/k7/8 w", 588},  // two moves: 540, kings 60 - 12
        {"8/7K/6P1/8/8/8/kp6/8 w", 500},   // equal, with check: 440, king 60
        {"8/7K/6P1/8/8/k7/1p6/8 w", 60},   // equal, without effect
        {"6K1/8/7P/8/k7/8/p7/8 w", 500},   // equal, covers a1
        {"8/6K1/7P/8/k7/8/p7/8 w", 60},    // the own king is in the line
        // Pawn endings: all enemy pawns blocked 350, immobile 64, winning 5.
        {"6k1/8/5KP1/p7/P7/8/8/8 w", 419},
        {"6k1/8/p4KP1/8/PP6/8/8/8 w", 69},  // a5 is covered, but not blocked
    };
    for (const auto& [fen, value] : kCases)
        InBothColours(fen, [value = value](int sign) {
            EXPECT_EQ(PasserTerms(PreparedTerms(true, true)), sign * value);
        });
}

// One structure with the kings on opposite wings and on one: two slots, both kept.
TEST_F(PawnsTest, KingClassesHaveTheirOwnEntries) {
    constexpr const char* kOpposite = "6k1/5ppp/8/8/6P1/8/PPP5/2K5 w";
    constexpr const char* kSame = "6k1/5ppp/8/8/6P1/8/PPP5/6K1 w";
    ASSERT_TRUE(SetFen(kOpposite));
    const int storm = PreparedTerms(false, false).pawns->score;
    ASSERT_TRUE(SetFen(kSame));
    const int centre = PreparedTerms(false, false).pawns->score;
    EXPECT_EQ(storm - centre, 7);           // g4 in the storm
    LastEvaluation.PSValue[WHITE] = 12345;  // a hit runs no pass
    EXPECT_EQ(PreparedTerms(false, false).pawns->score, centre);
    ASSERT_TRUE(SetFen(kOpposite));
    EXPECT_EQ(PreparedTerms(false, false).pawns->score, storm);
    EXPECT_EQ(LastEvaluation.PSValue[WHITE], 12345);
}

TEST_F(PawnsTest, TableSizes) {
    EXPECT_EQ(sizeof(PawnEntry), 22u);
    for (const int bits : {-1, 29, 64}) EXPECT_FALSE(AllocatePawnTable(bits));
    EXPECT_TRUE(AllocatePawnTable(0));
    ASSERT_TRUE(SetFen("4k3/pppp4/8/8/8/8/4PPPP/4K3 w"));
    const int score = FullScore();
    ASSERT_TRUE(SetFen("4k3/ppp5/8/8/8/8/5PPP/4K3 w"));
    FullScore();
    ASSERT_TRUE(SetFen("4k3/pppp4/8/8/8/8/4PPPP/4K3 w"));
    EXPECT_EQ(FullScore(), score);
}

}  // namespace
