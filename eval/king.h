// The kings in the middlegame: castling and the attack on them. Scores are centipawns
// from White's view where nothing else is said.
#pragma once

#include "eval/terms.h"

// What castling has brought, or the loss of the right to it; middlegame only.
int CastlingTerms();
// A queen against a king that is much less safe than her own.
int QueenAgainstWeakKing(const Terms& t);
// Scores of the attack units, weighted with the kings' defects and the settings. Raises
// units below the table's first to it.
int AttackTerms(Terms& t);

// The attack score for units -8..119 on a king with defects 0..63, before the settings.
int AttackOnKing(int units, int defects);
