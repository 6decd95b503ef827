// The inner nodes of the strong search. Depth is counted in whole plies; at none the
// quiescence search takes over.
#pragma once

#include "board/types.h"

// Fail-soft search of the position on the board at Line.Ply, whose InCheckAt is set. The
// window is open: a node of the principal variation, which is left in Strong.lines. The
// value is void when StopSearch is set.
int SearchOpen(int alpha, int beta, int depth);
// The same with the window just below `beta`. `cutNode`: it is expected to fail high.
int SearchNull(int beta, int depth, bool cutNode);

// The move, made at the ply above, begins the principal variation there.
void ExtendLine(Move m);
