// The attack tests and the exchange evaluation. Each attack question is put from the
// attacked square: a knight there would reach exactly the knights that attack it, and so
// on.
#include "board/attacks.h"

namespace {

// Captures on one square: no more than this many men can take part.
constexpr int kMaxExchanges = 64;

// The slider of either colour behind `from` on its line to `to`: with `from` gone it
// joins the exchange. Men used up earlier stand between `to` and `from` and are not met.
// An x-ray: only sliders that move along the line count, straight ones on ranks and
// files. A knight's square shares no line with `to` and uncovers nothing.
inline SquareSet UncoveredBehind(int to, int from) {
    const int step = Direction[from][to];
    const bool straight = step % 8 == 0 || step * step == 1;
    const SquareSet sliders =
        RayFrom(step, from) & (straight ? Board.StraightSliders : Board.DiagonalSliders);
    if (sliders == 0) return 0;
    const int nearest = step > 0 ? LowestSquare(sliders) : HighestSquare(sliders);
    return (Between[from][nearest] & AllOccupied()) == 0 ? SquareMask(nearest) : 0;
}

// The square of the least valuable of the side's attackers, lowest square first within a
// kind; there must be one. Without branches, which kind it is being hard to predict.
inline int LeastValuable(SquareSet own, int side) {
    SquareSet least = own;  // the king's, when nothing else is found
    const auto prefer = [&](SquareSet kind) {
        least = (own & kind) != 0 ? own & kind : least;
    };
    prefer(Board.Queens[side]);
    prefer(Board.Rooks[side]);
    prefer(Board.Bishops[side]);
    prefer(Board.Knights[side]);
    prefer(Board.Pawns[side]);
    return LowestSquare(least);
}

}  // namespace

SquareSet AttackersOf(int square) {
    return (PawnAttacks[WHITE][square] & Board.Pawns[BLACK]) |
           (PawnAttacks[BLACK][square] & Board.Pawns[WHITE]) |
           (KnightAttacks[square] & (Board.Knights[WHITE] | Board.Knights[BLACK])) |
           (BishopLines(square) & Board.DiagonalSliders) |
           (RookLines(square) & Board.StraightSliders) |
           (KingAttacks[square] & (Board.Kings[WHITE] | Board.Kings[BLACK]));
}

// Leapers first, since they cost one load each. The pawns that attack a square are those
// that a pawn of the other colour would attack from it.
bool IsAttacked(int colour, int square) {
    if ((PawnAttacks[ChangeSide(colour)][square] & Board.Pawns[colour]) != 0) return true;
    if ((KnightAttacks[square] & Board.Knights[colour]) != 0) return true;
    if ((KingAttacks[square] & Board.Kings[colour]) != 0) return true;
    const SquareSet straight = Board.Rooks[colour] | Board.Queens[colour];
    if ((RookLines(square) & straight) != 0) return true;
    const SquareSet diagonal = Board.Bishops[colour] | Board.Queens[colour];
    return (BishopLines(square) & diagonal) != 0;
}

// The swap algorithm: gain[n] is the balance after capture n, from the view of the side
// that made it, if the exchange ended there. Folding the list from the end lets each side
// stop when going on would cost it.
int StaticExchange(int to, int from) {
    int gain[kMaxExchanges];
    gain[0] = PieceValue[Board.Piece[to]];
    // What the next capture wins: the man that has just landed.
    int onSquare = PieceValue[Board.Piece[from]];
    // The first capture is made already: its man is gone from `from`.
    SquareSet attackers = (AttackersOf(to) & ClearMask(from)) | UncoveredBehind(to, from);
    int side = ChangeSide(Board.SideToMove);
    int n = 1;
    while (const SquareSet own = attackers & Board.Occupied[side]) {
        const int next = LeastValuable(own, side);
        attackers = (attackers & ClearMask(next)) | UncoveredBehind(to, next);
        gain[n] = onSquare - gain[n - 1];
        onSquare = PieceValue[Board.Piece[next]];
        ++n;
        side = ChangeSide(side);
    }
    for (int i = n - 1; i > 0; --i)
        if (gain[i] > -gain[i - 1]) gain[i - 1] = -gain[i];
    return gain[0];
}
