// Makes endgame tables: exact distances to mate by retrograde analysis, of up to five
// men. Memory holds a few bytes for each arrangement of the men, and the smaller tables.
#pragma once

#include <filesystem>
#include <functional>
#include <vector>

// What a caller learns of each table, for its progress report. The mates are the longest
// in positions without en passant.
struct MadeTable {
    int entry;
    bool made;               // false: it was there already
    int longestWin[2] = {};  // moves, by side to move; 0 when that side never wins
    int longestLoss[2] = {};
    double seconds = 0;
    // Of the tables that had to be made.
    int position = 0, total = 0;
    double secondsLeft = 0;  // for the others, as far as their sizes tell
};

// Makes the tables, and those that captures and promotions lead to, in the directory, on
// `jobs` threads; tables that are there are kept. The directory is created. `report` is
// called after each one, and at once for those that were asked for and are there. Throws
// std::runtime_error with a text for the user, for six men too; complete files stay, and
// the next call goes on after them.
void MakeTables(const std::vector<int>& entries, const std::filesystem::path& directory,
                int jobs, const std::function<void(const MadeTable&)>& report);

// The entries with this many men, in the order of the list.
std::vector<int> TablesWithMen(int men);
// Men of the largest table that can be made: with six the arrangements exceed the 32 bits
// of a node's number and any usual memory.
inline constexpr int kMostMenMade = 5;
