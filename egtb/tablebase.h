// Endgame tables: what the rest of the program may ask. A table knows the result of every
// position of its men with the distance to mate.
#pragma once

#include <cstdint>

// Largest number of men, kings included, for which tables were found; 0: none.
// Written by the functions below; the search reads it at every node before it asks
// anything else.
extern int TbMaxPieces;

// Finds and registers the table files in the directories of `path` (separated by "," or
// ";"; empty: the working directory). A file that is there but cannot be used ends the
// program with status 1 and a line that begins with "***". Returns, and sets,
// TbMaxPieces; `ramUsed` becomes the bytes for indices and decompression tables of
// compressed files.
int InitTablebases(const char* path, std::uint64_t& ramUsed);

// Sets up the block cache of 2^bytesLog2 bytes, after InitTablebases, and closes the
// table files that are open. False when there is no memory for it; then there are no
// tables (TbMaxPieces 0).
bool SetUpTablebaseCache(int bytesLog2);

// Closes all table files; the next probe opens them again.
void CloseTablebases();

// Value of the position on the board for the side to move, the other one being
// `sideNotToMove`: 0 a draw, 32767 - n a win in n moves, n - 32766 a loss in n moves
// (-32766: mated). False when no table tells, and `value` is then as it was. Castling
// rights and the fifty-move counter are not looked at. May read a block of a file. The
// position may be any, illegal ones included; of those the answer means nothing.
bool ProbeTablebase(int sideNotToMove, int& value);
