// The calls that lead out of the search, to the parts of the program around it.
#pragma once

#include "board/types.h"
#include "book/book.h"           // BookLoaded, BookProbe
#include "book/positionlearn.h"  // LearnLookup
#include "search/control.h"

// ---- driver/input.cpp ----
// Input waits to be handled; cheap, asked at every poll point.
bool InputAvailable();
// Handles what waits; may set StopSearch and the other flags of control.h.
void CheckInput();
// Both at a poll point: true when what came stops the search.
inline bool PollInput() {
    if (!InputAvailable()) return false;
    Control.PollCountdown = Control.PollInterval;
    CheckInput();
    return Control.StopSearch != 0;
}

// ---- driver/result.cpp ----
// Writes the result line and returns true if the game is drawn in this position. A draw,
// or a stalemate below, that was played is credited to the book's moves.
bool AnnounceDraw();
// Writes the result line of a position without legal moves: mate or stalemate.
void AnnounceNoMoves(bool inCheck);

// ---- driver/thinkingline.cpp ----
// A line of thought with all that is known of it.
struct FullThought {
    int rank;            // from 1, the best line
    int depth, deepest;  // plies of the iteration, and the ply it has reached
    int score, bound;    // as in search/scores.h
    int permille;        // of the table of results that is in use
    std::int64_t tableHits;
    const Move* moves;
    int count;
};
// It is to be told during this search.
bool FullThinkingWanted();
// Writes it.
void FullThinkingLine(const FullThought& thought);
// Writes the thinking line, unless thinking lines are off or the search only looks for a
// move to ponder on. Without `force` only after 10000 nodes.
void ThinkingLine(bool force);
