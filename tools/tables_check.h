// Checks table files: their lengths, the blocks of compressed ones, and that every value
// follows from the values its moves lead to (a one-ply check of consistency, which mates
// anchor).
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// How thorough a check is. A sample takes positions at equal distances in the file, the
// same ones each time.
struct CheckOptions {
    bool full = false;             // compare all positions, not a sample
    std::uint64_t sample = 20000;  // positions a file
    int jobs = 1;
};

// What a check has found out about one table, both sides to move together.
struct CheckedTable {
    int entry;
    std::uint64_t compared = 0;  // positions
    std::uint64_t wrong = 0;     // of them
    std::string fault;        // what is wrong with the files or with the first position
    std::string notCompared;  // why no position was compared; not a fault
};

// Checks the tables of the directory that are among `entries` (empty: all that have a
// file), `report` being called after each, in the order of the list. True when none has a
// fault. A table that captures lead to and that is missing is no fault, but then no
// position is compared. Needs memory for a table and those it leads to. BuildIndexTables
// must have run; the board is not used.
bool CheckTables(const std::filesystem::path& directory, const std::vector<int>& entries,
                 const CheckOptions& options,
                 const std::function<void(const CheckedTable&)>& report);
