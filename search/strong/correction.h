// What searches have taught about the static evaluation: by how much it was off, on
// average, in positions with the same pawns and with the same material and kings.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t kCorrections = 16384;  // a power of two

// [colour to move][hash]. Written by search/strong/correction.cpp.
struct EvaluationCorrections {
    std::int16_t pawns[2][kCorrections];
    std::int16_t material[2][kCorrections];
};

// The evaluation of the position on the board, in centipawns for the side to move, as
// corrected.
int CorrectedEvaluation(int evaluation);
// The search to `depth` plies found a score that differs by so much from the corrected
// evaluation.
void LearnCorrection(int difference, int depth);
void ClearCorrections();
