// The singular-move test.
#pragma once

#include "board/types.h"

// Tells whether one move alone holds against a null window below alpha: 1 and the move,
// else 0. `halfDepth` in depth units; the table's move, if any, is tried first.
int SingularTest(int alpha, int halfDepth, Move hashMove, bool mateThreat,
                 bool fullExtensions, Move& singularMove);
