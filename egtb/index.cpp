// One index is a number in a mixed radix. The leading digits are the king pair and the
// men of the side to move, which share one running total per king pair, since how many
// squares a man has depends on the kings. The other side's men are appended, each with a
// fixed radix.
//
// The men of the leading digits stand in a frame in which the side to move plays up the
// board, and without pawns its king in one corner triangle. Appended men of a table with
// pawns stay on the board as it is, the first side's pawns moving up.
#include "egtb/index.h"

#include <utility>

#include "board/types.h"

namespace {

// Symmetries as masks for exclusive-or with a square, so that two of them combine by
// exclusive-or too.
constexpr int kTurn = 56;   // upside down
constexpr int kMirror = 7;  // left to right
constexpr int RightHalf(int square) { return FileOf(square) > 3 ? kMirror : 0; }
constexpr int UpperHalf(int square) { return RankOf(square) > 3 ? kTurn : 0; }
constexpr int Reflect(int square) { return FileOf(square) * 8 + RankOf(square); }

// [reflected][square]: the reflection in the long diagonal, or the square itself.
constexpr auto kReflection = [] {
    std::array<std::array<std::uint8_t, 64>, 2> table{};
    for (int square = 0; square < 64; ++square) {
        const auto i = static_cast<std::size_t>(square);
        table[0][i] = static_cast<std::uint8_t>(square);
        table[1][i] = static_cast<std::uint8_t>(Reflect(square));
    }
    return table;
}();

// How board squares turn into the two frames of a table.
struct Frame {
    int mask;          // of the frame of the leading digits
    int appendedMask;  // of the appended men
    const std::uint8_t* reflection;
    int k1, k2;  // kings in the frame of the leading digits

    int Leading(int square) const { return reflection[square ^ mask]; }
    int Appended(int square) const { return reflection[square ^ appendedMask]; }
};

// Chooses the symmetry that brings the kings into a numbered pair. With pawns only left
// and right may be exchanged, and the board is turned so that the side named first moves
// up; without pawns all eight symmetries serve.
template <bool pawns, int side>
inline Frame FrameOf(int king, int otherKing, bool coloursExchanged) {
    Frame frame;
    if constexpr (pawns) {
        frame.appendedMask = RightHalf(king) ^ (coloursExchanged ? kTurn : 0);
        frame.mask = frame.appendedMask ^ (side == BLACK ? kTurn : 0);
        frame.reflection = kReflection[0].data();
    } else {
        frame.mask = frame.appendedMask = RightHalf(king) ^ UpperHalf(king);
        const int k1 = king ^ frame.mask, k2 = otherKing ^ frame.mask;
        const int slope = RankOf(k1) - FileOf(k1);
        const bool reflect = slope > 0 || (slope == 0 && RankOf(k2) > FileOf(k2));
        frame.reflection = kReflection[reflect].data();
    }
    frame.k1 = frame.Leading(king);
    frame.k2 = frame.Leading(otherKing);
    return frame;
}

// Number of a set of like men from their numbers, in any order: the combinatorial number
// system, C(a,1) + C(b,2) + C(c,3) for a < b < c. Sorts the numbers in place.
template <int count>
inline std::uint32_t SetNumber(std::uint32_t* number) {
    if constexpr (count >= 2) {
        if (number[0] > number[1]) std::swap(number[0], number[1]);
    }
    if constexpr (count == 3) {
        if (number[1] > number[2]) std::swap(number[1], number[2]);
        if (number[0] > number[1]) std::swap(number[0], number[1]);
    }
    std::uint32_t set = number[0];
    if constexpr (count >= 2) set += number[1] * (number[1] - 1) / 2;
    if constexpr (count == 3) set += number[2] * (number[2] - 1) * (number[2] - 2) / 6;
    return set;
}

// Appends one group of the leading digits to the number; false for a square left out.
// k1's square is not in the enumeration of a type and k2, so that numbers above it move
// down by one.
template <ManType type, int count>
inline bool AppendLeadingGroup(const Frame& frame, const std::uint8_t* list,
                               std::uint32_t& number) {
    const std::uint8_t* numbers = SquareNumber[type][frame.k2];
    const std::uint32_t kingNumber = numbers[frame.k1];
    std::uint32_t digits[count];
    for (int i = 0; i < count; ++i) {
        const std::uint32_t n = numbers[frame.Leading(list[FirstSlot(type) + i])];
        if (n == kNoNumber) return false;
        digits[i] = n - (kingNumber < n ? 1 : 0);
    }
    const std::uint32_t squares =
        SquareCount[type][frame.k2] - (kingNumber != kNoNumber ? 1u : 0u);
    number = number * SetsOf(squares, count) + SetNumber<count>(digits);
    return true;
}

// Men already placed, on the board of the appended men.
template <int capacity>
struct PlacedMen {
    int count = 0;
    int square[capacity];

