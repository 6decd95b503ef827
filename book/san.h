// Moves in short algebraic notation, found without the list of all legal moves: the men
// that reach the square are looked up, and legality is asked of those alone.
#pragma once

#include "board/board.h"

// Finds the legal moves of the current position that agree with the text: "e4", "Nbd7",
// "exd5", "e8=Q", "O-O", "0-0-0". Capture marks ("x", ":"), "=" and hyphens are passed
// over, but a capture mark asks for a capture. Long forms ("e2e4", "Ng1-f3") and partial
// ones ("ed", "exd") are understood; a promotion without its piece is four moves.
// Returns how many agree; `move` is then the last of them, and unchanged for 0. Check
// marks and whatever else follows the parts of a move are ignored: the caller hands over
// a move, not a line. The board is read and stays as it is. Built for reading millions of
// games.
int ResolveSan(const char* text, Move& move);
