#include "eval/rookpawn.h"

#include "board/board.h"
#include "eval/endgametables.h"

namespace {

// The four men, turned so that the pawn moves up the board.
struct RookPawn {
    int rook, rookKing, pawn, pawnKing;

    // The table knows pawns from their fourth to their seventh rank.
    bool InTable() const { return RankOf(pawn) >= 3 && RankOf(pawn) <= 6; }
    bool HoldsDraw() const { return ProbeKRKP(rook, rookKing, pawn, pawnKing) != 0; }

    // The rook attacks the square when the pawn's king is not in its way.
    bool RookHits(int square) const {
        const SquareSet blockers = SquareMask(rookKing) | SquareMask(pawn);
        return (FileOf(square) == FileOf(rook) || RankOf(square) == RankOf(rook)) &&
               square != rook && (Between[rook][square] & blockers) == 0;
    }
    bool IsFree(int square) const {
        return square != rook && square != rookKing && square != pawnKing;
    }
};

// What the moves of the pawn's side lead to.
struct Prospects {
    bool draw = false;     // a table draw
    bool unknown = false;  // a position that the table does not hold

    void Add(const RookPawn& after) {
        if (!after.InTable())
            unknown |= !after.RookHits(after.pawnKing);
        else
            draw |= after.HoldsDraw();
    }
};

// The king's steps away from the rook's fire and the other king; its taking the rook has
// been looked at before.
void LookAtKingSteps(const RookPawn& men, Prospects& prospects) {
    SquareSet steps = KingAttacks[men.pawnKing] & ~KingAttacks[men.rookKing] &
                      ~SquareMask(men.pawn) & ~SquareMask(men.rookKing);
    while (steps != 0 && !prospects.draw) {
        RookPawn after = men;
        after.pawnKing = TakeLowest(steps);
        if (!men.RookHits(after.pawnKing)) prospects.Add(after);
    }
}

// A promotion step counts as one that the table does not hold.
void LookAtPawnSteps(const RookPawn& men, Prospects& prospects) {
    RookPawn after = men;
    after.pawn += 8;
    if (!men.IsFree(after.pawn)) return;
    prospects.Add(after);
    if (RankOf(men.pawn) != 1) return;
    after.pawn += 8;
    if (men.IsFree(after.pawn)) prospects.Add(after);
}

// Taking the rook draws at least. Otherwise the verdict is that of the best move, as far
// as the table knows them all.
int PawnToMove(const RookPawn& men) {
    const bool rookHangs =
        Distance[men.pawnKing][men.rook] == 1 && Distance[men.rookKing][men.rook] != 1;
    if (rookHangs || (PawnAttacks[WHITE][men.pawn] & SquareMask(men.rook)) != 0)
        return kRookPawnDraw;
    Prospects prospects;
    LookAtKingSteps(men, prospects);
    LookAtPawnSteps(men, prospects);
    return prospects.draw      ? kRookPawnDraw
           : prospects.unknown ? kRookPawnUnknown
                               : kRookSideWins;
}

}  // namespace

int RookPawnRecogniser(int pawnColour) {
    const int rookColour = ChangeSide(pawnColour), turn = pawnColour == WHITE ? 0 : 63;
    const RookPawn men = {LowestSquare(Board.Rooks[rookColour]) ^ turn,
                          Board.KingSquare[rookColour] ^ turn,
                          LowestSquare(Board.Pawns[pawnColour]) ^ turn,
                          Board.KingSquare[pawnColour] ^ turn};
    // Only a set-up board can have a pawn on its first or last rank.
    if (RankOf(men.pawn) == 0 || RankOf(men.pawn) == 7) return kRookPawnUnknown;
    if (Board.SideToMove == pawnColour) return PawnToMove(men);
    if (!men.InTable()) return kRookPawnUnknown;
    return men.HoldsDraw() ? kRookPawnDraw : kRookSideWins;
}
