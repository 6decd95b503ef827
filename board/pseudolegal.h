// Moves from outside the generators: tables that others may have written, and sibling
// nodes.
#pragma once

#include "board/types.h"

// The generators could produce the move in the position on the board, whose check is told
// by Line.InCheckAt at Line.Ply: the men stand where it says, every way is free, castling
// and en passant are possible. Like a generated move it may leave the own king attacked.
// Any word may be asked; no king is ever taken.
bool IsPseudoLegal(Move m);
// The move as a word of 15 bits, from which the position gives the men back.
inline std::uint32_t PackedMove(Move m) {
    return static_cast<std::uint32_t>(From(m) | To(m) << 6 | Promotion(m) << 12);
}
// The pseudo-legal move of the position on the board that has the packed form; NO_MOVE
// when there is none.
Move UnpackedMove(std::uint32_t packed);
