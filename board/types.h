// The shared vocabulary: colours, squares, piece codes, square sets and the Move word.
#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

// ---- Colours: every per-colour array is indexed by them ----
inline constexpr int WHITE = 0;
inline constexpr int BLACK = 1;
constexpr int ChangeSide(int colour) { return 1 - colour; }

// ---- Squares: 0..63, a1 = 0, b1 = 1, ..., h8 = 63 ----
// clang-format off
// The order is that of square sets and of every table by square; file formats depend on
// it.
enum SquareName : int {
    A1, B1, C1, D1, E1, F1, G1, H1,
    A2, B2, C2, D2, E2, F2, G2, H2,
    A3, B3, C3, D3, E3, F3, G3, H3,
    A4, B4, C4, D4, E4, F4, G4, H4,
    A5, B5, C5, D5, E5, F5, G5, H5,
    A6, B6, C6, D6, E6, F6, G6, H6,
    A7, B7, C7, D7, E7, F7, G7, H7,
    A8, B8, C8, D8, E8, F8, G8, H8,
};
// clang-format on

constexpr int FileOf(int square) { return square & 7; }
constexpr int RankOf(int square) { return square >> 3; }
constexpr int SquareAt(int file, int rank) { return rank * 8 + file; }
constexpr int MirrorRank(int square) { return square ^ 56; }  // a1 <-> a8
constexpr int Rotate(int square) { return 63 - square; }      // a1 <-> h8

// ---- Piece codes: colourless, 3 bits. The sliders are the codes with bit 4. ----
inline constexpr int EMPTY = 0;
inline constexpr int KING = 1;
inline constexpr int KNIGHT = 2;
inline constexpr int PAWN = 3;
inline constexpr int NO_PIECE = 4;  // never on the board
inline constexpr int ROOK = 5;
inline constexpr int BISHOP = 6;
inline constexpr int QUEEN = 7;
constexpr bool IsSlider(int code) { return (code & 4) != 0; }

// [piece code], centipawns.
inline constexpr int PieceValue[8] = {0, 10000, 300, 100, 0, 500, 300, 900};
// [piece code]: men of one class count as alike in capture ordering and recaptures.
inline constexpr int OrderClass[8] = {0, 5, 2, 1, 0, 3, 2, 4};
// [piece code]: weight in pawn units; pawns and kings count nothing.
inline constexpr int PieceUnits[8] = {0, 0, 3, 0, 0, 5, 3, 9};

// ---- Square sets: bit n is square n ----
using SquareSet = std::uint64_t;

constexpr SquareSet SquareMask(int square) { return SquareSet{1} << square; }
constexpr SquareSet ClearMask(int square) { return ~SquareMask(square); }

// The members of a set are enumerated lowest square first. An empty set has neither a
// lowest nor a highest member: do not ask.
inline int LowestSquare(SquareSet set) {
    assert(set != 0);
    return std::countr_zero(set);
}
inline int HighestSquare(SquareSet set) {
    assert(set != 0);
    return 63 - std::countl_zero(set);
}
inline int PopCount(SquareSet set) { return std::popcount(set); }
// Both take the member out of the set, which must not be empty.
inline int TakeLowest(SquareSet& set) {
    const int square = LowestSquare(set);
    set &= set - 1;
    return square;
}
inline int TakeHighest(SquareSet& set) {
    const int square = HighestSquare(set);
    set &= ClearMask(square);
    return square;
}

// ---- Moves ----
// bits 0-5 from-square, 6-11 to-square, 12-14 moving piece, 15-17 captured piece (0 for
// en passant), 18-20 promotion piece, the rest zero. Castling is the king's two-file
// step; en passant is a pawn move that changes file and captures nothing.
using Move = std::uint32_t;

inline constexpr Move NO_MOVE = 0;
inline constexpr Move NULL_MOVE = 1;  // in the history only: the side to move passed

// Castling as whole words: e1g1, e1c1, e8g8, e8c8 by the king.
inline constexpr Move CASTLE_WHITE_SHORT = 0x1184;
inline constexpr Move CASTLE_WHITE_LONG = 0x1084;
inline constexpr Move CASTLE_BLACK_SHORT = 0x1FBC;
inline constexpr Move CASTLE_BLACK_LONG = 0x1EBC;

// Every argument within its field's range; nothing is masked.
constexpr Move MakeWord(int from, int to, int piece, int captured, int promotion = 0) {
    return static_cast<Move>(from | to << 6 | piece << 12 | captured << 15 |
                             promotion << 18);
}
constexpr int From(Move m) { return static_cast<int>(m & 63); }
constexpr int To(Move m) { return static_cast<int>(m >> 6 & 63); }
constexpr int Moving(Move m) { return static_cast<int>(m >> 12 & 7); }
constexpr int Captured(Move m) { return static_cast<int>(m >> 15 & 7); }
constexpr int Promotion(Move m) { return static_cast<int>(m >> 18 & 7); }

// Captures (but en passant) and promotions, tested in one step: bits 15-20.
constexpr bool CapturesOrPromotes(Move m) { return (m & 0x1F8000) != 0; }
constexpr bool IsEnPassant(Move m) {
    return Moving(m) == PAWN && Captured(m) == 0 && FileOf(From(m)) != FileOf(To(m));
}
constexpr bool IsQuiet(Move m) { return !CapturesOrPromotes(m) && !IsEnPassant(m); }
// A move that repetition can lead back over. Castling counts as one, as every king move
// does.
constexpr bool IsReversible(Move m) {
    return !CapturesOrPromotes(m) && m != NULL_MOVE && Moving(m) != PAWN;
}
// Index of a move in tables by from- and to-square, 0..4095.
constexpr std::size_t FromTo(Move m) { return m & 0xFFF; }
