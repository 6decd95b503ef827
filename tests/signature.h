// The node totals on record, held against searches of the benchmark's positions.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "bench/positions.h"
#include "search/control.h"
#include "tests/support.h"

// `search` searches a position from a fresh state to a depth, and leaves no trace on the
// board. `file` lies in bench/ and holds depth and total.
template <typename SearchFresh>
void ExpectSignature(const std::string& file, int depthInCode, SearchFresh search) {
    std::ifstream record(VELTRAMOX_TEST_FOLDER "/../bench/" + file);
    int depth = 0;
    std::int64_t expected = 0, total = 0;
    ASSERT_TRUE(record >> depth >> expected);
    EXPECT_EQ(depth, depthInCode);
    for (const char* fen : kBenchPositions) {
        Position(fen);
        const BoardRecord before = Board;
        search(fen, depth);
        ASSERT_TRUE(SameBoard(Board, before)) << fen;
        total += Result.NodeCount;
    }
    EXPECT_EQ(total, expected) << "a wanted change: run bench/update-signature";
}
