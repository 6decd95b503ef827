// Exact results from endgame tables, inside the search.
#pragma once

// Asks the tables about the position at the current Ply, if this is a node where that
// pays: after captures and promotions and near the root, and not deep in the tree where
// the evaluation knows the ending. True with the node's score: mates counted from the
// root; a draw is 1 when White has more material and -1 when Black has, whoever is to
// move.
bool AskTables(int& score);
// The same; the score is then stored in the transposition table too.
bool ProbeTableScore(int& score);
