// What the men are worth in each other's company, and against those of the enemy.
#pragma once

#include "board/board.h"
#include "eval/strong/sum.h"

// [colour][kind], kings left out.
struct MenCounts {
    int of[2][kKing];
};

inline MenCounts CountMen() {
    MenCounts counts;
    for (int c : {WHITE, BLACK}) {
        counts.of[c][kPawn] = Board.PawnCount[c];
        counts.of[c][kKnight] = PopCount(Board.Knights[c]);
        counts.of[c][kBishop] = PopCount(Board.Bishops[c]);
        counts.of[c][kRook] = PopCount(Board.Rooks[c]);
        counts.of[c][kQueen] = PopCount(Board.Queens[c]);
    }
    return counts;
}

// All counts in one key; 0 for bare kings.
inline std::uint64_t MaterialKey(const MenCounts& counts) {
    constexpr int kBits = 6;  // of a count
    std::uint64_t key = 0;
    for (const auto& side : counts.of)
        for (const int count : side)
            key = key << kBits | static_cast<std::uint64_t>(count);
    return key;
}

template <int c, class Sum>
void AddMaterial(const MenCounts& counts, Sum& sum) {
    const auto& own = counts.of[c];
    const auto& other = counts.of[1 - c];
    for (int i = 0; i < kKing; ++i)
        for (int j = 0; j <= i; ++j) {
            sum.template Add<c>(kWeights.pairs[i][j], own[i] * own[j]);
            sum.template Add<c>(kWeights.against[i][j], own[i] * other[j]);
        }
}
