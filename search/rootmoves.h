// The list of root moves: every legal move once, in the order in which the first
// iteration tries them.
#pragma once

// Fills RootMoves, RootGivesCheck and RootMoveCount for the current position at Ply 0,
// and InCheckAt[0]. The transposition table's move goes first; an exact entry's score
// becomes RootScore, which otherwise is the previous search's. True when the table's move
// leads.
bool BuildRootMoves();
