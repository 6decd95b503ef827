// What the nodes of the line from the root to the node at hand know of each other.
#pragma once

#include "board/generate.h"

inline constexpr int kNoPieceTo = -1;

// The state of one ply. Written by the node there; of the next ply a node clears the
// killers.
struct SearchFrame {
    Move move;           // under search at this ply
    int pieceTo;         // its index as of PieceTo; kNoPieceTo for a null move
    int evaluation;      // corrected, side to move; kNoEvaluation in check
    Move killers[2];     // quiet moves that cut off in siblings, the newer one first
    Move excluded;       // left out while the others are tested against it
    int doubleExtended;  // moves of the line extended by two plies
};

// Plies before the root, so that a node may ask for the moves before it.
inline constexpr int kFramesBefore = 6;

// The principal variation below a ply.
struct PrincipalLine {
    Move moves[kMaxPly];
    int length;
};
