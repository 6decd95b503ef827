// What the evaluation keeps from one call to the next: its inputs, its margins and what
// the last run through all terms has found.
#pragma once

#include <cstdint>

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
