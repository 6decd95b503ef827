// Placement values of knights, bishops, rooks and queens, which the board sums as pieces
// move. Pawns and kings score by tables of the evaluation's own.
#pragma once

#include "board/types.h"

// PieceSquare[piece code][colour][square], centipawns from the piece's own side.
struct PieceSquareTables {
    int values[8][2][64];
};

// As a player sees the board from White's side: the eighth rank on top, files a to h.
// clang-format off
inline constexpr int kKnightSquares[64] = {
     -8,  -8,  -8,  -8,  -8,  -8,  -8,  -8,
     -8,  -8,   0,   0,   0,   0,  -8,  -8,
     -8,   2,   2,   2,   2,   2,   2,  -8,
     -8,   2,   4,   4,   4,   4,   2,  -8,
     -8,   2,   6,   6,   6,   6,   2,  -8,
     -8,   2,   6,   6,   6,   6,   2,  -8,
    -24, -24,   4,   4,   4,   4, -24, -24,
    -32, -16,  -8,  -8,  -8,  -8, -16, -32,
};
inline constexpr int kBishopSquares[64] = {
    -16, -16,  -8,  -8,  -8,  -8, -16, -16,
    -16,   2,   0,   0,   0,   0,   2, -16,
     -4,   2,   2,   2,   2,   2,   2,  -4,
     -4,   2,   4,   4,   4,   4,   2,  -4,
     -4,   2,   6,   6,   6,   6,   2,  -4,
     -4,   2,   6,   6,   6,   6,   2,  -4,
    -16,   2,   4,   4,   4,   4,   2, -16,
    -16, -16,   0,   0,   0,   0, -16, -16,
};
inline constexpr int kRookSquares[64] = {
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
      0,   0,   4,   6,   6,   4,   0,   0,
};
inline constexpr int kQueenSquares[64] = {
    -10,  -8,   0,   0,   0,   0,  -8, -10,
    -10,   2,   8,   8,   8,   8,   2, -10,
    -10, -10,   4,  10,  10,   4, -10, -10,
    -10,   2,  10,  12,  12,  10,   2, -10,
      0,   2,  10,  12,  12,  10,   2,   0,
      0,   2,   4,  10,  10,   4,   2,   0,
    -15,   0,   4,   5,   5,   4,   0, -15,
      0,   0,   0,   0,   0,   0,   0,   0,
};
// clang-format on

// Rows of EMPTY, king, pawn and code 4 stay zero: the board adds them for every man
// alike.
consteval PieceSquareTables MakePieceSquareTables() {
    PieceSquareTables tables{};
    for (int square = 0; square < 64; ++square) {
        // The tables' first row is the eighth rank: White looks up the mirrored square.
        const int seen[2] = {MirrorRank(square), square};
        for (int colour : {WHITE, BLACK}) {
            tables.values[KNIGHT][colour][square] = kKnightSquares[seen[colour]];
            tables.values[BISHOP][colour][square] = kBishopSquares[seen[colour]];
            tables.values[ROOK][colour][square] = kRookSquares[seen[colour]];
            tables.values[QUEEN][colour][square] = kQueenSquares[seen[colour]];
        }
    }
    return tables;
}

inline constexpr PieceSquareTables kPieceSquareTables = MakePieceSquareTables();
inline constexpr auto& PieceSquare = kPieceSquareTables.values;
