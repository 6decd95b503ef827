// Books in the format of Polyglot: entries of 16 bytes, sorted by their keys.
//
//   offset  size  field (most significant byte first)
//        0     8  key of the position (tools/polyglotkeys.h)
//        8     2  move: 3 bits each of to-file, to-rank, from-file, from-rank and
//                 promotion (0 none, knight, bishop, rook, queen); castling takes its own
//                 rook
//       10     2  weight: how often the move is to be played; 0 never
//       12     4  for learning; not used here, 0
//
// Keys do not tell positions: they are found by playing from the start position. Each
// function returns the program's exit status, 0 or 1, with complaints on standard error.
#pragma once

#include <string>

#include "tools/polyglotkeys.h"

// Writes what the moves of the book `name` lead to from the start position as a Polyglot
// book. Weights are a move's points, 2 a win and 1 a draw; 1 for one that was not yet
// played, 0 for one that was removed. Positions that are not reached are counted in the
// report.
int ExportPolyglot(const std::string& name, const std::string& output,
                   const PolyglotKeys& keys, bool json);
// Makes a book of what the moves of the Polyglot book `name` lead to, and any one move
// besides them. The move of the largest weight gets the points of ten games won, the
// others a share of them by their weights; weight 0 removes a move. Promotions but to a
// queen have no place in our books. Illegal entries and those not reached are counted in
// the report and are no error, as long as the book does not come out empty.
int ImportPolyglot(const std::string& name, const std::string& output,
                   const PolyglotKeys& keys, bool json);
