// The quiescence search: captures and promotions that can still reach alpha, until the
// material is settled. The entry uses the transposition table and writes its first level
// out; deeper levels are plain. It does not know checks, and an illegal move
// shows by the possibility of taking the king.
#include "search/quiesce.h"

#include "eval/evaluate.h"
#include "search/alphabeta.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/scores.h"

namespace {

// Captures run out after some hundred nodes. In crowded positions that only editing sets
// up they hardly ever do: after so many nodes without a look at input and clock one is
// taken, and the search unwinds when it has to stop.
constexpr int kCrowded = -1000000;

// TestQuiescence runs: nobody is thinking, and commands wait for its end.
bool QuiescenceAlone = false;

inline void CountNode() {
    ++Result.NodeCount;
    if (--Control.PollCountdown >= kCrowded) return;
    if (QuiescenceAlone)
        Control.StopSearch = 1;
    else
        PollPoint();
}

// What a capture must gain to bring the material balance plus margin up to alpha.
inline int GainThreshold(int alpha) {
    const int S = Board.SideToMove, O = ChangeSide(S);
    return alpha - Margins.PositionalMargin - Board.Material[S] + Board.Material[O];
}

// The inner levels: stand pat, then every capture that can reach alpha. True from the
// generator means that a king can be taken, so that the move before was illegal: beta
// makes it fail.
int QuiesceCaptures(int alpha, int beta) {
    CountNode();
    if (Control.StopSearch != 0) return alpha;
    Evaluate(alpha, beta);
    if (alpha >= beta || !SearchHasRoom()) return alpha;
    const int top = Generated.MoveStackTop;
    if (GenerateQuiesceCapturesInner(GainThreshold(alpha))) {
        Generated.MoveStackTop = top;
        return beta;
    }
    const int end = Generated.MoveStackTop;
    for (int i = top; i < end; ++i) {
        MakeMove(Generated.MoveStack[i]);
        const int v = -QuiesceCaptures(-beta, -alpha);
        UnmakeMove();
        if (Control.StopSearch != 0) break;
        if (v <= alpha) continue;
        alpha = v;
        if (alpha >= beta) break;
    }
    Generated.MoveStackTop = top;
    return alpha;
}

// One level below the entry, with the parent's window: the value of the move for the side
// that makes it.
int QuiesceChild(Move m, int alpha, int beta) {
    MakeMove(m);
    CountNode();
    int c = Evaluated(-beta, -alpha);
    if (c < -alpha && SearchHasRoom()) {
        const int top = Generated.MoveStackTop;
        if (GenerateQuiesceCapturesInner(GainThreshold(c))) {
            c = -alpha;  // the move was illegal
        } else {
            const int end = Generated.MoveStackTop;
            for (int i = top; i < end; ++i) {
                MakeMove(Generated.MoveStack[i]);
                const int r = -QuiesceCaptures(alpha, -c);
                UnmakeMove();
                if (r > c) c = r;
                if (c >= -alpha || Control.StopSearch != 0) break;
            }
        }
        Generated.MoveStackTop = top;
    }
    UnmakeMove();
    return -c;
}

}  // namespace

void TestQuiescence() {
    Line.Ply = 0;
    Generated.MoveStackTop = 0;
    Control.StopSearch = 0;
    Control.PollCountdown = 0;
    QuiescenceAlone = true;
    Quiesce(-MateScore, MateScore);
    QuiescenceAlone = false;
}

int Quiesce(int alpha, int beta) {
    CountNode();
    Evaluate(alpha, beta);
    if (alpha >= beta || !SearchHasRoom()) return alpha;

    Move hashMove = NO_MOVE;
    HashHit hit;
    if (HashProbe(hit)) {
        // Any depth will do: a quiescence result is the least that is stored.
        if (hit.boundType == kExact) return ScoreFromTable(hit.score);
        if (hit.boundType == kUpperBound && hit.score <= alpha) return hit.score;
        if (hit.boundType == kLowerBound && hit.score >= beta) return hit.score;
        if (CapturesOrPromotes(hit.move) && FitsPosition(hit.move)) hashMove = hit.move;
    }

    Move best = NO_MOVE;
    if (hashMove != NO_MOVE) {
        const int v = QuiesceChild(hashMove, alpha, beta);
        if (Control.StopSearch != 0) return 0;
        if (v >= beta) return v;
        if (v > alpha) {
            alpha = v;
            best = hashMove;
        }
    }

    const int top = Generated.MoveStackTop;
    if (GenerateQuiesceCaptures(GainThreshold(alpha), hashMove)) {
        Generated.MoveStackTop = top;
        return beta;
    }
    const int end = Generated.MoveStackTop;
    if (end == top) return alpha;
    for (int i = top; i < end; ++i) {
        const Move m = Generated.MoveStack[i];
        const int v = QuiesceChild(m, alpha, beta);
        if (Control.StopSearch != 0) {
            Generated.MoveStackTop = top;
            return 0;
        }
        if (v > alpha) {
            alpha = v;
            best = m;
        }
        if (v >= beta) {
            // The en-passant right is not in the keys: such a move could be illegal on
            // return.
            if (!IsEnPassant(m)) HashStore(0, v, m, kLowerBound, 0);
            Generated.MoveStackTop = top;
            return v;
        }
    }
    Generated.MoveStackTop = top;
    if (!IsEnPassant(best))
        HashStore(0, alpha, best, best != NO_MOVE ? kExact : kUpperBound, 0);
    return alpha;
}
