// Memory for the large tables.
#pragma once

#include <cstddef>

// Zeroed memory, aligned to cache lines, on huge pages where the system has them (random
// look-ups into a table then miss the translation buffer less); nullptr when there is
// none. A helper (platform/helper.h) finds it zeroed again, with no page copied.
void* AllocateTable(std::size_t bytes);
// The same, but shared with all helpers that are started later, whoever stores there; on
// huge pages only where the system's administrator has allowed them for such memory.
void* AllocateSharedTable(std::size_t bytes);
// `bytes` as it was allocated; nullptr is none.
void FreeTable(void* table, std::size_t bytes);
