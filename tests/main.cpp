// The unit tests run on the tables that the program builds at its start.
#include <gtest/gtest.h>

#include "board/tables.h"

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    BuildTables();
    return RUN_ALL_TESTS();
}
