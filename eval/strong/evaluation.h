// The evaluation of the strong search: material, pawns and endgame knowledge as the
// classic evaluation has them, and terms of its own with weights fitted to games.
#pragma once

#include "eval/strong/sum.h"

// Of the position on the board, in centipawns for the side to move; -kFullWindow where
// that side is seen to be mated. Both kings must be on the board.
int StrongEvaluation();

// A position as the tuner sees it, White's view.
struct RecordedEvaluation {
    int fixed;        // centipawns, whatever the weights
    int phase;        // 0 to kFullPhase
    RecordedSum sum;  // how often each weight counts
};
inline constexpr int kFullPhase = 24;

// False when the weights do not decide: a known ending, or one in which the score is
// scaled.
bool RecordEvaluation(RecordedEvaluation& recorded);
