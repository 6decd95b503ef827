// Builds the numberings by counting: every table is filled in ascending order of what it
// numbers, which is the order that the file format fixes.
#include "egtb/indextables.h"

#include <map>
#include <vector>

#include "board/types.h"

TableNumbering Numbering;

namespace {

constexpr int Apart(int a, int b) { return a < b ? b - a : a - b; }

// On neighbouring squares or the same one.
constexpr bool Touching(int a, int b) {
    return Apart(FileOf(a), FileOf(b)) <= 1 && Apart(RankOf(a), RankOf(b)) <= 1;
}

// The pairs that stand for all others under the symmetries of a table; kings never touch.
constexpr bool PairAllowed(bool pawns, int k1, int k2) {
    if (FileOf(k1) > 3 || Touching(k1, k2)) return false;
    if (pawns) return true;
    if (RankOf(k1) > FileOf(k1)) return false;
    return RankOf(k1) != FileOf(k1) || RankOf(k2) <= FileOf(k2);
}

using PairTable = std::array<std::array<std::int16_t, 64>, 64>;

// [k1][k2]; computed by the compiler, so that nothing has to be built at start.
constexpr PairTable NumberPairs(bool pawns) {
    PairTable table{};
    std::int16_t next = 0;
    for (int k1 = 0; k1 < 64; ++k1)
        for (int k2 = 0; k2 < 64; ++k2)
            table[static_cast<std::size_t>(k1)][static_cast<std::size_t>(k2)] =
                PairAllowed(pawns, k1, k2) ? next++ : std::int16_t{kNoPair};
    return table;
}

// A man of that type on the square attacks k2 from next to it: squares of the excluded
// kind. A pawn moves up the board.
bool AttacksFromNextTo(ManType type, int square, int k2) {
    const int files = Apart(FileOf(square), FileOf(k2));
    const int ranks = Apart(RankOf(square), RankOf(k2));
    switch (type) {
        case kPawn:
            return files == 1 && RankOf(k2) == RankOf(square) + 1;
        case kKnight:
            return files * ranks == 2;
        case kBishop:
            return files == 1 && ranks == 1;
        case kRook:
            return files + ranks == 1;
        case kQueen:
            return files <= 1 && ranks <= 1;
        default:
            return false;
    }
}

// Pawns have numbers on ranks 2 to 7 only. A plain pawn is of the side not to move: where
// it stands it may give check, so no square is left out for that.
void NumberSquares() {
    for (int t = 0; t < kManTypes; ++t) {
        const ManType type = static_cast<ManType>(t);
        const bool pawn = type == kPlainPawn || type == kPawn;
        for (int k2 = 0; k2 < 64; ++k2) {
            std::uint8_t next = 0;
            for (int square = 0; square < 64; ++square) {
                const bool allowed = square != k2 &&
                                     !(pawn && (square < A2 || square > H7)) &&
                                     !AttacksFromNextTo(type, square, k2);
                Numbering.SquareNumber[t][k2][square] = allowed ? next++ : kNoNumber;
            }
            Numbering.SquareCount[t][k2] = next;
        }
    }
}

// Placements of the men beside one king pair, kinds independent of each other.
std::uint32_t PlacementsBeside(const SideMen& men, int k1, int k2) {
    std::uint32_t product = 1;
    for (int g = 0; g < men.groups; ++g)
        product *= SetsOf(CountBeside(men.group[g].type, k1, k2), men.group[g].count);
    return product;
}

// Running totals of placements over the king pairs, and their sum.
struct OffsetTable {
    std::vector<std::uint32_t> offset;  // [pair]
    std::uint32_t total = 0;
};

// In the order of the pair numbers: the vector's index is the pair.
OffsetTable SumOverPairs(const SideMen& men, bool pawns) {
    OffsetTable table;
    for (int k1 = 0; k1 < 64; ++k1)
        for (int k2 = 0; k2 < 64; ++k2) {
            if (!PairAllowed(pawns, k1, k2)) continue;
            table.offset.push_back(table.total);
            table.total += PlacementsBeside(men, k1, k2);
        }
    return table;
}

// Tables of the same men share their offsets; the key tells the men apart.
// Addresses stay valid for the program's life: a map never moves its elements.
const OffsetTable& OffsetsOf(const SideMen& men, bool pawns) {
    static std::map<std::uint32_t, OffsetTable> tables;
    std::uint32_t key = pawns;
    for (int g = 0; g < men.groups; ++g)
        key = key * 32 + men.group[g].type * 4u + men.group[g].count;
    const auto found = tables.find(key);
    if (found != tables.end()) return found->second;
    return tables.emplace(key, SumOverPairs(men, pawns)).first->second;
}

// Product of the radices of the men appended after the offset part.
// Must count exactly the squares that AppendOtherMen and its inverse count with.
std::uint32_t AppendedCount(const TableShape& shape, int sideToMove) {
    const SideMen placed = OffsetMen(shape, sideToMove);
    const SideMen& other = shape.side[1 - sideToMove];
    std::uint32_t product = 1;
    int men = placed.men;
    if (const int pawns = other.CountOf(kPawn);
        pawns > 0 && placed.CountOf(kPlainPawn) == 0) {
        const int own = placed.CountOf(kPawn);
        product *= SetsOf(static_cast<std::uint32_t>(48 - own), pawns);
        men += pawns;
    }
    for (int g = 0; g < other.groups; ++g) {
        if (other.group[g].type == kPawn) continue;
        product *= SetsOf(static_cast<std::uint32_t>(62 - men), other.group[g].count);
        men += other.group[g].count;
    }
    return product;
}

}  // namespace

constexpr std::array<PairTable, 2> kKingPair = {NumberPairs(false), NumberPairs(true)};
constinit const std::array<PairTable, 2> KingPair = kKingPair;

void BuildIndexTables() {
    static bool built = false;
    if (built) return;
    built = true;
    NumberSquares();
    for (int entry = 1; entry < kTableEntries; ++entry) {
        const TableShape& shape = ShapeOf(entry);
        for (int side : {WHITE, BLACK}) {
            const OffsetTable& offsets = OffsetsOf(OffsetMen(shape, side), shape.pawns);
            Numbering.PairOffset[entry][side] = offsets.offset.data();
            Numbering.NormalCount[entry][side] =
                offsets.total * AppendedCount(shape, side);
        }
    }
}

// The listed file sizes may be smaller: positions at the end of the range that cannot
// arise are cut off there.
std::uint32_t IndexCount(int entry, int sideToMove) {
    const TableShape& shape = ShapeOf(entry);
    const std::uint32_t normal = NormalCount[entry][sideToMove];
    if (!HasEnPassant(shape)) return normal;
    return normal + static_cast<std::uint32_t>(kPairs[1]) * kEnPassantFiles *
                        EnPassantExtras(shape);
}
