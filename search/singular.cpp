// The singular-move test: at half depth, does one move alone keep the score near alpha?
#include "search/singular.h"

#include "search/alphabeta.h"
#include "search/control.h"
#include "search/extend.h"
#include "search/hash.h"
#include "search/movewalk.h"
#include "search/rootmoves.h"
#include "search/scores.h"

namespace {

// How far below alpha a move may fall and still hold, centipawns.
constexpr int kSingularMargin = 59;

// Searches the move just made with the null window below the bound.
inline bool Holds(int alpha, int child) {
    const int bound = alpha - kSingularMargin;
    return SearchChild(bound - 1, bound, child, true) >= bound;
}

}  // namespace

// The first move that holds is a candidate; a second one ends the test, for then there is
// no singular move.
int SingularTest(int alpha, int halfDepth, Move hashMove, bool mateThreat,
                 bool fullExtensions, Move& singularMove) {
    ++Result.NodeCount;
    --Control.PollCountdown;
    const int depth = halfDepth + (Line.Ply == 1 && Line.InCheckAt[1] != 0 ? OnePly : 0);
    const int S = Board.SideToMove;
    int count = 0;
    if (hashMove != NO_MOVE) {
        MakeMove(hashMove);
        const int delta = ExtendMove(depth, mateThreat, fullExtensions, true);
        const bool holds = Holds(alpha, depth + delta + Root.HashMoveBonus);
        UnmakeMove();
        if (Control.StopSearch != 0) return 0;
        if (holds) {
            count = 1;
            singularMove = hashMove;
        }
    }
    const SquareSet exposed = ExposedSquares(S);
    const CheckingSquares checking(S);
    const int top = Generated.MoveStackTop;
    MoveWalk walk(hashMove);
    while (const Move m = walk.Next()) {
        if (!MakeIfLegal(m, S, exposed)) continue;
        PrefetchHashEntry();
        const int delta =
            ExtendMove(depth, mateThreat, fullExtensions, checking.MayGiveCheck(m));
        const bool holds = Holds(alpha, depth + delta);
        UnmakeMove();
        if (Control.StopSearch != 0 || (holds && count == 1)) {
            count = 0;
            break;
        }
        if (!holds) continue;
        count = 1;
        singularMove = m;
    }
    Generated.MoveStackTop = top;
    return count;
}
