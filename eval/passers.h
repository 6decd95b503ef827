// Pawns and passed pawns in the company of pieces. Scores are centipawns from White's
// view.
#pragma once

#include "eval/terms.h"

// What the pieces and kings add to the pawn structure: connected passers, distant
// passers, a king that stands between the other king and its prey. Asks for the pawn
// entry and the passers; there is at least one pawn.
int PawnsWithPieces(const Terms& t);

// Passed pawns with the pieces on the board: rooks behind them, kings, blockers, races
// that no defender can stop. There is at least one passed pawn.
int PasserTerms(const Terms& t);
