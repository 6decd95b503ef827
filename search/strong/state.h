// All that the strong search keeps: one struct, each part written by the file of its
// subject. A second search in another process has one of its own, but for the results.
#pragma once

#include "search/strong/correction.h"
#include "search/strong/frame.h"
#include "search/strong/history.h"
#include "search/strong/rootlines.h"
#include "search/strong/strength.h"
#include "search/strong/table.h"
#include "search/strong/timing.h"
#include "search/strong/wishes.h"

struct StrongState {
    ResultTable results;
    // Large tables have pages of their own.
    MoveHistory* history;
    EvaluationCorrections* corrections;
    MoveTime time;

    // ---- The line under search; written by node, quiesce and deepen ----
    SearchFrame frames[kFramesBefore + kMaxPly + 2];
    PrincipalLine lines[kMaxPly + 2];  // [ply]; that of the root is of its latest best
    int depth;                         // plies of the current iteration
    int deepest;                       // ply reached by principal variations since
    std::int64_t tableHits;            // nodes that endgame tables have settled
    int nullMoveFrom;                  // below this ply no null move is tried
    // ---- The root ----
    std::int64_t effort[kMaxMoves];  // nodes below each root move, as the list stands
    RootLines rootLines;
    SearchWishes wishes;
    StrengthState strength;
};
extern StrongState Strong;

inline SearchFrame* FrameAt(int ply) { return &Strong.frames[kFramesBefore + ply]; }
