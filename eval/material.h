// The material part of the score: imbalances between kinds of pieces, and the drive of a
// king that has lost its army to the edge. Centipawns from White's view.
#pragma once

// The material difference with corrections for minor, major and queen imbalances.
int MaterialBalanceForWhite();

// What a side far ahead gains against an enemy without pawns: its own king near, the
// enemy king at the edge, and with bishop and knight in a corner of the bishop's colour.
// `ending` tells by colour whether the king is in its ending phase.
int MatingHelp(const bool (&ending)[2]);

// Placement of the kings that are in their ending phase, by the wings that hold pawns.
// `balance` is the material balance, White's view.
int KingEndingPlacement(const bool (&ending)[2], int balance);

// Material difference with corrections for imbalances, centipawns for the side to move.
int MaterialBalance();
