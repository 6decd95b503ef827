// The root of the search: iterative deepening over the moves of the position.
#pragma once

// No moves, no result, an empty line and move stack.
void ResetRoot();
// Finds the move for the current position: RootMoves[0], with RootScore, RootDepth and
// NodeCount. `depthLimit` in plies, one above the last iteration. True when there is
// nothing to move: the game is over (the result line is written) or a king is missing.
// Without `bookAllowed` the opening book is neither asked for a move nor taught.
bool Search(int depthLimit, bool bookAllowed);
// Announces the end of the game if it has ended in this position, and returns true; else
// fills the root list and shows the table's move, when it leads.
bool GameOverCheck();
// Moves a root move to the front, the others down by one, and writes the thinking line.
void PromoteRootMove(int index);
