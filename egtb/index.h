// Where in a table's file a position has its value: one index function for every material
// combination and side to move.
#pragma once

#include "egtb/indextables.h"

// No en passant capture.
inline constexpr int kNoEnPassant = 127;

// The index of a position in the file of its side to move. `first` and `second` are the
// square lists of the side named first in the table's name and of the other one (slots as
// in tablelist.h; slots beyond a kind's count are not read), `enPassant` the square a
// pawn has just stepped over, to be given only when an enemy pawn can take it there,
// `coloursExchanged` says that Black is the side named first. All squares are those of
// the board. kNoIndex for placements that the numbering leaves out; squares must be
// 0..63, the men on different ones and the pawns on ranks 2 to 7.
using IndexFunction = std::uint32_t (*)(const std::uint8_t* first,
                                        const std::uint8_t* second, int enPassant,
                                        bool coloursExchanged);

// [entry][side to move in the table's terms]; entry 0 has none. BuildIndexTables must
// have run. A symmetric entry has both functions, and both give indices of White's file.
extern const std::array<std::array<IndexFunction, 2>, kTableEntries> IndexFunctions;
