// Placement and activity of bishops, rooks, queens and knights. Scores are centipawns
// from White's view.
#pragma once

#include "eval/terms.h"

// A bishop shut in behind a pawn near the enemy's corner.
int TrappedBishops();
// Bad bishop, bishop pair, bishop with play on both wings, fianchetto.
int BishopTerms(const Terms& t);
// Back rank, rooks, knights, bishops and queens; gathers the attack units.
int PiecePlacement(Terms& t);
