// The current position as text: the four position fields of EPD.
#pragma once

// Room for the fields, with a few characters to spare for what a caller adds.
inline constexpr int kEpdSize = 128;

// Writes placement, side to move, castling rights and en passant square, each followed by
// a blank, and a NUL. The en passant square is named after every double step. Returns
// where the NUL stands.
char* WriteEpd(char (&text)[kEpdSize]);
