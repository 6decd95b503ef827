#include "eval/activity.h"

#include "board/attacks.h"

namespace {

// ---- Values, centipawns ----
// Each square that a piece reaches beyond the usual number of them.
struct Mobility {
    int usual;
    int middlegame, endgame;
    int Of(int squares, bool inEndgame) const {
        return (inEndgame ? endgame : middlegame) * (squares - usual);
    }
};
constexpr Mobility kKnight = {4, 4, 4};
constexpr Mobility kBishop = {6, 2, 2};
constexpr Mobility kRook = {7, 2, 4};
constexpr Mobility kQueen = {13, 1, 2};
constexpr int kMove = 10, kMoveInEndgame = 4;
constexpr int kEndgameUnits = 20;  // of both sides together

// Squares count that neither own pawns and king block nor enemy pawns guard.
template <int c>
int MobilityOf(const Terms& t) {
    const SquareSet free = ~(Board.Pawns[c] | Board.Kings[c] | t.cover[1 - c]);
    int score = 0;
    for (SquareSet men = Board.Knights[c]; men != 0;)
        score += kKnight.Of(PopCount(KnightAttacks[TakeLowest(men)] & free), t.endgame);
    for (SquareSet men = Board.Bishops[c]; men != 0;)
        score += kBishop.Of(PopCount(BishopLines(TakeLowest(men)) & free), t.endgame);
    for (SquareSet men = Board.Rooks[c]; men != 0;)
        score += kRook.Of(PopCount(RookLines(TakeLowest(men)) & free), t.endgame);
    for (SquareSet men = Board.Queens[c]; men != 0;)
        score += kQueen.Of(PopCount(QueenLines(TakeLowest(men)) & free), t.endgame);
    return score;
}

}  // namespace

int ActivityTerms(const Terms& t) { return MobilityOf<WHITE>(t) - MobilityOf<BLACK>(t); }

int MoveBonus() {
    return Board.Units[WHITE] + Board.Units[BLACK] > kEndgameUnits ? kMove
                                                                   : kMoveInEndgame;
}
