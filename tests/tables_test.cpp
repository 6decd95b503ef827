// The tables built at start: known entries, and the ones that are easy to get wrong
// recomputed by their definitions.
#include <gtest/gtest.h>

#include "board/tables.h"

namespace {

SquareSet Set(std::initializer_list<int> squares) {
    SquareSet set = 0;
    for (const int square : squares) set |= SquareMask(square);
    return set;
}

// The rectangle of squares with these files and ranks, counted from 0.
SquareSet Area(int firstFile, int lastFile, int firstRank, int lastRank) {
    SquareSet set = 0;
    for (int file = firstFile; file <= lastFile; ++file)
        for (int rank = firstRank; rank <= lastRank; ++rank)
            set |= SquareMask(SquareAt(file, rank));
    return set;
}

TEST(Tables, Geometry) {
    EXPECT_EQ(RankAttacks[4][0][0x11], Set({A1, B1, C1, D1, F1, G1, H1}));
    EXPECT_EQ(FileAttacks[2][0][0xC4], Set({A1, A2, A4, A5, A6, A7}));
    EXPECT_EQ(RisingAttacks[3][RisingIndex(D4)][0x80], Set({A1, B2, C3, E5, F6, G7, H8}));
    EXPECT_EQ(FallingAttacks[3][FallingIndex(D4)][0x24], Set({C5, B6, E3}));
    EXPECT_EQ(PawnAttacks[WHITE][D8], 0u);
    EXPECT_EQ(Between[A1][H8], Set({B2, C3, D4, E5, F6, G7}));
    EXPECT_EQ(Between[A1][B3], 0u);
    EXPECT_EQ(Direction[A1][H8], -9);
    EXPECT_EQ(Direction[E1][E8], -8);
    EXPECT_EQ(Direction[A1][B3], 0);
    EXPECT_EQ(RayFrom(1, A1), Area(1, 7, 0, 0));
    EXPECT_EQ(RayFrom(-1, A1), 0u);
    EXPECT_EQ(Distance[A1][H8], 7);
    EXPECT_EQ(KnightDistance[A1][H8], 6);
    EXPECT_EQ(KnightDistance[A1][B2], 4);
    EXPECT_EQ(KnightDistance[A1][B1], 3);
}

TEST(Tables, EvaluationMasks) {
    EXPECT_EQ(PawnSquare[WHITE][A2], Area(0, 5, 2, 7));
    EXPECT_EQ(PawnSquareWide[WHITE][A2], Area(0, 6, 1, 7));
    EXPECT_EQ(PawnSquare[WHITE][D4], Area(0, 7, 3, 7));
    EXPECT_EQ(PawnSquare[BLACK][A7], Area(0, 5, 0, 5));
    EXPECT_EQ(PawnSquare[WHITE][A1], 0u);
    EXPECT_EQ(ThreeFilesAbove[B6], Area(0, 2, 6, 7));
    EXPECT_EQ(ThreeFilesBelow[H2], Area(6, 7, 0, 0));
    EXPECT_EQ(AdjacentAbove[D7], Set({C8, E8}));
    EXPECT_EQ(AdjacentBelow[D1], 0u);
    EXPECT_EQ(AdjacentLevelBehind[B2], Set({A2, C2}));
    EXPECT_EQ(AdjacentLevelBehind[B3], Set({A2, C2, A3, C3}));
    EXPECT_EQ(AdjacentLevelAhead[G7], Set({F7, H7}));
    EXPECT_EQ(OppositionSquares[A1], Set({63 - C1, 63 - A3, 63 - B3, 63 - C2}));
    EXPECT_EQ(OppositionSquares[H5], Set({63 - F5}));
    EXPECT_EQ(OppositionSquares[D4], 0u);
    EXPECT_EQ(WidestGap8[0b00010001], 3);
    EXPECT_EQ(WidestGap8[0b10100001], 4);
    EXPECT_EQ(AdjacentPair8[0b00000110], 6);
    EXPECT_EQ(AdjacentPair8[0b10101010], 0);
    EXPECT_EQ(FromHigh8[1], 7);
    EXPECT_EQ(FromLow8[0x80], 0);
}

// Of a file set, bit 7 being the a-file: the outermost file seen from one side, 8 if
// none.
int Leftmost(int set) {
    for (int file = 0; file < 8; ++file)
        if ((set >> (7 - file) & 1) != 0) return file;
    return 8;
}
int Rightmost(int set) {
    for (int file = 7; file >= 0; --file)
        if ((set >> (7 - file) & 1) != 0) return file;
    return 8;
}

TEST(Tables, WingsOfTwoFileSets) {
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c) {
            int outside = 0, reach = 0;
            if (a != 0) {
                const int hi = Leftmost(a), lo = Rightmost(a);
                const int cHi = Leftmost(c & ~(1 << (7 - hi)));
                const int cLo = Rightmost(c & ~(1 << (7 - lo)));
                outside = (hi < cHi - 1 ? 1 : 0) + (lo > cLo + 1 ? 1 : 0);
                reach = (hi <= cHi + 1 ? 1 : 0) + (lo >= cLo - 1 ? 1 : 0);
                if (hi == lo) {
                    outside = outside > 1 ? 1 : outside;
                    reach = reach > 1 ? 1 : reach;
                }
            }
            ASSERT_EQ(OutsideWings[a * 256 + c], outside) << a << ' ' << c;
            ASSERT_EQ(ReachWings[a * 256 + c], reach) << a << ' ' << c;
        }
}

// The company k in which a knight on n catches the pawn p that runs down its file.
bool Catches(int p, int n, int k) {
    for (int j = 1; p - 8 * (j - 1) >= 0; ++j) {
        const int pawn = p - 8 * (j - 1);
        if (KnightDistance[pawn][k] <= j) return true;
        if (KnightDistance[pawn][k] != j + 1) continue;
        for (int m = 0; m < 64; ++m)
            if ((KnightAttacks[n] & SquareMask(m)) != 0 &&
                KnightDistance[m][k] - 1 + KnightDistance[pawn][m] <= j)
                return true;
    }
    return false;
}

TEST(Tables, KnightCatch) {
    for (int p = A2; p <= H7; ++p)
        for (int n = 0; n < 64; ++n) {
            SquareSet caught = 0;
            for (int k = 0; k < 64; ++k)
                if (Catches(p, n, k)) caught |= SquareMask(k);
            ASSERT_EQ(KnightCatch[p][n], caught) << p << ' ' << n;
        }
}

}  // namespace
