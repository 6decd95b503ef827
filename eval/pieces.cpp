#include "eval/pieces.h"

namespace {

constexpr int kTrappedBishop = 160;

// A bishop of the colour that took a pawn it should have left alone.
template <int c>
bool HasTrappedBishop() {
    constexpr int kTraps[4][2] = {{A7, B6}, {B8, C7}, {G8, F7}, {H7, G6}};
    constexpr SquareSet kCorners =
        SquareMask(Relative<c>(A7)) | SquareMask(Relative<c>(B8)) |
        SquareMask(Relative<c>(G8)) | SquareMask(Relative<c>(H7));
    if ((Board.Bishops[c] & kCorners) == 0) return false;
    for (const auto& [bishop, pawn] : kTraps)
        if ((Board.Bishops[c] & SquareMask(Relative<c>(bishop))) != 0 &&
            (Board.Pawns[1 - c] & SquareMask(Relative<c>(pawn))) != 0)
            return true;
    return false;
}

}  // namespace

int TrappedBishops() {
    return kTrappedBishop * (static_cast<int>(HasTrappedBishop<BLACK>()) -
                             static_cast<int>(HasTrappedBishop<WHITE>()));
}
int BishopTerms(const Terms&) { return 0; }
int PiecePlacement(Terms&) { return 0; }
int DevelopmentForWhite() { return 0; }
int Development() { return 0; }
