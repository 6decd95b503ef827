// Making a move in the strong search: what every node does around it.
#pragma once

#include "search/alphabeta.h"
#include "search/movewalk.h"
#include "search/strong/state.h"

// Makes the move at the node's frame and steps to the next ply; false, with nothing
// changed, when it leaves the own king attacked. `exposed` as by ExposedSquares, all
// squares in check.
inline bool StepInto(Move m, int S, SquareSet exposed, SearchFrame* frame) {
    if (!MakeIfLegal(m, S, exposed)) return false;
    PrefetchResult(PositionKey());
    frame->move = m;
    frame->pieceTo = PieceTo(m, S);
    ++Line.Ply;
    Line.InCheckAt[Line.Ply] = IsAttacked(S, Board.KingSquare[ChangeSide(S)]) ? 1 : 0;
    return true;
}

inline void StepBack() {
    --Line.Ply;
    UnmakeMove();
}

// Squares whose men must be tested when they move.
inline SquareSet ExposedAt(int S) {
    return Line.InCheckAt[Line.Ply] != 0 ? ~SquareSet{0} : ExposedSquares(S);
}

// No room for another ply: the position is taken as it stands.
inline bool LineIsFull() { return Line.Ply >= kDeepestPly || !SearchHasRoom(); }
