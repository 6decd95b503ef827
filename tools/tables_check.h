// Checks table files: their lengths, the blocks of compressed ones, and that every value
// follows from the values its moves lead to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

struct CheckOptions {
    bool full = false;             // compare all positions, not a sample
    std::uint64_t sample = 20000;  // positions a file
    int jobs = 1;
};

struct CheckedTable {
    int entry;
    std::uint64_t compared = 0;  // positions
    std::uint64_t wrong = 0;     // of them
    std::string fault;        // what is wrong with the files or with the first position
    std::string notCompared;  // why no position was compared; not a fault
};

// Checks the tables of the directory that are among `entries` (empty: all), `report`
// being called after each. True when none has a fault.
bool CheckTables(const std::filesystem::path& directory, const std::vector<int>& entries,
                 const CheckOptions& options,
                 const std::function<void(const CheckedTable&)>& report);
