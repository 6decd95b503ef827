// A small generator of random numbers (SplitMix64), the same on every machine: what is
// drawn from a seed does not depend on the standard library.
#pragma once

#include <cstdint>

inline std::uint64_t SplitMix(std::uint64_t& state) {
    state += 0x9E3779B97F4A7C15;
    std::uint64_t z = state;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
}
