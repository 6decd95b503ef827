// Which table serves a material combination: a tree of ten levels, one per count of men.
#pragma once

#include "egtb/tablelist.h"

// Forgets all registered tables.
void ClearMaterial();
// Registers a table, under its colours and, unless it is symmetric, with colours
// exchanged; doing it again for the entry's other file changes nothing. False when there
// is no memory.
bool EnterMaterial(int entry);
// +entry of the registered table for these men, -entry when it has the colours exchanged,
// 0 when there is none. Any counts may be asked for.
int MaterialIndex(const MenCounts& counts);
