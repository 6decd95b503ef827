// Sums of terms that few things decide, kept by the key of those.
#pragma once

#include <cstdint>

// 2^bits sums as PlaySum adds them up, a single slot for each key.
template <int bits>
struct SumTable {
    struct Entry {
        std::uint64_t key;
        std::int32_t packed;
    } entries[1 << bits];

    // The sum of the key, computed when the table does not hold it. The sum of the key 0
    // must be 0.
    template <class Compute>
    std::int32_t Of(std::uint64_t key, Compute compute) {
        Entry& entry = entries[key * 0x9E3779B97F4A7C15 >> (64 - bits)];
        if (entry.key != key) entry = {.key = key, .packed = compute()};
        return entry.packed;
    }
};
