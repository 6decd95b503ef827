// Placement and activity of bishops, rooks, queens and knights. All scores are centipawns
// from White's view.
#pragma once

#include "eval/terms.h"

// A bishop shut in behind a pawn on the enemy's second rank or its corner.
int TrappedBishops();
// Bad bishop, bishop pair, fianchetto.
int BishopTerms(const Terms& t);
// Back rank, rooks, knights, bishops and queens; gathers the attack units.
int PiecePlacement(Terms& t);
// Undeveloped men, whatever the material.
int DevelopmentForWhite();
// The same from the side to move's view.
int Development();
