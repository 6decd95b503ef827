// The engine's thinking lines: "DEPTH SCORE CENTISECONDS NODES MOVE...", the moves
// without their promotion letters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

enum class Bound { Exact, Lower, Upper };

// One line, read. As default-made: nothing has been heard of the search yet.
struct ThinkingReport {
    int depth = 0;
    // Centipawns or, near the bound, a mate; side to move's. A mate whose distance the
    // engine has miscounted is at the line's end.
    int score = 0;
    long long centiseconds = 0;  // since the search began
    long long nodes = 0;
    std::vector<std::string> moves;  // legal ones, promotions complete
    // What the strong search tells beside that; -1: not told.
    int rank = 1;                 // among several lines, the best is 1
    int deepest = -1;             // plies
    Bound bound = Bound::Exact;   // the score is at least, or at most, so much
    long long milliseconds = -1;  // since the search began
    int permille = -1;            // of its table that is in use
    long long tableHits = -1;     // positions found in endgame tables
    // The first move is a promotion, and the line does not tell to which piece.
    bool unsure = false;
};

// Reads a line about the game's position; false when it is none. Of the moves those
// count that are legal, one after the other, until the game is over; a promotion gets the
// letter with which the moves after it go on longest, the queen's first. `first` is the
// line's first move where it is known, otherwise empty.
bool ReadThinkingLine(std::string_view line, std::string_view first,
                      ThinkingReport& report);

// The same for a line that the strong search tells in full: "line RANK depth DEPTH
// deepest PLY score SCORE exact|lower|upper time MS nodes NODES full PERMILLE tables HITS
// pv MOVE...".
bool ReadFullLine(std::string_view line, ThinkingReport& report);

// The two texts name the same move but for the piece that a pawn becomes.
bool SameSquares(std::string_view a, std::string_view b);

// Full moves to the mate the score stands for, negative when the side to move is mated;
// 0: no mate score.
int MateInMoves(int score);
