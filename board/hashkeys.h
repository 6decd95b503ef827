// The constant keys that identify positions: in the transposition table, the opening book
// and the learning file. They are part of the file formats and never change.
#pragma once

#include <cstdint>

// HashKeys1/2[colour][piece code][square].
struct HashKeyTables {
    std::uint32_t keys1[2][8][64];
    std::uint32_t keys2[2][8][64];
};

// Eight bytes a square from the linear congruential generator x -> 214013 x + 2531011
// started at 1, each byte the low half of bits 16 to 31 of the state: the first four are
// the second key, the next four the first key, most significant byte first.
// The order of the loops and of the two words is the generator's sequence and thereby
// part of the file formats.
consteval HashKeyTables MakeHashKeys() {
    HashKeyTables tables{};
    std::uint32_t state = 1;
    auto word = [&state] {
        std::uint32_t result = 0;
        for (int i = 0; i < 4; ++i) {
            state = state * 214013u + 2531011u;
            result = result << 8 | (state >> 16 & 0xFF);
        }
        return result;
    };
    for (int colour = 0; colour < 2; ++colour)
        for (int code = 0; code < 8; ++code)
            for (int square = 0; square < 64; ++square) {
                tables.keys2[colour][code][square] = word();
                tables.keys1[colour][code][square] = word();
            }
    return tables;
}

inline constexpr HashKeyTables kHashKeys = MakeHashKeys();
inline constexpr auto& HashKeys1 = kHashKeys.keys1;
inline constexpr auto& HashKeys2 = kHashKeys.keys2;

// Samples of both tables: a change of generator or order must not compile.
static_assert(HashKeys2[0][0][0] == 0x2923BE84 && HashKeys2[0][0][1] == 0x529049F1);
static_assert(HashKeys1[0][0][0] == 0xE16CD6AE && HashKeys1[0][1][0] == 0x4C73E605);
static_assert(HashKeys1[1][0][0] == 0xF76B1828);
