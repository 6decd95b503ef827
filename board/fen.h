// Positions from FEN text, for benchmarks, tests and tools; the protocol sets positions
// up by editing.
#pragma once

#include <string_view>

#include "board/board.h"

// Sets the board up from a FEN record: placement, side to move, castling rights, en
// passant square and half-move counter; the last four fields may be left out from the
// right. An en passant square becomes the double step as the one move on the history
// stack. False when the text is not a position (the board is then undefined and must be
// set up anew).
bool SetFen(std::string_view fen);
