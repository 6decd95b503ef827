// Counts points for pieces and pawns that stand at home; only what goes beyond a usual
// opening position costs, more for the root side.
#include "eval/development.h"

#include "eval/state.h"
#include "eval/terms.h"

namespace {

constexpr int kUndeveloped = 6;  // more points than this cost
// [0 the opponent, 1 the root side]: points times the first, less the second.
constexpr int kPenalty[2][2] = {{5, 15}, {8, 24}};

template <int c>
constexpr SquareSet At(int square) {
    return SquareMask(Relative<c>(square));
}
int One(SquareSet set) { return set != 0 ? 1 : 0; }

// A centre pawn at home, worse with an own minor piece in its way.
template <int c>
int CentrePawn(int home, int front) {
    if ((Board.Pawns[c] & At<c>(home)) == 0) return 0;
    return ((Board.Bishops[c] | Board.Knights[c]) & At<c>(front)) != 0 ? 5 : 3;
}

// Pawns at home that bar the way of the pieces; a wing pawn two squares on has not
// helped.
template <int c>
int PawnPoints() {
    const SquareSet pawns = Board.Pawns[c];
    return 2 * One(pawns & At<c>(C2)) + CentrePawn<c>(D2, D3) + CentrePawn<c>(E2, E3) +
           One(pawns & (At<c>(G2) | At<c>(G4)));
}

// Minor pieces at home or on the edge, and the pawn that shuts the queen's bishop in.
template <int c>
int PiecePoints() {
    const SquareSet knights = Board.Knights[c], bishops = Board.Bishops[c];
    return One(knights & (At<c>(B1) | At<c>(A3))) +
           One(knights & (At<c>(G1) | At<c>(H3))) + One(bishops & At<c>(C1)) +
           One(bishops & At<c>(F1)) + One(Board.Pawns[c] & At<c>(B2));
}

// The penalty of one colour; the move itself is worth two points.
template <int c>
int Undeveloped() {
    constexpr int kMostPiecePoints = 5;
    int points = PawnPoints<c>() - (Board.SideToMove == c ? 2 : 0);
    // Also when the pawns make no points at all, the pieces do not count.
    if (points + kMostPiecePoints <= kUndeveloped) return 0;
    points += PiecePoints<c>();
    if (points <= kUndeveloped) return 0;
    const auto& [factor, less] = kPenalty[EvaluationInput.RootSide == c ? 1 : 0];
    return factor * points - less;
}

}  // namespace

int DevelopmentForWhite() { return Undeveloped<BLACK>() - Undeveloped<WHITE>(); }

int Development() {
    const int score = DevelopmentForWhite();
    return Board.SideToMove == WHITE ? score : -score;
}
