// The way back from an index to its position, for the tools that make and check tables.
// The engine itself never needs it.
#pragma once

#include "egtb/index.h"

// In the terms of IndexFunction: what it takes is what comes back.
struct TablePlacement {
    std::uint8_t list[2][kListSize];  // square lists of the two sides; unused slots are 0
    int enPassant;                    // the square stepped over, or kNoEnPassant
};

// The placement that has this index; its colours are not exchanged. Many indices belong
// to no legal position: men may share a square, stand where they give check to the side
// that has just moved, or block the way of an en passant pawn. False beyond the last
// index.
bool PlacementOfIndex(int entry, int sideToMove, std::uint32_t index,
                      TablePlacement& placement);
