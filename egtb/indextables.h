// The numberings that table indices are put together from: king pairs, squares of one man
// beside a king pair, and the running totals over the king pairs. Shared by the index
// functions and by their inverse.
//
// All squares here are those of the table's frame: the reference king k1 (the king of the
// side to move) stands in its corner of the board, k2 is the other king.
#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "egtb/tablelist.h"

// No index: a placement that the numbering leaves out, always an illegal one.
inline constexpr std::uint32_t kNoIndex = 0xFFFFFFFF;

// What BuildIndexTables makes; all others read it through the names below.
struct TableNumbering {
    std::uint8_t SquareNumber[kManTypes][64][64];  // [type][k2][square]
    std::uint8_t SquareCount[kManTypes][64];       // [type][k2]
    // [entry][side to move]: running total, over the king pairs before this one, of the
    // placements of OffsetMen.
    const std::uint32_t* PairOffset[kTableEntries][2];
    // [entry][side to move]: indices of the positions without en passant; the en passant
    // range follows them.
    std::uint32_t NormalCount[kTableEntries][2];
};
extern TableNumbering Numbering;

// ---- King pairs, numbered by k1, then k2 ----
// Without pawns k1 stands in the triangle a1-d1-d4 and, when it is on the long diagonal,
// k2 on or below it. With pawns k1 stands on the files a to d.
inline constexpr int kNoPair = 4000;
inline constexpr int kPairs[2] = {462, 1806};  // [table has pawns]
extern const std::array<std::array<std::array<std::int16_t, 64>, 64>, 2> KingPair;

// ---- Squares of one man, in ascending order, without k2 and without the squares from
// which it would attack k2 from next to it: that would be an illegal position ----
inline constexpr std::uint8_t kNoNumber = 255;
inline constexpr auto& SquareNumber = std::as_const(Numbering.SquareNumber);
inline constexpr auto& SquareCount = std::as_const(Numbering.SquareCount);

// Numbers that the type has with this king pair: k1's square falls out too.
inline std::uint32_t CountBeside(ManType type, int k1, int k2) {
    return SquareCount[type][k2] - (SquareNumber[type][k2][k1] != kNoNumber ? 1u : 0u);
}

// Sets of `count` like men on n squares.
constexpr std::uint32_t SetsOf(std::uint32_t n, int count) {
    if (count == 1) return n;
    if (count == 2) return n * (n - 1) / 2;
    return n * (n - 1) * (n - 2) / 6;
}

// The men of one file that are numbered together with the king pair: those of the side to
// move, or, when it has only its king, the other side's pawns, as plain pawns.
constexpr SideMen OffsetMen(const TableShape& shape, int sideToMove) {
    const SideMen& own = shape.side[sideToMove];
    if (own.groups > 0 || !shape.pawns) return own;
    const int pawns = shape.side[1 - sideToMove].CountOf(kPawn);
    SideMen men{};
    men.groups = 1;
    men.men = pawns;
    men.group[0] = {kPlainPawn, static_cast<std::uint8_t>(pawns)};
    return men;
}

// ---- Totals by entry and side to move ----
inline constexpr auto& PairOffset = std::as_const(Numbering.PairOffset);
inline constexpr auto& NormalCount = std::as_const(Numbering.NormalCount);

// Both sides have pawns: an en passant capture may be possible, and positions where it is
// have indices of their own.
// Such tables have four or five men; six-man entries have no pawns.
constexpr bool HasEnPassant(const TableShape& shape) {
    return shape.side[0].CountOf(kPawn) > 0 && shape.side[1].CountOf(kPawn) > 0;
}
// A taker and its target: seven files of a target to the left, seven of one to the right.
inline constexpr int kEnPassantFiles = 14;
// Squares left for the man that is neither king, taker nor victim: a pawn stands neither
// on those two men nor on the squares that the victim crossed and came from; a piece
// neither there nor on the kings.
constexpr std::uint32_t EnPassantExtras(const TableShape& shape) {
    if (shape.men == 4) return 1;
    return shape.side[0].CountOf(kPawn) == 2 ? 44 : 58;
}

// Builds the tables above; the second and later calls do nothing.
void BuildIndexTables();

// Indices that the numbering has for this file, before its unused end is cut off.
std::uint32_t IndexCount(int entry, int sideToMove);
