// The constant endgame tables, solved at build time by tools/endgame_tables.cpp and
// linked as read-only data. All of them are seen with the pawn moving up the board; for a
// Black pawn the position is turned by 180 degrees.
#pragma once

#include "board/types.h"

// King and pawn against king, 2^19 bits each; a set bit wins for the pawn's side.
// KPKTable lets both kings take part. KPKTableB has the wins in which the pawn runs by
// itself, its king standing still.
extern const std::uint64_t KPKTable[8192];
extern const std::uint64_t KPKTableB[8192];

// King and rook, to move, against king and pawn. The word is numbered
// 1024 rook + 16 rook's king + 4 (pawn's rank - 3) + (pawn's file - 4), pawns on files e
// to h and ranks 4 to 7 (3..6); bit s is set when the pawn's side, its king on s, holds
// at least a draw.
extern const std::uint64_t KRKPTable[65536];

// The bit of a table of king and pawn against king: pawn p, its king wk, the defender's
// king bk; t is 0 with the pawn's side to move, 1 with the defender.
inline int ProbeKPK(const std::uint64_t (&table)[8192], int p, int t, int wk, int bk) {
    const int index = 2 * p + t + 128 * wk + 8192 * bk;
    return static_cast<int>(table[index >> 6] >> (index & 63) & 1);
}

// 1 when the pawn's side holds the draw with the rook side to move, else 0. The pawn
// stands on ranks 4 to 7; one on files a to d is looked up in the mirror.
inline int ProbeKRKP(int rook, int rookKing, int pawn, int pawnKing) {
    assert(RankOf(pawn) >= 3 && RankOf(pawn) <= 6);
    const int mirror = FileOf(pawn) < 4 ? 7 : 0;
    const int word = 1024 * (rook ^ mirror) + 16 * (rookKing ^ mirror) +
                     4 * (RankOf(pawn) - 3) + (FileOf(pawn ^ mirror) - 4);
    return static_cast<int>(KRKPTable[word] >> (pawnKing ^ mirror) & 1);
}
