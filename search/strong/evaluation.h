// The static evaluation as the strong search uses it.
#pragma once

// No evaluation lies beyond: room is left for what only a search can tell.
inline constexpr int kMostEvaluation = 20000;

// Of the position on the board, which is not in check, in centipawns for the side to
// move; between -kMostEvaluation and kMostEvaluation.
int StaticEvaluation();
