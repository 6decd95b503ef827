// The static evaluation: material, pawns, kings, pieces and endgame knowledge in one
// fixed sequence of terms with two early exits against the caller's bounds.
#pragma once

#include <cstdint>

#include "board/board.h"

// A window that no evaluation reaches: Evaluate with +-kFullWindow is exact.
inline constexpr int kFullWindow = 32700;

// ---- Inputs that others write ----
struct EvaluationInputs {
    int RootSide;                 // side to move at the root; written by the search
    int Aggressivity, Cowardice;  // percent; written by the settings
};
extern EvaluationInputs EvaluationInput;

// ---- Adaptive margins, centipawns. Raised by Evaluate ----
struct AdaptiveMargins {
    int PositionalMargin;  // the largest difference seen between score and balance
    int LazyMargin;  // the largest share seen of the terms behind the second lazy exit
};
extern AdaptiveMargins Margins;
void ResetMargins();  // for a new game
// At each search's start: both shrink, down to a floor.
void DecayMargins();

// ---- What the last run through all terms has left, [colour]. Written by Evaluate and
// its terms; for the report, the search's danger tests and the time budget ----
struct EvaluationRecord {
    int Defended[2];  // defects of the king's shelter and placement, 0..63
    int Danger[2];    // attack units against the other king, -8..119
    int pawnScore;    // structure with what the pieces add, White's view, centipawns
    // Placement and structure of the pawns, centipawns, by the last pass over them.
    int PSValue[2];
    std::uint8_t PassedVector[2];      // files with a passed pawn, bit 7 the a-file
    std::uint8_t shieldDefects[2][2];  // [colour][king side, queen side]
    // 1 when the colour cannot win, for it has no mating material, only bishops of one
    // colour, or only rook's pawns whose corner the enemy king holds; else 0. By the last
    // ending that the recognisers did not settle earlier.
    int CantWin[2];
};
extern EvaluationRecord LastEvaluation;

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

// By the last evaluation that ran all terms, centipawns before the settings' weights: the
// attack score of a colour on the other king, weighted with that king's defects; the
// shelter penalty of a colour's king; and both together, the danger of the other king.
int AttackBy(int attacker);
int ShelterOf(int colour);
int KingDanger(int attacker);

// The pawn hash table, 2^bits entries; false when there is no memory for it.
bool AllocatePawnTable(int bits);
void FreePawnTable();

// Writes the report of the current position ("evl").
void WriteEvaluationReport();
