// The table files found at start, by entry and side to move.
#pragma once

#include <memory>
#include <string>

#include "egtb/blocks.h"
#include "egtb/tablefile.h"
#include "egtb/tablelist.h"

// Hash chains for each table side, by block number; enough to keep them a few blocks
// long.
inline constexpr int kCacheBuckets = 32;

// One file. Filled by RegisterTables; the cache opens `file`, keeps its chains in
// `bucket` and clears `path` after a failed read.
struct TableSide {
    std::string path;                             // full file name; empty: not available
    std::uint32_t size = 0;                       // values in the file
    TableFile file;                               // opened on the first read and kept
    std::unique_ptr<CompressedTable> compressed;  // none for a plain file
    // Chains of cached blocks: slot number + 1 of the first, 0 for none.
    std::array<std::uint32_t, kCacheBuckets> bucket{};
};

// [entry][side to move in the table's terms]; White's serves a symmetric entry alone.
extern TableSide Tables[kTableEntries][2];

// Looks for table files in the directories of `pathList`, separated by "," or ";"; an
// empty list is the working directory. A file that is there but cannot be used ends the
// program with status 1 and a line that begins with "***". Returns the men of the largest
// table, 0 when there is none; `compressedBytes` is the memory that compressed files
// took.
int RegisterTables(const char* pathList, std::uint64_t& compressedBytes);

// Closes every table file that is open; reads open them again. Registration and cached
// blocks stay.
void CloseTableFiles();
