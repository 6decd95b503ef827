// The search: iterative deepening at the root, alpha-beta with quiescence below it.
// Scores are centipawns for the side to move; depth is counted in units of 60 a ply.
#pragma once

#include <cstdint>

#include "board/generate.h"

inline constexpr int OnePly = 60;
inline constexpr int MateScore = 32700;   // less the ply where the mate stands
inline constexpr int ScoreBound = 32701;  // the widest window
inline constexpr int kMateBound = 31000;  // scores beyond it, either way, are mates

// ---- Root state ----
// The legal moves of the root, at the bottom of the move stack; entry 0 is the best so
// far.
inline Move* const RootMoves = MoveStack;
extern int RootScores[kMaxMoves];  // score of each move's last search
extern std::uint8_t RootGivesCheck[kMaxMoves];
inline int& RootScore = RootScores[0];
extern int RootMoveCount;
extern int RootMoveIndex;  // the root move being searched
extern int RootDepth;      // plies of the current iteration; shown to the user plus one
extern int DepthLimit;     // plies; kTimedDepthLimit for a search by the clock
extern int RootGamePly;    // GamePly at the root
// RootScore of the last completed search that was no ponder search.
extern int PreviousScore;
extern int BookMovePlayed;  // the move came from the opening book
extern std::int64_t NodeCount;

// Finds the move for the current position: RootMoves[0], with RootScore, RootDepth and
// NodeCount. `depthLimit` in plies, one above the last iteration. True when there is
// nothing to move: the game is over (the result line is written) or a king is missing.
bool Search(int depthLimit, bool bookAllowed);
// Moves a root move to the front, the others down by one, and writes the thinking line.
void PromoteRootMove(int index);

// ---- Search tree ----
// Bits of ExtFlags[ply]: why the move that led to that ply was extended.
inline constexpr int kExtCheck = 1;
inline constexpr int kExtMateThreat = 2;
inline constexpr int kExtRecapture = 4;
inline constexpr int kExtPawnPush = 8;
inline constexpr int kExtReduced = 0x40;  // not extended: the move is searched reduced
inline constexpr int kExtPawnEnding = 0x80;
extern std::uint8_t ExtFlags[kMaxPly];

extern int HashMoveBonus;  // depth units: ceil(60 / RootDepth)

// Fail-soft search of the current position at Ply; depth at least OnePly.
int AlphaBeta(int alpha, int beta, int depth, bool nullAllowed);
// Looks at input and clock; true when the search must stop.
bool PollPoint();
// Search of captures and promotions only; fail-soft.
int Quiesce(int alpha, int beta);
// Quiesce on the board's position with the widest window, its result discarded; given up
// after a million nodes. For "tst".
void TestQuiescence();

// Depth change for the move just made, at most 0 but for captures into a pawn ending.
// Sets InCheckAt and ExtFlags of the next ply. With `fullExtensions`, or about half of
// them.
int ExtendMove(int depth, bool mateThreat, bool fullExtensions);

// Tells whether one move alone holds against a null window below alpha: 1 and the move,
// 0.
int SingularTest(int alpha, int halfDepth, Move hashMove, bool mateThreat,
                 bool fullExtensions, Move& singularMove);

// A quiet move that was best or caused a cut-off rises in the history and killer tables.
void UpdateGoodMove(Move m, int depth);

// ---- Ageing of the move ordering tables ----
void ClearHistoryAndKillers();  // for a new game
void AgeHistoryAndKillers();    // before every move decision

// ---- Shared by the searches ----
// Room is left on the move stack and the history stack for one more ply.
inline bool SearchHasRoom() {
    return MoveStackTop < kMatchListStart - kMaxMoves &&
           Board.GamePly < kHistoryCapacity - 4;
}
// From here on nodes are quiescence nodes: the per-ply arrays end.
inline constexpr int kDeepestPly = kMaxPly - 2;

// Searches the position one ply below the current one, which is on the board, for the
// side that just moved: v = -child(-beta, -alpha).
inline int SearchChild(int alpha, int beta, int depth, bool nullAllowed) {
    ++Ply;
    const int v = depth < OnePly || Ply >= kDeepestPly || !SearchHasRoom()
                      ? -Quiesce(-beta, -alpha)
                      : -AlphaBeta(-beta, -alpha, depth, nullAllowed);
    --Ply;
    return v;
}
