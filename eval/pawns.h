// Pawn structure and its hash table.
#pragma once

#include "eval/pawnentry.h"
#include "eval/terms.h"

// The pawn hash table, 2^bits entries; false when there is no memory for it.
bool AllocatePawnTable(int bits);
void FreePawnTable();
// Only a few entries are used, all empty, until the table is widened again: what a search
// finds does then not depend on earlier ones.
void NarrowPawnTable();
void WidenPawnTable();

// Pawn structure with the bonuses that the rest of the board gives it; fills the pawn
// fields of the evaluation in progress. Centipawns from White's view.
int PawnTerms(Terms& t);
