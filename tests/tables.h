// The tables of three men, made once for all tests that need them.
#pragma once

#include <string>

#include "egtb/indextables.h"
#include "egtb/tablebase.h"
#include "tests/scratch.h"
#include "tools/tables_make.h"

inline const std::string& ThreeManTables() {
    static const Scratch scratch;
    static const std::string directory = [] {
        BuildIndexTables();
        MakeTables(TablesWithMen(3), scratch.directory, 2, [](const MadeTable&) {});
        return scratch.directory.string();
    }();
    return directory;
}

// The program as it is with the tables of a directory found at its start.
struct WithTables {
    explicit WithTables(const std::string& directory, int cacheLog2 = 22) {
        std::uint64_t ramUsed;
        InitTablebases(directory.c_str(), ramUsed);
        SetUpTablebaseCache(cacheLog2);
    }
    ~WithTables() {
        CloseTablebases();
        TbMaxPieces = 0;
    }
};
