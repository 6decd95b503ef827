// The unit tests run on the tables that the program builds at its start, and without a
// front end: searches leave standard input alone.
#include <gtest/gtest.h>

#include <cstdio>

#include "board/tables.h"
#include "driver/input.h"
#include "driver/settings.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    BuildTables();
    SetDefaultSettings();
    IgnoreInput();
    if (!AllocatePawnTable(Settings.PawnHashSize)) {
        std::fprintf(stderr, "no memory for the pawn table\n");
        return 1;
    }
    const int status = RUN_ALL_TESTS();
    FreePawnTable();
    return status;
}
