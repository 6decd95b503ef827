// The root of the strong search: iterative deepening over the root moves.
#pragma once

// Searches the root list (search/rootmoves.h) deeper and deeper until a limit of Control
// or of the clock ends it: RootMoves[0] is then the best move found, RootScore its score.
// Root.RootDepth is a ply less than the iteration's depth, as it is shown.
void DeepenStrong();
