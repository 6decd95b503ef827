// Positions as text, FEN and EPD: read for benchmarks, tests and tools (the protocol sets
// positions up by editing), written for logs and tools.
#pragma once

#include <string_view>

#include "board/board.h"

// Sets the board up from a FEN record: placement, side to move, castling rights, en
// passant square and half-move counter (0 to 1000); the last four fields may be left out
// from the right, and what follows them is not read. An en passant square becomes the
// double step as the one move on the history stack. Rights that king and rook at home do
// not bear out are dropped. False when the text is not a position with one king a side
// (the board is then undefined and must be set up anew). Whether the position is a legal
// one is not checked: the side that has just moved may stand in check, and pawns may
// stand on the outer ranks.
bool SetFen(std::string_view fen);

// Room for the fields, with a few characters to spare for what a caller adds.
inline constexpr int kEpdSize = 128;

// Writes placement, side to move, castling rights and en passant square, each followed by
// a blank, and a NUL. The en passant square is named after every double step, whether a
// pawn can take there or not. Rights are written as the flags stand. Returns where the
// NUL stands.
char* WriteEpd(char (&text)[kEpdSize]);
