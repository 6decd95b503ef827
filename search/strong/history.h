// What earlier cut-offs say of moves: counters by squares, by the moves before, and by
// captured man. They order moves and decide how much of a node is searched.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/board.h"
#include "search/strong/frame.h"

inline constexpr int kPieceTos = 2 * 6 * 64;

// Written by search/strong/history.cpp.
struct MoveHistory {
    std::int16_t butterfly[2][4096];  // [colour][FromTo]
    // [index of the move one and two plies before][move]: PieceTo of both.
    std::int16_t continuation[2][kPieceTos][kPieceTos];
    std::int16_t capture[kPieceTos][8];  // [PieceTo][captured code]
    Move counter[kPieceTos];             // the quiet answer to a move, by its PieceTo
};

// [piece code]: 0 to 5.
inline constexpr int kPieceOrdinal[8] = {0, 0, 1, 2, 0, 3, 4, 5};
// Index of a move by what moves where, for the colour that makes it.
inline int PieceTo(Move m, int colour) {
    return (colour * 6 + kPieceOrdinal[Moving(m)]) * 64 + To(m);
}

// Scores of moves of the side to move at `frame`'s ply; the larger the better.
int QuietHistory(Move m, int S, const SearchFrame* frame);
int CaptureHistory(Move m, int S);

// How much a cut-off at this depth, in plies, is worth.
int HistoryBonus(int depth);
// Raises (or, with a negative bonus, lowers) a quiet move and a capture.
void UpdateQuiet(Move m, int S, const SearchFrame* frame, int bonus);
void UpdateCapture(Move m, int S, int bonus);
// A quiet move cut off: killers of its ply and the answer to the move before.
void RememberCutOff(Move m, SearchFrame* frame);

// For a new game, and before every move decision.
void ClearHistory();
void AgeHistory();
