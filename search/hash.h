// The transposition table: search results by position, with age and depth deciding what
// stays. 20 bytes an entry, three slots a position, never cleared.
#pragma once

#include <cstdint>

#include "board/board.h"
#include "search/scores.h"

inline constexpr int kHashEntryBytes = 20;

// The table's generation, advanced at every search's start: all entries then count as
// older. Wraps.
std::int16_t TableAge();
void AdvanceTableAge(int generations);

// 2^bits entries, all empty; false when there is no memory or the number is
// not 0 to 31.
bool AllocateTranspositionTable(int bits);
void FreeTranspositionTable();

// What an entry says of its position.
struct HashHit {
    int depth;  // depth units
    int score;  // as stored: mates counted from the entry's own node
    Move move;  // NO_MOVE, NULL_MOVE after a null-move cut-off, or the best move
    int boundType;
    int mateThreat;
};

// The current position's entry; false when there is none.
// `hit` is untouched when there is none. Does not change the table.
bool HashProbe(HashHit& hit);
// Stores a result of the current position at the current Ply.
// Scores are for the side to move, mates counted from the root; `depth` in depth units. A
// deeper entry of the same position stays, and so does a deeper one of this search in the
// slot that would be replaced.
void HashStore(int depth, int score, Move move, int boundType, int mateThreat);
// The best move of the current position's entry; NO_MOVE when there is none.
Move HashMove();
// Both ask the processor for slots ahead of their use: the current position's, and those
// of the position after a move.
void PrefetchHashEntry();
void PrefetchAfter(Move m);

// The score of an exact entry counted from the root: mates are Ply moves further away.
int ScoreFromTable(int score);
