// Passed pawns and their races. All scores are centipawns from White's view.
#pragma once

#include "eval/terms.h"

// Passed pawns with the pieces on the board: rooks behind them, kings, blockers, pawns
// that nobody stops. There is at least one passed pawn.
int PasserTerms(const Terms& t);
