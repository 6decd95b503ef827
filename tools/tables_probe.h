// What the tables say about one position: asks the engine's own probing code, by which
// the tables can be tried out as the engine sees them.
#pragma once

#include <string>
#include <vector>

#include "board/types.h"

enum class TableVerdict { Win, Loss, Draw, Unknown };  // for the side to move

// The answer for the side to move.
struct TableAnswer {
    TableVerdict verdict = TableVerdict::Unknown;
    int moves = 0;           // to mate, of the side that wins
    std::vector<Move> line;  // the best one of both sides, to mate
};

// Asks about the position on the board; the tables must be registered and their cache set
// up. Unknown also while a side may castle, which no table knows. The board is left as it
// was.
TableAnswer AskTables();

// Asks the tables of the directories (separated by ";") about a FEN record and writes the
// answer. Returns the program's exit status, which is 1 also when no table knows the
// position. Sets the board up.
int ProbeTables(const std::string& directory, const std::string& fen, bool json);
