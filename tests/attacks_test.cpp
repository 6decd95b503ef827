// The sliding attacks and the squares from which check can be given, against plain walks.
#include <gtest/gtest.h>

#include <random>

#include "board/attacks.h"
#include "board/legalmoves.h"
#include "board/notation.h"
#include "search/movewalk.h"
#include "tests/support.h"

namespace {

SquareSet Walked(int square, SquareSet occupied, bool straight) {
    SquareSet reached = 0;
    for (int df = -1; df <= 1; ++df)
        for (int dr = -1; dr <= 1; ++dr) {
            if ((df == 0 && dr == 0) || (df * dr == 0) != straight) continue;
            for (int f = FileOf(square) + df, r = RankOf(square) + dr;
                 f >= 0 && f < 8 && r >= 0 && r < 8; f += df, r += dr) {
                reached |= SquareMask(SquareAt(f, r));
                if ((occupied & SquareMask(SquareAt(f, r))) != 0) break;
            }
        }
    return reached;
}

TEST(Attacks, SlidersStopAtTheFirstMan) {
    std::mt19937_64 random(1);
    for (int round = 0; round < 300; ++round) {
        // Boards from crowded to nearly empty.
        SquareSet occupied = random();
        for (int i = round % 4; i > 0; --i) occupied &= random();
        for (int square = 0; square < 64; ++square) {
            ASSERT_EQ(RookAttacks(square, occupied), Walked(square, occupied, true));
            ASSERT_EQ(BishopAttacks(square, occupied), Walked(square, occupied, false));
        }
    }
}

// A move held to give no check gives none, and few others are held to be able to.
TEST(Attacks, MovesThatMayGiveCheck) {
    int checks = 0, suspects = 0, moves = 0;
    for (const char* fen :
         {kStart, kCastlings, kRookEnding, kPromotions, kKnightFork,
          "r3k2r/8/8/8/8/8/8/R3K2R w KQkq", "8/8/8/2k5/3Pp3/8/8/4K2B b - d3",
          "5k2/8/8/8/8/8/8/4K2R w K"}) {
        Position(fen);
        WalkTree(2, [&] {
            const int S = Board.SideToMove, O = ChangeSide(S);
            const CheckingSquares checking(S);
            for (const Move m : LegalMoves()) {
                const bool may = checking.MayGiveCheck(m);
                MakeMove(m);
                const bool gives = IsAttacked(S, Board.KingSquare[O]);
                UnmakeMove();
                ASSERT_TRUE(may || !gives) << fen << " " << MoveText(m);
                checks += gives ? 1 : 0;
                suspects += may ? 1 : 0;
                ++moves;
            }
        });
    }
    EXPECT_GT(checks, 0);
    EXPECT_LT(suspects, moves / 5);
}

}  // namespace
