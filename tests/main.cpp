// The unit tests run on the tables that the program builds at its start.
#include <gtest/gtest.h>

#include <cstdio>

#include "board/tables.h"
#include "eval/evaluate.h"

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    BuildTables();
    if (!AllocatePawnTable(18)) {
        std::fprintf(stderr, "no memory for the pawn table\n");
        return 1;
    }
    const int status = RUN_ALL_TESTS();
    FreePawnTable();
    return status;
}
