// Tables over squares, lines and distances, built once at start and read-only afterwards.
// Every question of the generators, the attack tests and the evaluation about the board's
// geometry is one indexed load.
#pragma once

#include <cstdint>
#include <utility>

#include "board/types.h"

// Fills every table below, before anything else is done. Takes a few milliseconds; the
// second and later calls do nothing.
void BuildTables();

// The sliding attacks of one square by magic multiplication: the factor gathers the men
// on the lines (their last squares do not matter) into the highest bits of the product,
// which number the attack sets.
struct SliderMagic {
    SquareSet mask;
    std::uint64_t factor;
    const SquareSet* attacks;
    int shift;

    SquareSet Attacks(SquareSet occupied) const {
        return attacks[(occupied & mask) * factor >> shift];
    }
};
// Attack sets of all squares together, 2 to the number of men that matter for each.
inline constexpr int kSliderSets = 102400 + 5248;  // rooks and bishops

// Indexed by square 0..63 unless a field says otherwise; "White's view" means that ahead
// is towards rank 8.
struct LookupTables {
    // ---- Attacks ----
    SquareSet KnightAttacks[64];
    SquareSet KingAttacks[64];
    // [colour]: the squares that a pawn of it attacks from here.
    SquareSet PawnAttacks[2][64];
    // Up to and including the first man met in each direction; a man on the square itself
    // does not matter.
    SliderMagic RookMagic[64], BishopMagic[64];
    SquareSet SliderSets[kSliderSets];

    // ---- Lines between squares ----
    SquareSet Between[64][64];  // strictly between, on a common line; else empty
    // [a][b]: the unit step from b towards a; 0 if none.
    std::int8_t Direction[64][64];
    // [step + 9][square], read through RayFrom: the squares from there to the edge, the
    // square itself left out.
    SquareSet RayTable[19][64];

    // ---- Distances ----
    std::uint8_t Distance[64][64];  // king moves: the larger of file and rank distance
    std::int32_t KnightDistance[64][64];  // knight moves on an empty board
    SquareSet Within[64][8];  // [square][n]: at most n king moves away, the square too

    // ---- Evaluation masks by square; "pawn ranks": empty for ranks 1 and 8 ----
    SquareSet FileAbove[64], FileBelow[64];  // same file, ahead for White/Black
    SquareSet AdjacentFiles[64];             // both neighbour files, whole
    SquareSet ThreeFilesAbove[64], ThreeFilesBelow[64];  // passed-pawn zones
    SquareSet AdjacentAbove[64], AdjacentBelow[64];      // pawn ranks
    SquareSet AdjacentLevelBehind[64];  // pawn ranks: r-1..r, White's view
    SquareSet AdjacentLevelAhead[64];   // pawn ranks: r..r+1
    SquareSet PawnSquare[2][64];  // pawn ranks: the square of the pawn, defender moves
    SquareSet PawnSquareWide[2][64];  // the same with one more step
    // Squares of the enemy king, as 63 - square, that hold a king on the edge to the
    // edge.
    SquareSet OppositionSquares[64];
    // [pawn square 8..55][knight square] for a pawn that runs down the board: the squares
    // of the king in whose company the knight catches it.
    SquareSet KnightCatch[64][64];

    // ---- Tables over file sets: bit 7 is the a-file, bit 0 the h-file ----
    std::uint8_t FromHigh8[256];  // file of the leftmost member; 8 when empty
    std::uint8_t FromLow8[256];   // file of the rightmost member; 8 when empty
    std::uint8_t PopCount8[256];
    // 7 - i for the lowest i with bits i and i + 1 set; else 0.
    std::uint8_t AdjacentPair8[256];
    SquareSet FileSquares8[256];   // all squares of the files
    std::uint8_t WidestGap8[256];  // longest run of clear bits between set bits
    // [own file set * 256 + other file set]: the wings, 0 to 2, where the own outermost
    // file lies further out, and those where it lies at least nearly as far out.
    std::uint8_t OutsideWings[65536];
    std::uint8_t ReachWings[65536];

    bool built;
};
// Written by BuildTables alone; all others read through the names below, which are
// constant views of it.
extern LookupTables Lookup;

