// The pawn shield of the kings and the placement behind it.
#pragma once

#include "eval/pawnentry.h"
#include "eval/terms.h"

// Counts the defects of both wings of both colours from the pawns alone; fills the
// entry's defects.
void ShieldDefects(PawnEntry& entry);

// What it finds on either wing when there are no pawns at all.
inline constexpr int kAllFilesOpenDefects = 16;

// Penalties of the kings that are not in their ending phase, weighted with the settings,
// centipawns from White's view; fills defended and target.
int ShelterTerms(Terms& t);

// The unweighted penalty for a number of defects 0..63, centipawns.
int ShelterPenalty(int defects);
