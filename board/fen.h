// Positions as text, FEN and EPD: read for benchmarks, tests and tools (the protocol sets
// positions up by editing), written for logs and tools.
#pragma once

#include <string_view>

#include "board/board.h"

// Sets the board up from a FEN record: placement, side to move, castling rights, en
// passant square and half-move counter; the last four fields may be left out from the
// right. An en passant square becomes the double step as the one move on the history
// stack. False when the text is not a position (the board is then undefined and must be
// set up anew).
bool SetFen(std::string_view fen);

// Room for the fields, with a few characters to spare for what a caller adds.
inline constexpr int kEpdSize = 128;

// Writes placement, side to move, castling rights and en passant square, each followed by
// a blank, and a NUL. The en passant square is named after every double step. Returns
// where the NUL stands.
char* WriteEpd(char (&text)[kEpdSize]);
