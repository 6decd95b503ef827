// Quiet moves that were good elsewhere in the tree: history counters and killers, the
// tables of Ordering.
#pragma once

#include "board/types.h"

// A quiet move that was best or caused a cut-off at `depth` (depth units) rises in both.
void UpdateGoodMove(Move m, int depth);
void ClearHistoryAndKillers();  // for a new game
void AgeHistoryAndKillers();    // before every move decision
