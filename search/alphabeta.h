// The inner nodes of the search tree.
#pragma once

#include "board/generate.h"
#include "search/quiesce.h"
#include "search/scores.h"

// Fail-soft search of the current position at Ply with the window alpha..beta; depth in
// units of 60 a ply, at least OnePly. The value is void when StopSearch is set.
int AlphaBeta(int alpha, int beta, int depth, bool nullAllowed);
// Looks at input and clock; true when the search must stop.
bool PollPoint();

// The move stack and the history stack have room for one more ply.
inline bool SearchHasRoom() {
    return Generated.MoveStackTop < kSearchStackEnd &&
           Board.GamePly < kHistoryCapacity - 4;
}
// From here on nodes are quiescence nodes: the per-ply arrays end.
inline constexpr int kDeepestPly = kMaxPly - 2;

// Searches the position one ply below the current one, which is on the board, for the
// side that just moved: v = -child(-beta, -alpha).
// Below one ply of depth, and where the arrays end, the quiescence search takes over.
inline int SearchChild(int alpha, int beta, int depth, bool nullAllowed) {
    ++Line.Ply;
    const int v = depth < OnePly || Line.Ply >= kDeepestPly || !SearchHasRoom()
                      ? -Quiesce(-beta, -alpha)
                      : -AlphaBeta(-beta, -alpha, depth, nullAllowed);
    --Line.Ply;
    return v;
}
