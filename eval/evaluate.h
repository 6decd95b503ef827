// The static evaluation: material, pawns, kings, pieces and endgame knowledge in one
// fixed sequence of terms with two early exits against the caller's bounds.
#pragma once

#include "board/board.h"

// A window that no evaluation reaches: Evaluate with +-kFullWindow is exact.
inline constexpr int kFullWindow = 32700;

// ---- Inputs that others write ----
extern int RootSide;                 // side to move at the root; written by the search
extern int Aggressivity, Cowardice;  // percent; written by the settings

// ---- Adaptive margins, centipawns ----
// Raised by Evaluate, decayed at each search's start: the largest difference seen between
// score and material balance, and the largest share seen of the terms behind the second
// lazy exit.
extern int PositionalMargin, LazyMargin;
void ResetMargins();  // for a new game

// Scores the position for the side to move, in centipawns. On return alpha is the larger
// of its entry value and the score; a lazy exit that proves the score to be at least beta
// stores beta, one that proves it to be at most alpha leaves alpha as it was. Both kings
// must be on the board.
void Evaluate(int& alpha, int beta);

// The value Evaluate leaves when it starts from `lower`.
inline int Evaluated(int lower, int upper) {
    Evaluate(lower, upper);
    return lower;
}

// Material difference with corrections for imbalances, centipawns for the side to move.
int MaterialBalance();

// Attack score of `attacker` on the other king, weighted with that king's defects, plus
// its shelter penalty, centipawns; by the last evaluation that ran all terms.
int KingDanger(int attacker);

// The pawn hash table, 2^bits entries; false when there is no memory for it.
bool AllocatePawnTable(int bits);
void FreePawnTable();

// Writes the report of the current position ("evl").
void WriteEvaluationReport();
