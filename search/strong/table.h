// The strong search's table of results: buckets of a cache line, four entries each. An
// entry is two words of which the first is the position's key crossed with the second, so
// that halves of two entries, written at the same time, do not pass for one.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "board/types.h"
#include "search/scores.h"

// The static evaluation is not known: of a position in check.
inline constexpr int kNoEvaluation = -32768;
// Depth of an endgame table's result: beyond any search.
inline constexpr int kTableDepth = 200;

struct ResultEntry {
    std::atomic<std::uint64_t> check;  // key ^ data
    std::atomic<std::uint64_t> data;   // 0: empty
};
inline constexpr int kBucketEntries = 4;
struct alignas(64) ResultBucket {
    ResultEntry entries[kBucketEntries];
};
static_assert(sizeof(ResultBucket) == 64);

// Written by search/strong/table.cpp.
struct ResultTable {
    ResultBucket* buckets;
    std::size_t count;  // of buckets, less than 2^32
    unsigned age;       // of the search, counted modulo 32
};

// What is known of a position. The move is pseudo-legal in the position on the board, or
// NO_MOVE.
struct KnownResult {
    bool found = false;
    Move move = NO_MOVE;
    int score = 0;                   // for the side to move, mates counted from the root
    int evaluation = kNoEvaluation;  // static, before any correction
    int depth = -1;
    int bound = 0;  // kUpperBound, kLowerBound, kExact; 0: only the evaluation is known
};

// The key of the position on the board: placement, side to move, castling rights, and the
// file of a pawn that can be taken en passant.
std::uint64_t PositionKey();
// Asks the processor for the bucket ahead of its use.
void PrefetchResult(std::uint64_t key);
// `score` is converted with Line.Ply.
KnownResult LookUpResult(std::uint64_t key);
// Stores a result at Line.Ply; without a move the one known from before stays. A much
// shallower bound does not replace a result of the same search.
void StoreResult(std::uint64_t key, Move move, int score, int evaluation, int depth,
                 int bound);

// The largest table of whole buckets within so many bytes, empty; false when there is no
// memory. `shared`: with helpers (search/strong/helpers.h).
bool AllocateResults(std::size_t bytes, bool shared = false);
void ReleaseResults();
void ClearResults();
// How many of a thousand entries this search has written, by a sample.
int ResultsPermille();
// A new search begins: all entries count as older.
void AgeResults();
