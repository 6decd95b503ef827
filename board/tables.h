// Tables over squares, lines and distances, built once at start and read-only afterwards.
// Every question of the generators, the attack tests and the evaluation about the board's
// geometry is one indexed load.
#pragma once

#include <cstdint>

#include "board/types.h"

// Fills every table below. Takes a few milliseconds; call it once, before anything else.
void BuildTables();

// ---- Line numbers ----
// The a8-h1-direction diagonal of a square (0..14) and the a1-h8-direction one (0..14).
constexpr int FallingIndex(int square) { return FileOf(square) + RankOf(square); }
constexpr int RisingIndex(int square) { return 7 + FileOf(square) - RankOf(square); }

// ---- Attacks ----
extern SquareSet KnightAttacks[64];
extern SquareSet KingAttacks[64];
// [colour]: the squares that a pawn of it attacks from here.
extern SquareSet PawnAttacks[2][64];
// Sliding attacks along one line, up to and including the first man met in each
// direction, by the line's occupancy byte. The bit of the square itself does not matter.
extern SquareSet RankAttacks[8][8][256];      // [file][rank][occupancy]
extern SquareSet FileAttacks[8][8][256];      // [rank][file][occupancy]
extern SquareSet FallingAttacks[8][16][256];  // [rank][FallingIndex][occupancy]
extern SquareSet RisingAttacks[8][16][256];   // [rank][RisingIndex][occupancy]

// ---- Lines between squares ----
extern SquareSet Between[64][64];  // strictly between, on a common line; else empty
// [a][b]: the unit step from b towards a; 0 if none.
extern std::int8_t Direction[64][64];
extern SquareSet RayTable[19][64];
// The squares reached from a square by repeating the step (+-1, +-7, +-8, +-9).
inline SquareSet RayFrom(int step, int square) { return RayTable[step + 9][square]; }

// ---- Distances ----
extern std::uint8_t Distance[64][64];  // king moves: the larger of file and rank distance
extern std::int32_t KnightDistance[64][64];  // knight moves on an empty board
constexpr int FileDistance(int a, int b) {
    const int d = FileOf(a) - FileOf(b);
    return d < 0 ? -d : d;
}

// ---- Evaluation masks by square. "Pawn ranks": empty for squares of ranks 1 and 8. ----
extern SquareSet FileAbove[64], FileBelow[64];  // same file, ahead for White/Black
extern SquareSet AdjacentFiles[64];             // both neighbour files, whole
extern SquareSet ThreeFilesAbove[64], ThreeFilesBelow[64];  // passed-pawn zones
extern SquareSet AdjacentAbove[64], AdjacentBelow[64];      // pawn ranks
extern SquareSet AdjacentLevelBehind[64];  // pawn ranks: r-1..r, White's view
extern SquareSet AdjacentLevelAhead[64];   // pawn ranks: r..r+1
extern SquareSet PawnSquare[2][64];  // pawn ranks: the square of the pawn, defender moves
extern SquareSet PawnSquareWide[2][64];  // the same with one more step
// Squares of the enemy king, as 63 - square, that hold a king on the edge to the edge.
extern SquareSet OppositionSquares[64];
// [pawn square 8..55][knight square] for a pawn that runs down the board: the squares of
// the king in whose company the knight catches it.
extern SquareSet KnightCatch[64][64];

// ---- Tables over file sets: bit 7 is the a-file, bit 0 the h-file ----
extern std::uint8_t FromHigh8[256];  // file of the leftmost member; 8 when empty
extern std::uint8_t FromLow8[256];   // file of the rightmost member; 8 when empty
extern std::uint8_t PopCount8[256];
// 7 - i for the lowest i with bits i and i + 1 set; else 0.
extern std::uint8_t AdjacentPair8[256];
extern std::uint8_t WidestGap8[256];  // longest run of clear bits between set bits
// [own file set * 256 + other file set]: the wings, 0 to 2, where the own outermost file
// lies further out, and those where it lies at least nearly as far out.
extern std::uint8_t OutsideWings[65536];
extern std::uint8_t ReachWings[65536];

// ---- Fixed sets ----
inline constexpr SquareSet LightSquares = 0x55AA55AA55AA55AA;
inline constexpr SquareSet DarkSquares = ~LightSquares;  // a1 is dark
inline constexpr SquareSet QueensideFiles = 0x0F0F0F0F0F0F0F0F;
inline constexpr SquareSet KingsideFiles = ~QueensideFiles;
inline constexpr SquareSet WingA = 0x0707070707070707;  // files a to c
inline constexpr SquareSet WingH = 0xE0E0E0E0E0E0E0E0;  // files f to h
constexpr SquareSet RankSet(int rank) { return SquareSet{0xFF} << 8 * rank; }
constexpr SquareSet FileSet(int file) { return SquareSet{0x0101010101010101} << file; }
inline constexpr SquareSet SeventhRank[2] = {RankSet(6), RankSet(1)};
inline constexpr SquareSet SeventhRankInner[2] = {RankSet(6) & ~FileSet(0) & ~FileSet(7),
                                                  RankSet(1) & ~FileSet(0) & ~FileSet(7)};

// ---- Characters ----
// 'A'..'Z' to 'a'..'z', every other byte to itself, whatever the locale.
constexpr char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
