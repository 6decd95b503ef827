// The seam between the program and whichever search plays: what the driver and the root
// ask of it. The root list, the clock, input and thinking lines are the same for all.
#pragma once

#include "board/types.h"

struct Searcher {
    // Memory for its tables, all empty: as many bytes for results as 2^bits entries of
    // the classic table take. False when there is none or the number is not 0 to 31. The
    // strong search uses so many cores, 1 to kMostThreads (search/strong/helpers.h).
    bool (*allocate)(int bits, int threads);
    void (*release)();
    // Nothing that was known of the game before holds; results of positions stay.
    void (*forget)();
    // Brings the best move of the root list to its front, with RootScore and RootDepth.
    void (*deepen)();
    // The best move known of the position on the board; NO_MOVE when there is none.
    Move (*bestKnown)();
    // The position's exact result, if one is known: its best move, NO_MOVE or NULL_MOVE
    // when it has none, and its score at Line.Ply.
    bool (*exactResult)(Move& move, int& score);
    // The moves expected from the position on the board, which RootMoves[0] has led to,
    // at most so many; their number.
    int (*expectedLine)(Move* line, int most);
    // Tells the lines that it shows in full (search/outward.h), best first, unless it has
    // just done so. False when it has none; nullptr for a search that knows no such
    // lines.
    bool (*tellLines)();
    // Milliseconds for the next move from one who divides the clock himself, and nodes:
    // "limits SOFT HARD NODES". The classic search knows only its own clock.
    void (*askForLimits)(const char* line);
    // Other wishes, as lines of the protocol: "lines N", "searchmoves MOVE...",
    // "strength ELO SEED".
    void (*hearWish)(const char* line);
    // The quiescence search of the position on the board, for "tst".
    void (*testQuiescence)();
    // It is asked about positions with a single move too.
    bool searchesOnlyMoves;
};

// A search to exact depth, node for node the same ever since.
extern const Searcher ClassicSearch;
// Principal-variation search with modern pruning, reductions and time management.
extern const Searcher StrongSearch;

// The one that plays.
const Searcher& ActiveSearch();
// Makes it the one that plays, with tables of its own, and gives back those of the one
// before; false when there is no memory.
bool ChooseSearch(const Searcher& searcher, int bits, int threads = 1);
// Gives back the tables of the one that plays.
void ReleaseSearch();
