// The list of root moves: every legal move once, in the order in which the first
// iteration tries them.
#pragma once

#include <cstdint>

#include "board/generate.h"

// ---- The root moves. The list is built by search/rootmoves.cpp, everything else written
// by search/root.cpp ----
struct RootList {
    int RootScores[kMaxMoves];               // score of each move's last search
    std::uint8_t RootGivesCheck[kMaxMoves];  // the move gives check
    int RootMoveCount;
    int RootMoveIndex;  // the root move being searched
    int RootDepth;      // plies of the current iteration; shown to the user plus one
    int RootGamePly;    // GamePly at the root
    int HashMoveBonus;  // depth units that the table's move gets: ceil(60 / RootDepth)
};
extern RootList Root;

// The legal moves of the root lie at the bottom of the move stack; entry 0 is the best so
// far, RootScore its score.
inline Move* const RootMoves = Generated.MoveStack;
inline int& RootScore = Root.RootScores[0];

// Fills RootMoves, RootGivesCheck and RootMoveCount for the current position at Ply 0,
// and InCheckAt[0]. The transposition table's move goes first; an exact entry's score
// becomes RootScore, which otherwise is the previous search's. True when the table's move
// leads.
bool BuildRootMoves();
