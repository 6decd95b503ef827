// The fixed searches whose node total tells one tree from another.
#pragma once

#include <cstdint>

#include "search/searcher.h"

inline constexpr int kSignatureDepth = 7;         // of bench/signature.txt
inline constexpr int kStrongSignatureDepth = 12;  // of bench/strong-signature.txt

struct SearchBench {
    std::int64_t nodes = 0;
    double seconds = 0;  // user CPU time of this process, set-up left out
    double elapsed = 0;  // seconds of the clock
};

// Searches every position of the benchmark to the depth, 3 to 98 plies, each from a fresh
// state, and writes a line for each: number, move, score, nodes, position. The node total
// depends on nothing but the depth and the code: neither on the order of positions nor on
// earlier searches. That holds for one thread; of several, no two runs are alike. Aborts
// when there is no memory.
SearchBench SearchBenchPositions(int depth, const Searcher& searcher = ClassicSearch,
                                 int threads = 1);
