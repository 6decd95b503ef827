// Extensions: which moves are searched deeper than one ply less.
#pragma once

// Bits of ExtFlags[ply]: why the move that led to that ply was extended.
inline constexpr int kExtCheck = 1;
inline constexpr int kExtMateThreat = 2;
inline constexpr int kExtRecapture = 4;
inline constexpr int kExtPawnPush = 8;
inline constexpr int kExtReduced = 0x40;  // not extended: the move is searched reduced
inline constexpr int kExtPawnEnding = 0x80;

// Depth change for the move just made, at most 0 but for captures into a pawn ending.
// Sets InCheckAt and ExtFlags of the next ply. With `fullExtensions`, or about half of
// them.
// `depth` is the node's own depth in depth units; MakeMove has been called, Ply is still
// the parent's. The mate threat is the one found by the node's null move or by the table.
// `mayGiveCheck` is false only when the move is known to give no check.
int ExtendMove(int depth, bool mateThreat, bool fullExtensions, bool mayGiveCheck);
