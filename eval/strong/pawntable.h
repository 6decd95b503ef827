// The sums of the terms that the pawns alone decide, kept by pawn structure.
#pragma once

#include <cstdint>

#include "board/board.h"

// 2^14 structures: a search meets far fewer again and again.
inline constexpr int kPawnSumBits = 14;

// Written by eval/strong/evaluation.cpp; of no structure the key is 0.
struct PawnSums {
    struct Entry {
        std::uint64_t key;
        std::int32_t packed;  // as PlaySum adds them up
    } entries[1 << kPawnSumBits];
};

inline std::uint64_t PawnStructureKey() {
    return static_cast<std::uint64_t>(Board.PawnHash1) << 32 | Board.PawnHash2;
}
