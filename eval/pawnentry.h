// What is known of a pawn structure: an entry of the pawn hash table.
#pragma once

#include <cstdint>

struct FileSets {
    std::uint8_t passed;      // files with a passed pawn
    std::uint8_t candidates;  // files with a pawn that may become one
};

// What one pawn structure amounts to, as the hash table keeps it. The key is held in
// halves so that no padding makes the entry larger.
struct PawnEntry {
    std::uint16_t key[4];        // PawnHash1, PawnHash2, as they lie in memory
    std::int16_t score;          // White's view, centipawns
    std::uint8_t defects[2][2];  // [colour][0 king side, 1 queen side]: shield defects
    FileSets sets[2];            // Black's first
    std::uint8_t supported;      // bit 0 White, bit 1 Black: a passer has company
    std::uint8_t flags;          // for the pawn ending, see below
    std::uint8_t files[2];       // [colour]: files with a pawn

    const FileSets& Of(int colour) const { return sets[1 - colour]; }
    FileSets& Of(int colour) { return sets[1 - colour]; }
};
inline constexpr int kPawnEntryBytes = 22;
static_assert(sizeof(PawnEntry) == kPawnEntryBytes);

// Flags of the pawn ending, [colour]: a passer out of the other pawns' reach; two of
// them, or one on either wing; passers farther apart than the other's.
inline constexpr int kOutsidePasser[2] = {1, 4};
inline constexpr int kOutsidePassers[2] = {2, 8};
inline constexpr int kWiderSpread[2] = {16, 32};
constexpr int EndingFlagsOf(int c) {
    return kOutsidePasser[c] | kOutsidePassers[c] | kWiderSpread[c];
}
