// Memory for the large tables.
#pragma once

#include <cstddef>

// Zeroed memory, aligned to cache lines, on huge pages where the system has them (random
// look-ups into a table then miss the translation buffer less); nullptr when there is
// none.
void* AllocateTable(std::size_t bytes);
// `bytes` as it was allocated; nullptr is none.
void FreeTable(void* table, std::size_t bytes);
