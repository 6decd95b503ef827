// The kings: castling, the shelter in front of them and the attack on them. All scores
// are centipawns from White's view.
#pragma once

#include "eval/terms.h"

// ---- Left by the last evaluation that ran all terms ----
extern int Defended[2];  // [colour]: defects of the king's shelter and placement, 0..63
extern int Danger[2];    // [colour]: attack units against the other king, -8..119

// What castling has brought, or the loss of the right to it; middlegame only.
int CastlingTerms();
// Penalties of the kings that are not in their ending phase; fills defended and target.
int ShelterTerms(Terms& t);
// A queen against a king that is much less safe than her own.
int QueenAgainstWeakKing(const Terms& t);
// Scores of the attack units, weighted with the kings' defects and the settings.
int AttackTerms(Terms& t);

// The attack score of `attacker` on the other king, unweighted, by the values above.
int KingAttack(int attacker);
// The penalty for a colour's Defended, unweighted.
int Shelter(int colour);
