// The inverse of index.cpp, digit by digit: appended men from the lowest digit on, then
// the king pair by binary search in the running totals, then the men beside it. Square
// searches are linear, since only tools come here.
#include "egtb/unindex.h"

#include <algorithm>

#include "board/types.h"

namespace {

// ---- Square sets of one digit group ----

// The members, ascending, of the set with that number: the inverse of SetNumber, largest
// member first.
void SplitSet(std::uint32_t set, int count, std::uint32_t* members) {
    for (int i = count; i > 0; --i) {
        std::uint32_t top = static_cast<std::uint32_t>(i - 1);
        // The largest number whose smaller companions alone cannot reach the set number.
        while (SetsOf(top + 1, i) <= set) ++top;
        members[i - 1] = top;
        set -= SetsOf(top, i);
    }
}

// The square with that number among those the enumeration allows beside the kings.
int LeadingSquare(ManType type, int k1, int k2, std::uint32_t number) {
    for (int square = 0; square < 64; ++square) {
        if (SquareNumber[type][k2][square] == kNoNumber || square == k1) continue;
        if (number-- == 0) return square;
    }
    return -1;
}

// The square with that number among the squares from `first` on that are not taken.
int FreeSquare(SquareSet taken, int first, std::uint32_t number) {
    for (int square = first; square < 64; ++square) {
        if ((taken & SquareMask(square)) != 0) continue;
        if (number-- == 0) return square;
    }
    return -1;
}

struct KingPairSquares {
    int k1, k2;
};

using PairList = std::array<KingPairSquares, 1806>;

PairList ListPairs(bool pawns) {
    PairList list{};
    for (int k1 = 0; k1 < 64; ++k1)
        for (int k2 = 0; k2 < 64; ++k2) {
            const int pair = KingPair[pawns][static_cast<std::size_t>(k1)]
                                     [static_cast<std::size_t>(k2)];
            if (pair != kNoPair) list[static_cast<std::size_t>(pair)] = {k1, k2};
        }
    return list;
}

// [pair]
// The inverse of KingPair; of a table without pawns only the first 462 entries are
// filled.
const PairList& PairSquares(bool pawns) {
    static const PairList lists[2] = {ListPairs(false), ListPairs(true)};
    return lists[pawns];
}

// ---- One index being taken apart ----
struct Decoder {
    const TableShape& shape;
    int side;
    int turn;  // XOR from the frame of the leading digits to the board
    TablePlacement& out;

    std::uint8_t* OwnList() { return out.list[side]; }
    std::uint8_t* OtherList() { return out.list[1 - side]; }
    std::uint8_t* ListOf(ManType type) {
        return type == kPlainPawn ? OtherList() : OwnList();
    }

    void PlaceKings(KingPairSquares kings) {
        OwnList()[kKingSlot] = static_cast<std::uint8_t>(kings.k1 ^ turn);
        OtherList()[kKingSlot] = static_cast<std::uint8_t>(kings.k2 ^ turn);
    }

    // The groups in the reverse of the order in which they were appended. Like men come
    // back ascending on the board, as the square lists have them.
    void PlaceLeading(KingPairSquares kings, std::uint32_t number) {
        const SideMen men = OffsetMen(shape, side);
        for (int g = men.groups - 1; g >= 0; --g) {
            const ManGroup group = men.group[g];
            const std::uint32_t sets =
                SetsOf(CountBeside(group.type, kings.k1, kings.k2), group.count);
            std::uint32_t digit[3];
            SplitSet(number % sets, group.count, digit);
            number /= sets;
            std::uint8_t squares[3];
            for (int i = 0; i < group.count; ++i)
                squares[i] = static_cast<std::uint8_t>(
                    LeadingSquare(group.type, kings.k1, kings.k2, digit[i]) ^ turn);
            std::sort(squares, squares + group.count);
            std::copy_n(squares, group.count, ListOf(group.type) + FirstSlot(group.type));
        }
    }

