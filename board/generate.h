// Move generation: pseudo-legal moves, stage by stage as the search asks for them, and
// the list of legal moves. All moves go to one shared stack, on which every search ply
// owns the entries above its parent's.
#pragma once

#include <cstdint>

#include "board/board.h"

// No position has more moves than this, not even an edited one full of queens.
inline constexpr int kMaxMoves = 2064;
// The search goes no deeper once the stack is filled up to here: above it there is room
// for the moves of the node at hand and for one list of legal moves.
inline constexpr int kSearchStackEnd = 12320;
inline constexpr int kMoveStackSize = kSearchStackEnd + 2 * kMaxMoves;
// Search plies that per-ply arrays hold.
inline constexpr int kMaxPly = 128;

// What the generators have written. Every ply of the search owns the entries above its
// parent's and resets MoveStackTop when it is done with them.
struct GeneratedMoves {
    Move MoveStack[kMoveStackSize];
    std::int32_t MoveScores[kMoveStackSize];  // ordering scores, parallel to MoveStack
    int MoveStackTop;                         // the next free entry
};
extern GeneratedMoves Generated;

// The line from the root to the node at hand. Written by the search, CheckerSquare by the
// evasion stages; [ply].
struct SearchLine {
    int Ply;                              // distance from the root
    std::uint8_t InCheckAt[kMaxPly];      // the side to move at that ply is in check
    std::uint8_t ExtFlags[kMaxPly];       // why the move that led there was extended
    std::uint8_t CheckerSquare[kMaxPly];  // the single checking man, or kSeveralCheckers
};
extern SearchLine Line;

// Quiet moves that did well, which order the staged generator's output. Written by
// search/history.cpp alone.
struct MoveOrdering {
    Move Killer1[2][kMaxPly], Killer2[2][kMaxPly];  // [colour][ply], 0 = empty
    std::int32_t HistoryTable[4096 * 2];            // [FromTo(m) * 2 + colour]
};
extern MoveOrdering Ordering;

inline constexpr int kSeveralCheckers = 64;

// ---- Generators: append pseudo-legal moves of the side to move ----
// Captures onto the target squares, and en passant whatever the targets.
// `targets` are squares of enemy men; captures that promote are generated whatever the
// targets, but for one corner of the last rank.
void GenerateCaptures(SquareSet targets);
// Castling, short before long, and moves to empty squares, push-promotions included.
// Castling presumes that the king is not in check.
void GenerateQuiet();
// Appends a killer move if it can be played here. Killers are quiet moves of the same
// side from a sibling node, so that most of their conditions must be tested again.
void AddKillerIfValid(Move m);

// The move's men stand where it says and making it keeps the board whole: no king is
// taken, castling has its rook and its way, promotions and the last rank agree. For moves
// from tables, where another position may hide behind the same key. The way of a slider
// and what a man attacks are not checked, and en passant never fits.
bool FitsPosition(Move m);

// Stages of GenerateStage: what the entries just appended are.
inline constexpr int kFirstStage = 5;
inline constexpr int kCaptureStage = 3;
inline constexpr int kKillerStage = 2;
inline constexpr int kQuietStage = 1;
inline constexpr int kNoMoreStages = 0;

// Appends the next group of moves and says which it is, which is also the argument of the
// next call, the first being kFirstStage; 0 when nothing is left. Captures and quiet
// moves carry scores: bring the best to the front with SelectMoves, or all in order with
// SortMoves. A position in check (Line.InCheckAt at Line.Ply) gets evasions under the
// same numbers, unscored and in their final order. No move is left out for having been in
// an earlier group: the hash move (NO_MOVE when there is none) comes last of the captures
// or again among the quiet moves, killers come again too, and the caller skips them.
int GenerateStage(int stage, Move hashMove);
// Its two halves, for callers that may drop a group unscored: the next group, and the
// scores of a group of that stage, which begins at `start` and ends the stack.
int GenerateGroup(int stage);
void ScoreGroup(int stage, int start, Move hashMove);

// Captures and queen promotions that can gain at least `threshold` centipawns and lose
// nothing in the exchange, sorted by score, the hash move left out. True when the enemy
// king could be captured: the previous move was illegal, and what then stands on the
// stack is the caller's to drop.
bool GenerateQuiesceCaptures(int threshold, Move hashMove);
// The same without a hash move; exchange values are shared among like men on one square.
bool GenerateQuiesceCapturesInner(int threshold);

// Leaves exactly the legal moves of the side to move on the stack from `start` on,
// captures first, unscored; what stood there and above is lost. A position without both
// kings has none. `start` leaves room for kMaxMoves.
void GenerateLegalMoves(int start);

// The exchange sort, strictly-greater exchanges from the left: pass i carries the highest
// score of the entries i..end-1 to entry i. The order among equal scores comes from the
// exchanges and must be kept.
inline constexpr int kSelectedAtOnce = 4;
// The passes for first, first + 1, ..., kSelectedAtOnce of them: those entries are then
// in their final order. Doing a pass again changes nothing. The search calls it as it
// comes to the entries, since a cut-off often makes the rest of the sort needless.
void SelectMoves(int first, int end);
// All passes.
void SortMoves(int start, int end);
