// The keys of positions in Polyglot books (Zobrist keys): the exclusive or of some of 781
// random numbers.
//
//   number     stands for
//     0 - 767  a man: 64 x kind + 8 x rank + file; kinds are black pawn, white pawn,
//              black knight, white knight, then bishops, rooks, queens and kings likewise
//   768 - 771  a castling right: White's short and long, Black's short and long
//   772 - 779  the file of a pawn that has just made a double step, when a pawn of the
//              side to move stands beside it
//         780  White to move
//
// The numbers belong to the Polyglot program and are no part of this one. They are found
// in a file that has them, the program itself or its documentation, and count only when
// they give the test keys that are published with the description of the format.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// The random numbers, [number].
inline constexpr int kPolyglotNumbers = 781;
using PolyglotKeys = std::array<std::uint64_t, kPolyglotNumbers>;

// Finds the numbers in a file: as hexadecimal numbers of a text, "0x...", or as the words
// of a program, least significant byte first. An empty name stands for the files of the
// packages that have them. False, with the reason, when they are not found; `keys` is
// then undefined. Sets positions up on the board; at most the first 16 MB of a file are
// looked at.
bool FindPolyglotKeys(PolyglotKeys& keys, const std::string& name, std::string& reason);

// Which numbers, 0 to 780, make up the key of the position on the board: their exclusive
// or is PolyglotKey.
std::vector<int> PolyglotKeyParts();
// The key of the position on the board.
std::uint64_t PolyglotKey(const PolyglotKeys& keys);
