// Pawn structure and its hash table.
#pragma once

#include "eval/pawnentry.h"
#include "eval/terms.h"

// The pawn hash table, 2^bits entries; false when there is no memory for it.
bool AllocatePawnTable(int bits);
void FreePawnTable();

// Pawn structure with the bonuses that the rest of the board gives it; fills the pawn
// fields of the evaluation in progress. Centipawns from White's view.
int PawnTerms(Terms& t);
