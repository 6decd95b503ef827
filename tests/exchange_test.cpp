// The exchange evaluation: known outcomes, and the ones of exchanges really played.
#include <gtest/gtest.h>

#include <algorithm>

#include "board/attacks.h"
#include "board/notation.h"
#include "tests/support.h"

namespace {

TEST(Exchange, KnownOutcomes) {
    const struct {
        const char* fen;
        int to, from, outcome;
    } cases[] = {
        {"4k3/2p5/3p4/8/8/8/8/3RK3", D6, D1, -400},
        {"4k3/8/3r4/8/5b2/8/8/3QK3", D6, D1, -400},
        {"4r2k/4n3/8/8/8/8/4R3/4R2K", E7, E2, 300},
        {"4r2k/4n3/8/8/8/8/4R3/7K", E7, E2, -200},
        {"7k/4n3/8/8/8/8/4R3/4R2K", E7, E2, 300},
        // The king takes only what is left undefended.
        {"8/8/3k4/3p4/8/8/3R4/4K3", D5, D2, -400},
        {"8/8/3k4/3p4/8/8/3R4/3RK3", D5, D2, 100},
    };
    for (const auto& c : cases) {
        Position(c.fen);
        EXPECT_EQ(StaticExchange(c.to, c.from), c.outcome) << c.fen;
    }
}

// The side's least valuable attacker of the square, the lowest of a kind; -1 if none.
int LeastAttacker(int to, int side) {
    const SquareSet attackers = AttackersOf(to) & Board.Occupied[side];
    for (const int code : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING})
        for (int square = 0; square < 64; ++square)
            if (Board.Piece[square] == code && (attackers & SquareMask(square)) != 0)
                return square;
    return -1;
}

// The same outcome with the men really moved on the board.
int PlayedExchange(int to, int from, int side) {
    const int gain = PieceValue[Board.Piece[to]], code = Board.Piece[from];
    RemovePiece(to);
    RemovePiece(from);
    AddPiece(to, side, code);
    const int answer = LeastAttacker(to, ChangeSide(side));
    if (answer < 0) return gain;
    return gain - std::max(0, PlayedExchange(to, answer, ChangeSide(side)));
}

TEST(Exchange, EqualsThePlayedExchange) {
    int exchanges = 0;
    for (const char* fen : {kCastlings, kPromotions, kMiddlegame}) {
        Position(fen);
        WalkTree(2, [&] {
            for (const Move m : LegalMoves()) {
                if (Captured(m) == EMPTY) continue;
                const int outcome = StaticExchange(To(m), From(m));
                const BoardRecord kept = Board;
                ASSERT_EQ(PlayedExchange(To(m), From(m), Board.SideToMove), outcome)
                    << MoveText(m);
                Board = kept;
                ++exchanges;
            }
        });
    }
    EXPECT_GT(exchanges, 10000);
}

}  // namespace
