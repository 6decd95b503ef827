// The lines of the root: for the best move, and where more are asked for the next best
// ones, the score and what is expected to follow.
#pragma once

#include <cstdint>

#include "search/strong/frame.h"

// No position of a game has more legal moves.
inline constexpr int kMostLines = 218;

struct RootLine {
    int score;          // centipawns for the side to move
    int bound;          // kExact, or kLowerBound while the window is being opened
    int depth;          // of the iteration, plies
    int deepest;        // ply that its principal variations have reached
    std::uint64_t key;  // of the position after the first move
    PrincipalLine moves;
};

// Written by search/strong/rootlines.cpp.
struct RootLines {
    int wanted;                  // lines of the running search, at least 1
    int told;                    // the first so many of them are of interest outside
    RootLine found[kMostLines];  // by the running iteration
    int foundCount;              // of them the search is over
    RootLine shown[kMostLines];  // by the last complete one: all different, best first
    int shownCount;
    std::int64_t toldAtNodes;  // NodeCount when they were last told; -1: not yet
};

// The search begins: nothing is known.
void ClearLines(int wanted, int told);
// The root's move at index `line` is the best so far of those behind the better lines;
// Strong.lines[0] begins with it, `key` is of the position after it.
void NoteLine(int line, int score, int bound, std::uint64_t key);
// The root's best move and score are known without a search.
void NoteOnlyLine();
// The search for this line is over: it goes to its place among those before it, and its
// root move with it.
void SortLine(int line);
// The iteration is complete, or the first one was broken off: what is found is shown.
void SettleLines();
// The score that the last complete iteration gave the move; `otherwise` when it was not
// among its lines.
int LastScoreOf(Move m, int otherwise);
// Brings a shown line to the front; the root's best move is then the first line's, with
// its score. Nothing when nothing is shown.
void PlayLine(int line);

// Brings the root move at `index` up to `to`, with all that belongs to it.
void MoveRootMove(int index, int to);

// Tells the lines in full to a front end that wants them so. False when there are none.
bool TellLines();
// While it thinks: the lines, once it is worth it; or the first one as a bound, when its
// score has left the window.
void TellNewLine();
void TellBound(int score, int bound);
