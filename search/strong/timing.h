// The time of a move in milliseconds: a soft limit, after which no new iteration begins
// and which stretches when the search is in doubt, and a hard one that ends the search.
#pragma once

#include <cstdint>

// What a move may take; 0: no limit. Times in ms.
struct MoveLimits {
    std::int64_t soft, hard;
    std::int64_t nodes;
};

// Written by search/strong/timing.cpp.
struct MoveTime {
    MoveLimits asked;    // for the next search, by whoever divides the clock himself
    bool limitsAsked;    // they hold
    MoveLimits limits;   // of the running search
    bool pondering;      // they do not hold before the predicted move has come
    std::int64_t begin;  // ms after the search's start from which the hard limit counts
    bool iterated;       // an iteration is complete: there is a move to play
    bool alone;          // nobody waits for a move and input is not looked at
};

// What is known of a clock, in ms.
struct ClockReading {
    std::int64_t left, increment;
    int movesToGo;   // to the next time control; 0: the rest of the game
    int moveNumber;  // from 1: later in a game fewer moves are expected to come
};
// The share of a clock for one move: at least 1 ms each, the soft limit not above the
// hard one, and that not all there is. `ponders`: part of it comes back on the opponent's
// time.
MoveLimits DivideClock(const ClockReading& clock, bool ponders);

// Limits for the next search, or for the search on the predicted move when that comes,
// instead of those by the clock: "limits SOFT HARD NODES". A line that is not in this
// form asks for nothing.
void AskForLimits(const char* line);

// The search begins.
void BeginTiming();
// It ends after so many nodes, if not before.
void CapNodes(std::int64_t nodes);
// At a node: counts it, and looks at input and clock now and then. True when the search
// must stop.
bool CountNode();
// An iteration is complete: whether to begin no other one. `stability` is the number of
// iterations since the best move changed, `fall` by how many centipawns the score is
// below that of the iteration before, `effort` the percentage of nodes spent on the best
// move.
bool IsTimeUp(int stability, int fall, int effort);
