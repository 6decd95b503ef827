// Fractional extensions: the reasons add up in depth units, to at most the ply that the
// move costs.
#include "search/extend.h"

#include <algorithm>

#include "board/attacks.h"
#include "board/generate.h"
#include "search/scores.h"

namespace {

// Extension amounts in depth units, [full]: a node beyond twice the iteration depth gives
// about half.
// The halving keeps long forcing lines from running on without end.
struct Amount {
    int half, full;
    int Of(bool isFull) const { return isFull ? full : half; }
};
constexpr Amount kMateThreat = {22, 45};
constexpr Amount kPawnEnding = {30, 60};
constexpr Amount kRecapture = {22, 45};
constexpr Amount kPawnPush = {22, 45};
constexpr Amount kCheck = {30, 60};
constexpr Amount kAttackQueen = {15, 30};
constexpr Amount kAttackPiece = {7, 15};
constexpr Amount kHuntedPiece = {22, 45};

// A capture into a pawn ending may gain up to a ply, for its outcome is mostly decided.
constexpr int kPawnEndingCap = 60;
constexpr int kAttackDepth = 2 * OnePly;  // attacks count only near the horizon

// Two queens in a row: the race goes on, and neither score is settled.
inline bool PromotesToQueen(Move m) { return Promotion(m) == QUEEN; }

// A pawn arrives on its seventh rank.
inline bool ReachesSeventh(Move m, int mover) {
    return Moving(m) == PAWN && Promotion(m) == EMPTY &&
           (SeventhRank[mover] & SquareMask(To(m))) != 0;
}

// Recapture on the square of the previous move, of a man like the one it took.
inline bool Recaptures(Move m, Move previous) {
    return To(m) == To(previous) &&
           OrderClass[Captured(m)] == OrderClass[Captured(previous)] &&
           (Line.ExtFlags[Line.Ply] & kExtRecapture) == 0;
}

// What the moved man attacks from its new square, near the horizon.
inline int AttackExtension(Move m, int victim, bool fullExtensions) {
    const int to = To(m), mover = ChangeSide(victim);
    SquareSet attacked = 0, minorTargets = 0;
    switch (Moving(m)) {
        case PAWN:
            attacked = PawnAttacks[mover][to];
            minorTargets =
                Board.Rooks[victim] | Board.Bishops[victim] | Board.Knights[victim];
            break;
        case KNIGHT:
            attacked = KnightAttacks[to];
            minorTargets = Board.Rooks[victim];
            break;
        case BISHOP:
            attacked = BishopLines(to);
            minorTargets = Board.Rooks[victim];
            break;
        case ROOK:
            attacked = RookLines(to);
            break;
        default:
            return 0;
    }
    return PopCount(attacked & Board.Queens[victim]) * kAttackQueen.Of(fullExtensions) +
           PopCount(attacked & minorTargets) * kAttackPiece.Of(fullExtensions);
}

// The king now touches the victim's last piece, which neither king nor pawn defends.
inline bool HuntsLonePiece(Move m, int victim) {
    if (Moving(m) != KING) return false;
    const int units = Board.Units[victim];
    const SquareSet piece = units == PieceUnits[ROOK]     ? Board.Rooks[victim]
                            : units == PieceUnits[KNIGHT] ? Board.Knights[victim]
                                                          : 0;
    if (piece == 0 || (KingAttacks[To(m)] & piece) == 0) return false;
    const int square = LowestSquare(piece);
    return (KingAttacks[Board.KingSquare[victim]] & piece) == 0 &&
           (PawnAttacks[ChangeSide(victim)][square] & Board.Pawns[victim]) == 0;
}

}  // namespace

int ExtendMove(int depth, bool mateThreat, bool fullExtensions, bool mayGiveCheck) {
    const Move m = LastMove();
    const int victim = Board.SideToMove, mover = ChangeSide(victim);
    int delta = -OnePly, cap = 0, flags = 0;
    if (mateThreat) {
        delta += kMateThreat.Of(fullExtensions);
        flags = kExtMateThreat;
    }
    // The last piece has just gone.
    if (PieceValue[Captured(m)] > PieceValue[PAWN] && Board.Units[WHITE] == 0 &&
        Board.Units[BLACK] == 0) {
        delta += kPawnEnding.Of(fullExtensions);
        flags |= kExtPawnEnding;
        cap = kPawnEndingCap;
    }
    if (Board.GamePly > 1) {
        const Move previous = Board.MoveHistory[Board.GamePly - 2];
        if (Recaptures(m, previous)) {
            delta += kRecapture.Of(fullExtensions);
            flags |= kExtRecapture;
        }
        if (PromotesToQueen(m) && PromotesToQueen(previous)) {
            delta += kPawnPush.Of(fullExtensions);
            flags |= kExtPawnPush;
        }
    }
    if (ReachesSeventh(m, mover)) {
        delta += kPawnPush.Of(fullExtensions);
        flags |= kExtPawnPush;
    }
    // The child needs to know in any case: it generates evasions when in check.
    assert(mayGiveCheck || !IsAttacked(mover, Board.KingSquare[victim]));
    const bool givesCheck = mayGiveCheck && IsAttacked(mover, Board.KingSquare[victim]);
    Line.InCheckAt[Line.Ply + 1] = givesCheck ? 1 : 0;
    if (givesCheck) {
        delta += kCheck.Of(fullExtensions);
        flags |= kExtCheck;
    }
    Line.ExtFlags[Line.Ply + 1] = static_cast<std::uint8_t>(flags);
    if (depth < kAttackDepth && delta < cap)
        delta += AttackExtension(m, victim, fullExtensions);
    if (HuntsLonePiece(m, victim)) delta += kHuntedPiece.Of(fullExtensions);
    return std::min(delta, cap);
}
