// All weights of the strong search's evaluation, by subject. A weight is added for each
// side that has what it stands for, and taken off for the other.
#pragma once

#include <cstddef>

#include "eval/strong/weight.h"

// Kinds of men as tables of weights count them.
enum Kind { kPawn, kKnight, kBishop, kRook, kQueen, kKing, kKinds };

inline constexpr int kDangers = 64;  // of the king, in attack units

struct WeightSet {
    // ---- Material and placement ----
    Weight material[kQueen + 1];   // beyond the man's plain value
    Weight pairs[kKing][kKing];    // [kind][kind not above it]: each pair of own men
    Weight against[kKing][kKing];  // the same, the second an enemy's
    Weight bishopPair[9];          // [own pawns]
    Weight knightPawns[9];         // a knight [own pawns]
    Weight rookPawns[9];           // a rook [own pawns]
    Weight placement[kKinds][64];  // eighth rank on top, from White's side
    Weight tempo;                  // having the move
    Weight castling[2];            // a right: king side, queen side
    // ---- Mobility: squares that neither own pawns and king block nor enemy pawns guard
    Weight knightMobility[9];
    Weight bishopMobility[14];
    Weight rookMobility[15];
    Weight queenMobility[28];
    // ---- Pieces ----
    Weight bishopPawns[9];      // [own pawns on its colour]
    Weight bishopBlocked[9];    // [those of them that a man blocks]
    Weight outpost[2];          // knight, bishop: held by a pawn, out of pawns' reach
    Weight reachableOutpost;    // a knight can get to one
    Weight behindPawn;          // minor piece with an own pawn before it
    Weight kingDistance[2][8];  // knight, bishop [steps from the own king]
    Weight enemyKingDistance[kKinds][8];  // [kind][steps from the enemy king]
    Weight rookFile[2];                   // half-open, open
    Weight rookSeventh;                   // with the king on the eighth, or pawns there
    Weight rookClosed;                    // own pawn ahead that is blocked
    Weight rooksDoubled;                  // behind another rook or queen on a file
    Weight space[17];  // [safe squares behind and between centre pawns]
    // ---- Pawns ----
    Weight phalanx[8];    // [rank] beside another
    Weight defended[8];   // [rank] by a pawn
    Weight isolated[2];   // with an enemy pawn ahead, without
    Weight doubled[2];    // isolated, not
    Weight backward[2];   // with an enemy pawn ahead, without
    Weight candidate[8];  // [rank] more helpers than sentries ahead
    Weight lever;         // attacks an enemy pawn
    // ---- Passed pawns ----
    Weight passer[8];  // [rank]
    Weight passerOnFile[8];
    Weight passerFree[8];        // [rank] nothing on the next square
    Weight passerSafe[8];        // [rank] the enemy does not attack the next square
    Weight passerRun[8];         // [rank] nothing on the way, no square attacked
    Weight passerDefended[8];    // [rank]
    Weight passerPair[8];        // [rank] beside or defending another
    Weight passerOwnKing[8][8];  // [rank][steps of the king to the next square]
    Weight passerEnemyKing[8][8];
    Weight rookBehind[2];  // an own rook, an enemy's
    // ---- Threats ----
    Weight pawnAttacks[kKinds];    // [victim]
    Weight knightAttacks[kKinds];  // [victim], without those that a pawn defends
    Weight bishopAttacks[kKinds];
    Weight rookAttacks[kKinds];
    Weight queenAttacks[kKinds];
    Weight kingAttacks[kKinds];
    Weight minorOnDefended[kKinds];  // [victim], defended by a pawn
    Weight hanging[kKinds];          // attacked and not defended
    Weight pawnPush[kKinds];         // [victim] a safe step would attack it
    Weight restricted;               // square that both attack and no enemy pawn guards
    Weight queenHunt[2];             // square from where she is attacked: knight, slider
    // ---- The king ----
    Weight danger[kDangers];  // [attack units against the enemy king]
    Weight dangerNoQueen[kDangers];
    Weight safeCheck[kKinds][2];  // [kind] one square, several
    Weight weakRing[9];           // squares about the enemy king badly defended
    Weight attackers[8];          // pieces that attack the squares about it
    Weight shelter[4][8];         // [file from the edge][rank of the own pawn ahead]
    Weight shelterKing[8];        // the same on the king's own file
    Weight storm[4][8];      // [file from the edge][rank of the enemy's, from own side]
    Weight stormBlocked[8];  // the same, with the own pawn right before it
    Weight kingOpenFile[2];  // half-open, open
    Weight pawnlessWing;     // no pawn near the king
    Weight pawnDistance[8];  // steps to the nearest pawn
};

// Nothing but weights, so that each has a number: its place in the set.
inline constexpr std::size_t kWeightCount = sizeof(WeightSet) / sizeof(Weight);
