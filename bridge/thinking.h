// The engine's thinking lines: "DEPTH SCORE CENTISECONDS NODES MOVE...", the moves
// without their promotion letters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// One line, read. As default-made: nothing has been heard of the search yet.
struct ThinkingReport {
    int depth = 0;
    // Centipawns or, near the bound, a mate; side to move's. A mate whose distance the
    // engine has miscounted is at the line's end.
    int score = 0;
    long long centiseconds = 0;  // since the search began
    long long nodes = 0;
    std::vector<std::string> moves;  // legal ones, promotions complete
    // The first move is a promotion, and the line does not tell to which piece.
    bool unsure = false;
};

// Reads a line about the game's position; false when it is none. Of the moves those
// count that are legal, one after the other, until the game is over; a promotion gets the
// letter with which the moves after it go on longest, the queen's first. `first` is the
// line's first move where it is known, otherwise empty.
bool ReadThinkingLine(std::string_view line, std::string_view first,
                      ThinkingReport& report);

// The two texts name the same move but for the piece that a pawn becomes.
bool SameSquares(std::string_view a, std::string_view b);

// Full moves to the mate the score stands for, negative when the side to move is mated;
// 0: no mate score.
int MateInMoves(int score);
