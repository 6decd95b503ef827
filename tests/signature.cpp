#include "tests/signature.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>

#include "bench/positions.h"
#include "search/control.h"
#include "tests/support.h"

void ExpectSignature(const std::string& file, int depthInCode,
                     void (*search)(const char* fen, int depth)) {
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
