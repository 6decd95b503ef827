// What the front end asks of searches beside their limits, in lines of the protocol.
#pragma once

#include <cstdint>

#include "board/generate.h"

// Written by search/strong/wishes.cpp.
struct SearchWishes {
    int lines;  // to be searched and shown; 0 is 1
    // The root moves to be searched in the position with this key; none: all.
    Move only[kMaxMoves];
    int onlyCount;
    std::uint64_t onlyAt;
};

// "lines N": of all searches from now on, 1 to kMostLines. "searchmoves M...": only these
// moves, and those of such lines before, are searched as long as the position on the
// board is the same; without a move all are. What cannot be read asks for nothing, and a
// move that is not legal is passed over. "strength ELO SEED": search/strong/strength.h.
void HearWish(const char* line);

// Leaves in the root list what has been asked for; all, when that is nothing or not
// there.
void RestrictRoot();
// Lines that the search at hand is to show.
int WantedLines();
