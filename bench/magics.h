// Finds the factors of the sliding-attack look-up.
#pragma once

#include <array>
#include <cstdint>

// [square]; the same on every run. Takes a tenth of a second.
struct Magics {
    std::array<std::uint64_t, 64> bishops, rooks;
};
Magics FindMagics();
// Writes the tables of board/magics.h.
void PrintMagics();
