// Late-move reductions: by one ply or two, and one more where the score is hopelessly
// behind. In an attack on the king the moves of the attackers keep their depth.
#include "search/reduction.h"

#include "board/attacks.h"
#include "eval/evaluate.h"
#include "search/scores.h"

namespace {

constexpr int kAttackUnits = 15;   // pieces needed for an attack
constexpr int kAttackDanger = 60;  // danger above which the king is under attack
constexpr int kAttackScoreGap = 20;

constexpr int kFewUnits = 12;
// Depth units; margins in centipawns.
constexpr int kDeep = 7 * OnePly, kMedium = 5 * OnePly;
constexpr int kHopelessMargin = 580, kBehindMargin = 160;

// The man ends further from the king than it began, counted in king moves.
bool GoesAway(int from, int to, int king) {
    return Distance[from][king] < Distance[to][king];
}
bool GoesAwayByFile(int from, int to, int king) {
    return FileDistance(to, king) > FileDistance(from, king);
}

// The man no longer looks at the king or the squares next to it, or walks away from it.
bool QueenLeaves(int from, int to, int king) {
    return ((QueenLines(to) & QueenLines(king)) == 0 && FileDistance(to, king) > 1) ||
           (GoesAway(from, to, king) && GoesAwayByFile(from, to, king));
}
bool RookLeaves(int from, int to, int king) {
    return ((RookLines(to) & (RookLines(king) | KingAttacks[king])) == 0 &&
            FileDistance(to, king) > 1) ||
           (GoesAway(from, to, king) && GoesAwayByFile(from, to, king));
}
bool BishopLeaves(int from, int to, int king) {
    return (BishopLines(to) & (BishopLines(king) | KingAttacks[king])) == 0 ||
           GoesAway(from, to, king);
}

}  // namespace

// The full window is needed: a lazy exit would leave no king danger behind.
void LateMoves::SetUp(int S, int alpha) {
    on = true;
    evaluation = Evaluated(-kFullWindow, kFullWindow);
    kingAttack = Board.Units[S] >= kAttackUnits &&
                 -evaluation < alpha + kAttackScoreGap && KingDanger(S) > kAttackDanger;
}

int LateMoves::Reduction(int S, int depth, int delta, int best) const {
    const int O = ChangeSide(S);
    const int estimate = evaluation + Board.Positional[S] - Board.Positional[O];
    const bool hopeless = depth > kDeep && estimate + kHopelessMargin < best;
    int r = delta - OnePly;
    if (Board.Units[O] < kFewUnits) {
        if (hopeless) r -= OnePly;
    } else if (depth > kMedium || estimate + kBehindMargin < best) {
        r = delta - 2 * OnePly;
        if (hopeless) r -= OnePly;
    }
    return r;
}

bool IsExemptFromReduction(Move m, int S) {
    const int from = From(m), to = To(m), king = Board.KingSquare[ChangeSide(S)];
    switch (Moving(m)) {
        case QUEEN:
            return !QueenLeaves(from, to, king);
        case ROOK:
            return !RookLeaves(from, to, king);
        case BISHOP:
            return !BishopLeaves(from, to, king);
        case KNIGHT:
            return Distance[to][king] < Distance[from][king];
        default:
            return true;
    }
}
