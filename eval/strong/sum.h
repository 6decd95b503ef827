// What the terms are added up in: in play one packed sum, for the tuner the count of each
// weight, by the same code.
#pragma once

#include "board/types.h"
#include "eval/strong/weights.h"

struct PlaySum {
    std::int32_t packed = 0;

    // The weight counts so many times for the colour.
    template <int c>
    void Add(const Weight& weight, int count = 1) {
        packed += (c == WHITE ? count : -count) * weight.packed;
    }
};

struct RecordedSum {
    std::int16_t counts[kWeightCount] = {};  // White's less Black's

    template <int c>
    void Add(const Weight& weight, int count = 1) {
        const auto* const first = reinterpret_cast<const Weight*>(&kWeights);
        counts[&weight - first] = static_cast<std::int16_t>(
            counts[&weight - first] + (c == WHITE ? count : -count));
    }
};
