// Table values, read through a cache of blocks of 8192 bytes with least-recently-used
// replacement. One cache serves all tables; registry.h has the tables themselves.
#pragma once

#include <cstdint>

// Sets up a cache of 2^bytesLog2 bytes, empty, in place of the one before. False when
// there is no memory for it, or the size is not one of 0 to 44; there is no cache then. A
// buffer too small for a single block (8260 bytes) serves nothing.
bool AllocateTableCache(int bytesLog2);
// Empties the cache and resets the count of misses. Must follow a registration of tables,
// which drops the chains that the cached blocks hang in.
void InitTableCache();
// Blocks that the cache has room for.
std::uint32_t TableCacheBlocks();
// Blocks read from files, failed reads included, since InitTableCache.
std::uint64_t TableCacheMisses();

// The value at that index, for the side to move: 0 a draw, 32767 - n a win in n moves, n
// - 32766 a loss in n moves (mated: -32766). `side` is the side to move in the table's
// terms; a symmetric entry has White's file for both. False when the table has none
// there: no legal position, an index beyond the file, no such file, or a failed read,
// after which the side is no longer available until tables are registered anew.
bool ReadTableValue(int entry, int side, std::uint32_t index, int& value);