inline constexpr auto& KnightAttacks = std::as_const(Lookup.KnightAttacks);
inline constexpr auto& KingAttacks = std::as_const(Lookup.KingAttacks);
inline constexpr auto& PawnAttacks = std::as_const(Lookup.PawnAttacks);
inline constexpr auto& RookMagic = std::as_const(Lookup.RookMagic);
inline constexpr auto& BishopMagic = std::as_const(Lookup.BishopMagic);
inline constexpr auto& Between = std::as_const(Lookup.Between);
inline constexpr auto& Direction = std::as_const(Lookup.Direction);
inline constexpr auto& RayTable = std::as_const(Lookup.RayTable);
inline constexpr auto& Distance = std::as_const(Lookup.Distance);
inline constexpr auto& KnightDistance = std::as_const(Lookup.KnightDistance);
inline constexpr auto& Within = std::as_const(Lookup.Within);
inline constexpr auto& FileAbove = std::as_const(Lookup.FileAbove);
inline constexpr auto& FileBelow = std::as_const(Lookup.FileBelow);
inline constexpr auto& AdjacentFiles = std::as_const(Lookup.AdjacentFiles);
inline constexpr auto& ThreeFilesAbove = std::as_const(Lookup.ThreeFilesAbove);
inline constexpr auto& ThreeFilesBelow = std::as_const(Lookup.ThreeFilesBelow);
inline constexpr auto& AdjacentAbove = std::as_const(Lookup.AdjacentAbove);
inline constexpr auto& AdjacentBelow = std::as_const(Lookup.AdjacentBelow);
inline constexpr auto& AdjacentLevelBehind = std::as_const(Lookup.AdjacentLevelBehind);
inline constexpr auto& AdjacentLevelAhead = std::as_const(Lookup.AdjacentLevelAhead);
inline constexpr auto& PawnSquare = std::as_const(Lookup.PawnSquare);
inline constexpr auto& PawnSquareWide = std::as_const(Lookup.PawnSquareWide);
inline constexpr auto& OppositionSquares = std::as_const(Lookup.OppositionSquares);
inline constexpr auto& KnightCatch = std::as_const(Lookup.KnightCatch);
inline constexpr auto& FromHigh8 = std::as_const(Lookup.FromHigh8);
inline constexpr auto& FromLow8 = std::as_const(Lookup.FromLow8);
inline constexpr auto& PopCount8 = std::as_const(Lookup.PopCount8);
inline constexpr auto& AdjacentPair8 = std::as_const(Lookup.AdjacentPair8);
inline constexpr auto& FileSquares8 = std::as_const(Lookup.FileSquares8);
inline constexpr auto& WidestGap8 = std::as_const(Lookup.WidestGap8);
inline constexpr auto& OutsideWings = std::as_const(Lookup.OutsideWings);
inline constexpr auto& ReachWings = std::as_const(Lookup.ReachWings);

// What a rook or bishop on the square attacks with the given squares occupied.
inline SquareSet RookAttacks(int square, SquareSet occupied) {
    return RookMagic[square].Attacks(occupied);
}
inline SquareSet BishopAttacks(int square, SquareSet occupied) {
    return BishopMagic[square].Attacks(occupied);
}

// The squares reached from a square by repeating the step (+-1, +-7, +-8, +-9) up to the
// edge; other steps from -9 to 9 give the empty set.
inline SquareSet RayFrom(int step, int square) { return RayTable[step + 9][square]; }
constexpr int FileDistance(int a, int b) {
    const int d = FileOf(a) - FileOf(b);
    return d < 0 ? -d : d;
}

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

// ---- Sets moved as a whole, as a colour sees the board ----
// The set moved one step forward; men on the last rank fall off the board.
template <int c>
constexpr SquareSet Forward(SquareSet set) {
    return c == WHITE ? set << 8 : set >> 8;
}
template <int c>
constexpr SquareSet Backward(SquareSet set) {
    return Forward<1 - c>(set);
}
// Squares that pawns of the colour on the set attack.
template <int c>
constexpr SquareSet PawnCover(SquareSet pawns) {
    const SquareSet ahead = Forward<c>(pawns);
    return (ahead & ~FileSet(0)) >> 1 | (ahead & ~FileSet(7)) << 1;
}

// ---- Characters ----
// 'A'..'Z' to 'a'..'z', every other byte to itself, whatever the locale.
constexpr char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
