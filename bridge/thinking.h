// The engine's thinking lines: "DEPTH SCORE CENTISECONDS NODES MOVE...", the moves
// without their promotion letters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct ThinkingReport {
    int depth = 0;
    int score = 0;               // centipawns or, near the bound, a mate; side to move's
    long long centiseconds = 0;  // since the search began
    long long nodes = 0;
    std::vector<std::string> moves;  // legal ones, promotions complete
};

// Reads a line about the current position; false when it is none. Of the moves those
// count that are legal, one after the other; a promotion gets the letter with which the
// moves after it go on longest, the queen's first.
bool ReadThinkingLine(std::string_view line, ThinkingReport& report);

// Full moves to the mate the score stands for, negative when the side to move is mated;
// 0: no mate score.
int MovesToMate(int score);
