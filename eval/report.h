// The named values of the evaluation, as its last run through all terms left them; the
// report and the search's danger tests read them.
#pragma once

#include <cstdint>

#include "eval/terms.h"

extern int Defended[2];  // [colour]: defects of the king's shelter and placement, 0..63
extern int Danger[2];    // [colour]: attack units against the other king, -8..119
extern int pawn_score;   // structure with what the pieces add, White's view, centipawns
// [colour]: files with a passed pawn, bit 7 the a-file.
extern std::uint8_t PassedVector[2];
// Shield defects of the king side and the queen side.
extern std::uint8_t white_defects_k, white_defects_q, black_defects_k, black_defects_q;

// Keeps the values of a finished evaluation.
void LeaveForReport(const Terms& t);
