// Reductions of late quiet moves: how much, and which moves are spared because they take
// part in an attack on the enemy king.
#pragma once

#include "board/types.h"

struct LateMoves {
    bool on = false;
    bool kingAttack = false;  // an attack is on: moves towards the king are not reduced
    int evaluation = 0;       // of the node, centipawns for the side to move
    int quietCount = 0;       // quiet moves met so far

    // Evaluates the node, for S to move.
    void SetUp(int S, int alpha);
    // Depth change of a reduced search, after the move was made; `delta` is its change
    // without reduction, `best` the score to beat.
    int Reduction(int S, int depth, int delta, int best) const;
};

// In an attack on the king: the quiet move, just made by S, takes part in it.
bool IsExemptFromReduction(Move m, int S);