    // The squares of a side's men that stand already, the king left out.
    SquareSet SquaresOf(const SideMen& men, const std::uint8_t* list,
                        bool pawnsOnly) const {
        SquareSet set = 0;
        for (int g = 0; g < men.groups; ++g)
            for (int i = 0; i < men.group[g].count; ++i)
                if (!pawnsOnly || men.group[g].type == kPawn)
                    set |= SquareMask(list[FirstSlot(men.group[g].type) + i]);
        return set;
    }
};

// A group of the appended men: which, on how many squares.
struct AppendedGroup {
    ManGroup group;
    std::uint32_t squares;
};

// The appended groups, the highest digit first; returns how many.
int AppendedGroups(const TableShape& shape, int side,
                   AppendedGroup (&groups)[kMaxGroups]) {
    const SideMen leading = OffsetMen(shape, side);
    const SideMen& other = shape.side[1 - side];
    int count = 0, placed = leading.men;
    if (const int pawns = other.CountOf(kPawn);
        pawns > 0 && leading.CountOf(kPlainPawn) == 0) {
        groups[count++] = {{kPawn, static_cast<std::uint8_t>(pawns)},
                           static_cast<std::uint32_t>(48 - leading.CountOf(kPawn))};
        placed += pawns;
    }
    for (int g = 0; g < other.groups; ++g) {
        if (other.group[g].type == kPawn) continue;
        groups[count++] = {other.group[g], static_cast<std::uint32_t>(62 - placed)};
        placed += other.group[g].count;
    }
    return count;
}

// Puts a group on the squares with those numbers among the free ones. Pawns count only
// pawns as being in their way, other men count everybody placed before them.
void PlaceAppended(Decoder& d, const AppendedGroup& appended, std::uint32_t set) {
    const SideMen& own = d.shape.side[d.side];
    const SideMen& other = d.shape.side[1 - d.side];
    const ManGroup group = appended.group;
    const bool pawns = group.type == kPawn;
    SquareSet taken = d.SquaresOf(own, d.OwnList(), pawns);
    if (!pawns) {
        taken |=
            SquareMask(d.OwnList()[kKingSlot]) | SquareMask(d.OtherList()[kKingSlot]);
        // Other groups of this side that stand already: pawns, and those named before.
        for (int g = 0; g < other.groups; ++g) {
            if (other.group[g].type <= group.type && other.group[g].type != kPawn) break;
            for (int i = 0; i < other.group[g].count; ++i)
                taken |= SquareMask(d.OtherList()[FirstSlot(other.group[g].type) + i]);
        }
        for (int i = 0; i < other.CountOf(kPawn); ++i)
            taken |= SquareMask(d.OtherList()[i]);
    }
    std::uint32_t digit[3];
    SplitSet(set, group.count, digit);
    for (int i = 0; i < group.count; ++i)
        d.OtherList()[FirstSlot(group.type) + i] =
            static_cast<std::uint8_t>(FreeSquare(taken, pawns ? A2 : A1, digit[i]));
}

// A position of the en passant range: king pair, taker and direction, and the fifth man,
// in mixed radix. `rest` counts from the range's beginning.
void PlaceEnPassant(Decoder& d, std::uint32_t rest) {
    const std::uint32_t extras = EnPassantExtras(d.shape);
    const std::uint32_t extraNumber = rest % extras;
    const int j = static_cast<int>(rest / extras % kEnPassantFiles);
    d.PlaceKings(PairSquares(true)[rest / extras / kEnPassantFiles]);
    const bool toTheRight = j >= 7;
    const int taker = SquareAt(toTheRight ? j - 7 : j + 1, 4);
    const int target = taker + (toTheRight ? 9 : 7);
    const int victim = target - 8, origin = target + 8;
    d.OwnList()[0] = static_cast<std::uint8_t>(taker ^ d.turn);
    d.OtherList()[0] = static_cast<std::uint8_t>(victim ^ d.turn);
    d.out.enPassant = target ^ d.turn;
    if (d.shape.men == 4) return;
    SquareSet taken = 0;
    for (const int square : {taker, victim, target, origin})
        taken |= SquareMask(square ^ d.turn);
    std::uint8_t* first = d.out.list[WHITE];
    if (d.shape.side[WHITE].CountOf(kPawn) == 2) {
        first[1] = static_cast<std::uint8_t>(FreeSquare(taken, A2, extraNumber));
        if (first[1] < first[0]) std::swap(first[0], first[1]);
        return;
    }
    taken |= SquareMask(d.OwnList()[kKingSlot]) | SquareMask(d.OtherList()[kKingSlot]);
    first[FirstSlot(d.shape.side[WHITE].group[0].type)] =
        static_cast<std::uint8_t>(FreeSquare(taken, A1, extraNumber));
}

}  // namespace

bool PlacementOfIndex(int entry, int sideToMove, std::uint32_t index,
                      TablePlacement& placement) {
    const TableShape& shape = ShapeOf(entry);
    placement = {};
    placement.enPassant = kNoEnPassant;
    Decoder d{shape, sideToMove, shape.pawns && sideToMove == BLACK ? 56 : 0, placement};
    if (index >= IndexCount(entry, sideToMove)) return false;
    if (index >= NormalCount[entry][sideToMove]) {
        PlaceEnPassant(d, index - NormalCount[entry][sideToMove]);
        return true;
    }
    AppendedGroup groups[kMaxGroups];
    const int appended = AppendedGroups(shape, sideToMove, groups);
    std::uint32_t digit[kMaxGroups];
    for (int g = appended - 1; g >= 0; --g) {
        const std::uint32_t sets = SetsOf(groups[g].squares, groups[g].group.count);
        digit[g] = index % sets;
        index /= sets;
    }
    // The last king pair whose positions begin at or before this index.
    const std::uint32_t* offset = PairOffset[entry][sideToMove];
    const auto pair =
        std::upper_bound(offset, offset + kPairs[shape.pawns], index) - offset - 1;
    const KingPairSquares kings =
        PairSquares(shape.pawns)[static_cast<std::size_t>(pair)];
    d.PlaceKings(kings);
    d.PlaceLeading(kings, index - offset[pair]);
    for (int g = 0; g < appended; ++g) PlaceAppended(d, groups[g], digit[g]);
    return true;
}
