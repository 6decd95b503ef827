// Table values, read through a cache of blocks of 8192 bytes.
#pragma once

#include <cstdint>

// Sets up a cache of 2^bytesLog2 bytes, empty. False when there is no memory for it. A
// buffer too small for a single block serves nothing.
bool AllocateTableCache(int bytesLog2);
// Empties the cache.
void InitTableCache();
// Blocks that the cache has room for.
std::uint32_t TableCacheBlocks();
// Blocks read from files since InitTableCache.
std::uint64_t TableCacheMisses();

// The value at that index, for the side to move: 0 a draw, 32767 - n a win in n moves,
// n - 32766 a loss in n moves (mated: -32766). False when the table has none there: no
// legal position, an index beyond the file, no such file, or a failed read, after which
// the side is no longer available.
bool ReadTableValue(int entry, int side, std::uint32_t index, int& value);
