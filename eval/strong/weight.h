// A weight of the strong search's evaluation: a value for the middlegame and one for the
// endgame, between which the material on the board decides.
#pragma once

#include <cstdint>

// Both in one integer, so that one addition adds both: the middlegame's in the upper
// half, the endgame's, with its sign, in the lower. Sums of each stay within 16 bits.
struct Weight {
    std::int32_t packed = 0;

    constexpr Weight() = default;
    constexpr Weight(int middlegame, int endgame)
        : packed(middlegame * 65536 + endgame) {}
    constexpr int Middlegame() const { return (packed + 0x8000) >> 16; }
    constexpr int Endgame() const { return static_cast<std::int16_t>(packed); }
};