    void Add(int placed) { square[count++] = placed; }
    // How many placed men stand on lower squares: so many numbers are missing below
    // `other`.
    int Below(int other) const {
        int below = 0;
        for (int i = 0; i < count; ++i) below += square[i] < other;
        return below;
    }
};

// Appends a group of men on the squares that the placed men leave; `first` is the lowest
// square of all and `squares` their number.
template <int count, int capacity>
inline void AppendGroup(const Frame& frame, const std::uint8_t* men, int first,
                        std::uint32_t squares, PlacedMen<capacity>& placed,
                        std::uint32_t& index) {
    std::uint32_t digits[count];
    int own[count];
    for (int i = 0; i < count; ++i) {
        own[i] = frame.Appended(men[i]);
        digits[i] = static_cast<std::uint32_t>(own[i] - first - placed.Below(own[i]));
    }
    for (const int square : own) placed.Add(square);
    index = index * SetsOf(squares, count) + SetNumber<count>(digits);
}

// The number of the men that share the running total, beside their king pair. All sizes
// are constants of the entry: each of the 356 functions is straight code.
template <int entry, int side>
inline bool LeadingNumber(const Frame& frame, const std::uint8_t* own,
                          const std::uint8_t* other, std::uint32_t& number) {
    constexpr SideMen men = OffsetMen(ShapeOf(entry), side);
    constexpr bool plain = men.CountOf(kPlainPawn) > 0;
    const std::uint8_t* list = plain ? other : own;
    number = 0;
    if constexpr (men.groups > 0)
        if (!AppendLeadingGroup<men.group[0].type, men.group[0].count>(frame, list,
                                                                       number))
            return false;
    if constexpr (men.groups > 1)
        if (!AppendLeadingGroup<men.group[1].type, men.group[1].count>(frame, list,
                                                                       number))
            return false;
    if constexpr (men.groups > 2)
        if (!AppendLeadingGroup<men.group[2].type, men.group[2].count>(frame, list,
                                                                       number))
            return false;
    return true;
}

// The other side's men: pawns first, among the 48 squares of ranks 2 to 7, then the kinds
// in the order of the name, each on the squares that all men before it leave.
template <int entry, int side>
inline std::uint32_t AppendOtherMen(const Frame& frame, const std::uint8_t* own,
                                    const std::uint8_t* other, std::uint32_t index) {
    constexpr TableShape shape = ShapeOf(entry);
    constexpr SideMen leading = OffsetMen(shape, side);
    constexpr SideMen men = shape.side[1 - side];
    constexpr int ownPawns = leading.CountOf(kPawn);
    constexpr bool pawnsPlaced = leading.CountOf(kPlainPawn) > 0;
    constexpr int pawns = men.CountOf(kPawn);

    // Only pawns get out of each other's way among pawns: kings and pieces do not count.
    PlacedMen<4> placedPawns;
    for (int i = 0; i < ownPawns; ++i) placedPawns.Add(frame.Appended(own[i]));
    if constexpr (pawns > 0 && !pawnsPlaced)
        AppendGroup<pawns>(frame, other, A2, 48 - ownPawns, placedPawns, index);

    if constexpr (men.men > pawns) {
        PlacedMen<6> placed;
        placed.Add(frame.Appended(own[kKingSlot]));
        placed.Add(frame.Appended(other[kKingSlot]));
        for (int g = 0; g < shape.side[side].groups; ++g) {
            const ManGroup group = shape.side[side].group[g];
            for (int i = 0; i < group.count; ++i)
                placed.Add(frame.Appended(own[FirstSlot(group.type) + i]));
        }
        for (int i = 0; i < pawns; ++i) placed.Add(frame.Appended(other[i]));
        constexpr int before = 2 + shape.side[side].men + pawns;
        if constexpr (men.groups > 0 && men.group[0].type != kPawn)
            AppendGroup<men.group[0].count>(frame, other + FirstSlot(men.group[0].type),
                                            0, 64 - before, placed, index);
        if constexpr (men.groups > 1 && men.group[1].type != kPawn)
            AppendGroup<men.group[1].count>(frame, other + FirstSlot(men.group[1].type),
                                            0, 64 - before - men.group[0].count, placed,
                                            index);
        if constexpr (men.groups > 2 && men.group[2].type != kPawn)
            AppendGroup<men.group[2].count>(
                frame, other + FirstSlot(men.group[2].type), 0,
                64 - before - men.group[0].count - men.group[1].count, placed, index);
    }
    return index;
}

// Index of a position with an en passant capture; kNoIndex when no pawn stands beside the
// one that has just moved. Of two takers the one on the lower square decides.
template <int entry, int side>
inline std::uint32_t EnPassantIndex(const Frame& frame, const std::uint8_t* own,
                                    const std::uint8_t* other, int enPassant, int pair) {
    constexpr TableShape shape = ShapeOf(entry);
    constexpr int ownPawns = shape.side[side].CountOf(kPawn);
    constexpr int otherPawns = shape.side[1 - side].CountOf(kPawn);
    const int target = frame.Leading(enPassant);
    int takerSlot = -1, taker = 64;
    for (int i = 0; i < ownPawns; ++i) {
        const int square = frame.Leading(own[i]);
        const bool beside = square == target - 7 || square == target - 9;
        if (beside && RankOf(square) == 4 && square < taker) {
            taker = square;
            takerSlot = i;
        }
    }
    int victimSlot = -1;
    for (int i = 0; i < otherPawns; ++i)
        if (frame.Leading(other[i]) == target - 8) victimSlot = i;
    if (takerSlot < 0 || victimSlot < 0) return kNoIndex;
    // 0 to 6: the taker on files b to h goes left; 7 to 13: on files a to g it goes
    // right.
    const int j = target > taker + 8 ? FileOf(taker) + 7 : FileOf(taker) - 1;
    std::uint32_t index =
        NormalCount[entry][side] +
        static_cast<std::uint32_t>(pair * kEnPassantFiles + j) * EnPassantExtras(shape);
    if constexpr (shape.men == 5) {
        PlacedMen<6> gone;
        gone.Add(frame.Appended(own[takerSlot]));
        gone.Add(frame.Appended(other[victimSlot]));
        gone.Add(frame.Appended(enPassant));
        // The square the victim came from lies beyond the one it stepped over.
        gone.Add(frame.Appended(2 * enPassant - other[victimSlot]));
        constexpr bool extraPawn = shape.side[0].CountOf(kPawn) == 2;
        int extra, first = 0;
        if constexpr (extraPawn) {
            extra = side == WHITE ? own[1 - takerSlot] : other[1 - victimSlot];
            first = A2;
        } else {
            gone.Add(frame.Appended(own[kKingSlot]));
            gone.Add(frame.Appended(other[kKingSlot]));
            extra = (side == WHITE ? own : other)[FirstSlot(shape.side[0].group[0].type)];
        }
        const int square = frame.Appended(extra);
        index += static_cast<std::uint32_t>(square - first - gone.Below(square));
    }
    return index;
}

// One index function: frame, king pair, leading digits, appended men. Positions with an
// en passant capture have their range behind all others.
template <int entry, int side>
std::uint32_t Index(const std::uint8_t* first, const std::uint8_t* second, int enPassant,
                    bool coloursExchanged) {
    constexpr TableShape shape = ShapeOf(entry);
    const std::uint8_t* own = side == WHITE ? first : second;
    const std::uint8_t* other = side == WHITE ? second : first;
    const Frame frame =
        FrameOf<shape.pawns, side>(own[kKingSlot], other[kKingSlot], coloursExchanged);
    const int pair = KingPair[shape.pawns][static_cast<std::size_t>(frame.k1)]
                             [static_cast<std::size_t>(frame.k2)];
    if (pair == kNoPair) return kNoIndex;
    if constexpr (HasEnPassant(shape)) {
        if (enPassant != kNoEnPassant) {
            const std::uint32_t index =
                EnPassantIndex<entry, side>(frame, own, other, enPassant, pair);
            if (index != kNoIndex) return index;
        }
    }
    std::uint32_t number;
    if (!LeadingNumber<entry, side>(frame, own, other, number)) return kNoIndex;
    return AppendOtherMen<entry, side>(frame, own, other,
                                       PairOffset[entry][side][pair] + number);
}

template <int... entries>
constexpr std::array<std::array<IndexFunction, 2>, kTableEntries> AllFunctions(
    std::integer_sequence<int, entries...>) {
    return {{{nullptr, nullptr},
             {&Index<entries + 1, WHITE>, &Index<entries + 1, BLACK>}...}};
}

}  // namespace

constinit const std::array<std::array<IndexFunction, 2>, kTableEntries> IndexFunctions =
    AllFunctions(std::make_integer_sequence<int, kTableEntries - 1>());
