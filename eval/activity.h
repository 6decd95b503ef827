// Terms of the strong search alone: how far the pieces of both sides reach.
#pragma once

#include "eval/terms.h"

// Centipawns from White's view. The terms' cover must be known, as PiecePlacement leaves
// it.
int ActivityTerms(const Terms& t);
// For having the move, centipawns for the side to move.
int MoveBonus();
