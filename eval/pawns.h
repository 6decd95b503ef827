// Pawn structure and its hash table.
#pragma once

#include <cstdint>

#include "eval/terms.h"

// What one pawn structure amounts to, as its hash table keeps it. The key takes two bytes
// a piece so that the entry has no padding.
struct FileSets {
    std::uint8_t passed;      // files with a passed pawn
    std::uint8_t candidates;  // files with a pawn that may pass
};
struct PawnEntry {
    std::uint16_t key[4];        // PawnHash1, then PawnHash2, as they lie in memory
    std::int16_t score;          // White's view
    std::uint8_t defects[2][2];  // [colour][0 king side, 1 queen side]
    FileSets blackSets, whiteSets;
    std::uint8_t supported;  // bit 0 White, bit 1 Black: a passer has company
    std::uint8_t flags;      // of the pawn ending
    std::uint8_t files[2];   // [colour]: files with a pawn
};
static_assert(sizeof(PawnEntry) == 22);

// Pawn structure with the bonuses that depend on the pieces; fills the pawn fields of the
// evaluation in progress. Centipawns from White's view.
int PawnTerms(Terms& t);
