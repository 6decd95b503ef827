// The root of the search: the position to find a move for, its legal moves and what the
// search has found about them.
#pragma once

#include <cstdint>

#include "board/generate.h"

// ---- The root moves. The list is built by search/rootmoves.cpp, everything else written
// by search/root.cpp ----
struct RootList {
    int RootScores[kMaxMoves];               // score of each move's last search
    std::uint8_t RootGivesCheck[kMaxMoves];  // the move gives check
    int RootMoveCount;
    int RootMoveIndex;  // the root move being searched
    int RootDepth;      // plies of the current iteration; shown to the user plus one
    int RootGamePly;    // GamePly at the root
    int HashMoveBonus;  // depth units that the table's move gets: ceil(60 / RootDepth)
};
extern RootList Root;

// The legal moves of the root lie at the bottom of the move stack; entry 0 is the best so
// far, RootScore its score.
inline Move* const RootMoves = Generated.MoveStack;
inline int& RootScore = Root.RootScores[0];

// ---- What a search leaves beside the list ----
struct SearchResult {
    std::int64_t NodeCount;  // counted up by every search routine
    int BookMovePlayed;      // the move came from the opening book
    int ForGame;             // the search with the book allowed: for a game, no analysis
    // RootScore of the last completed search that was no ponder search; written by the
    // driver.
    int PreviousScore;
};
extern SearchResult Result;

// No moves, no result, an empty line and move stack.
void ResetRoot();
// Finds the move for the current position: RootMoves[0], with RootScore, RootDepth and
// NodeCount. `depthLimit` in plies, one above the last iteration. True when there is
// nothing to move: the game is over (the result line is written) or a king is missing.
// Without `bookAllowed` the opening book is neither asked for a move nor taught.
bool Search(int depthLimit, bool bookAllowed);
// Announces the end of the game if it has ended in this position, and returns true; else
// fills the root list and shows the table's move, when it leads.
bool GameOverCheck();
// Moves a root move to the front, the others down by one, and writes the thinking line.
void PromoteRootMove(int index);
