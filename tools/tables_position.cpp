// Attacks by rays, moves with pins and checks found once for a position. Nothing is kept
// between calls: threads need nothing but their own positions.
#include "tools/tables_position.h"

#include <algorithm>

namespace {

// Piece code of a kind of men, and the other way round.
int CodeOfType(ManType type) {
    constexpr int codes[kManTypes] = {PAWN, PAWN, KNIGHT, BISHOP, ROOK, QUEEN};
    return codes[type];
}

// [piece code]; kPawn fills the codes that are no man's in a table.
ManType TypeOfCode(int code) {
    constexpr ManType types[8] = {kPawn, kPawn, kKnight, kPawn,
                                  kPawn, kRook, kBishop, kQueen};
    return types[code];
}

}  // namespace

TableMen MenOfTable(int entry) {
    TableMen men{};
    men.entry = entry;
    men.man[0] = {WHITE, KING, kKingSlot};
    men.man[1] = {BLACK, KING, kKingSlot};
    men.count = 2;
    for (int side : {WHITE, BLACK}) {
        const SideMen& own = ShapeOf(entry).side[side];
        for (int g = 0; g < own.groups; ++g)
            for (int i = 0; i < own.group[g].count; ++i)
                men.man[men.count++] = {
                    static_cast<std::uint8_t>(side),
                    static_cast<std::uint8_t>(CodeOfType(own.group[g].type)),
                    static_cast<std::uint8_t>(FirstSlot(own.group[g].type) + i)};
    }
    return men;
}

TablePosition PositionOfPlacement(const TableMen& men, const TablePlacement& placement,
                                  int side) {
    TablePosition position{};
    for (int i = 0; i < men.count; ++i)
        position.square[i] = placement.list[men.man[i].side][men.man[i].slot];
    position.side = static_cast<std::uint8_t>(side);
    position.enPassant = static_cast<std::uint8_t>(placement.enPassant);
    return position;
}

std::uint32_t IndexOfPosition(const TableMen& men, const TablePosition& position) {
    std::uint8_t list[2][kListSize];
    for (int i = 0; i < men.count; ++i)
        list[men.man[i].side][men.man[i].slot] = position.square[i];
    return IndexFunctions[static_cast<std::size_t>(men.entry)][position.side](
        list[WHITE], list[BLACK], position.enPassant, false);
}

SquareSet OccupiedSquares(const TableMen& men, const TablePosition& position) {
    SquareSet occupied = 0;
    for (int i = 0; i < men.count; ++i) occupied |= SquareMask(position.square[i]);
    return occupied;
}

// `occupied` may differ from the position's men: it is the board after a move under test.
bool Attacks(const TableMen& men, const TablePosition& position, int side, int square,
             SquareSet occupied, int without) {
    for (int i = 0; i < men.count; ++i) {
        const TableMen::Man& man = men.man[i];
        if (man.side == side && i != without &&
            (ManAttacks(man.code, side, position.square[i], occupied) &
             SquareMask(square)) != 0)
            return true;
    }
    return false;
}

bool InCheck(const TableMen& men, const TablePosition& position) {
    return Attacks(men, position, ChangeSide(position.side),
                   position.square[position.side], OccupiedSquares(men, position));
}

bool IsLegalPosition(const TableMen& men, const TablePosition& position) {
    SquareSet occupied = 0;
    for (int i = 0; i < men.count; ++i) {
        const int square = position.square[i];
        if (square > 63 || (occupied & SquareMask(square)) != 0) return false;
        if (men.man[i].code == PAWN && (square < A2 || square > H7)) return false;
        occupied |= SquareMask(square);
    }
    if (position.enPassant != kNoEnPassant) {
        const int origin = position.enPassant + (position.side == WHITE ? 8 : -8);
        if ((occupied & (SquareMask(position.enPassant) | SquareMask(origin))) != 0)
            return false;
    }
    // King beside king is a check by the king.
    return !Attacks(men, position, position.side, position.square[1 - position.side],
                    occupied);
}

namespace {

// Where the moves of one position go, and what it takes to know that they are legal.
struct MoveMaker {
    const TableMen& men;
    const TablePosition& position;
    SquareSet occupied;
    SquareSet ownMen = 0;
    bool inCheck = false;
    SquareSet pinLines = 0;  // own men on lines between king and enemy sliders
    TableMove* next;

    int Us() const { return position.side; }
    int Them() const { return 1 - position.side; }
    int King() const { return position.square[position.side]; }

    int ManOn(int square) const {
        for (int i = 0; i < men.count; ++i)
            if (position.square[i] == square) return i;
        return kNoMan;
    }

    // A move of a man that is off all such lines leaves its king as safe as it was: only
    // the others are tried out. Not for en passant.
    bool Legal(int man, int to, int captured) const {
        const int from = position.square[man];
        if (man != Us() && !inCheck && (pinLines & SquareMask(from)) == 0) return true;
        SquareSet after = occupied & ClearMask(from);
        if (captured != kNoMan) after &= ClearMask(position.square[captured]);
        after |= SquareMask(to);
        return !Attacks(men, position, Them(), man == Us() ? to : King(), after,
                        captured);
    }

    void Add(int man, int to, int captured, int promotion = EMPTY) {
        *next++ = {static_cast<std::uint8_t>(man), static_cast<std::uint8_t>(to),
                   static_cast<std::uint8_t>(captured),
                   static_cast<std::uint8_t>(promotion)};
    }

    void AddPawnMove(int man, int to, int captured) {
        if (!Legal(man, to, captured)) return;
        if (to >= A2 && to <= H7) {
            Add(man, to, captured);
            return;
        }
        for (const int code : {QUEEN, ROOK, BISHOP, KNIGHT}) Add(man, to, captured, code);
    }

    void AddPawnMoves(int man) {
        const int from = position.square[man];
        const int step = Us() == WHITE ? 8 : -8;
        if ((occupied & SquareMask(from + step)) == 0) {
            AddPawnMove(man, from + step, kNoMan);
            const int homeRank = Us() == WHITE ? 1 : 6;
            if (RankOf(from) == homeRank && (occupied & SquareMask(from + 2 * step)) == 0)
                AddPawnMove(man, from + 2 * step, kNoMan);
        }
        SquareSet targets = PawnAttacks[Us()][from];
        while (targets != 0) {
            const int to = TakeLowest(targets);
            if ((occupied & ~ownMen & SquareMask(to)) != 0) {
                AddPawnMove(man, to, ManOn(to));
            } else if (to == position.enPassant) {
                const int victim = ManOn(to - step);
                // Two men leave the rank at once: no shortcut about pins holds.
                SquareSet after = occupied ^ SquareMask(from) ^ SquareMask(to - step);
                after |= SquareMask(to);
                if (!Attacks(men, position, Them(), King(), after, victim))
                    Add(man, to, victim);
            }
        }
    }

    void AddPieceMoves(int man) {
        SquareSet targets =
            ManAttacks(men.man[man].code, Us(), position.square[man], occupied) & ~ownMen;
        while (targets != 0) {
            const int to = TakeLowest(targets);
            const int captured =
                (occupied & SquareMask(to)) != 0 ? ManOn(to) : int{kNoMan};
            if (!Legal(man, to, captured)) continue;
            Add(man, to, captured);
        }
    }
};

// Own men, check and lines of possible pins. A line with two men in between pins neither,
// which then costs a needless test and no wrong move.
void FindChecksAndPins(MoveMaker& m) {
    for (int i = 0; i < m.men.count; ++i) {
        const TableMen::Man& man = m.men.man[i];
        const int square = m.position.square[i];
        if (man.side == m.Us()) {
            m.ownMen |= SquareMask(square);
            continue;
        }
        if ((ManAttacks(man.code, man.side, square, m.occupied) & SquareMask(m.King())) !=
            0)
            m.inCheck = true;
        if (IsSlider(man.code)) m.pinLines |= Between[square][m.King()];
    }
}

}  // namespace

int LegalTableMoves(const TableMen& men, const TablePosition& position,
                    TableMove* moves) {
    MoveMaker m{.men = men,
                .position = position,
                .occupied = OccupiedSquares(men, position),
                .next = moves};
    FindChecksAndPins(m);
    for (int i = 0; i < men.count; ++i) {
        if (men.man[i].side != position.side) continue;
        if (men.man[i].code == PAWN)
            m.AddPawnMoves(i);
        else
            m.AddPieceMoves(i);
    }
    return static_cast<int>(m.next - moves);
}

// A passed square is known only to positions with a pawn that could take there: others
// would have two indices.
TablePosition AfterQuietMove(const TableMen& men, const TablePosition& position,
                             const TableMove& move) {
    TablePosition after = position;
    const int from = position.square[move.man];
    after.square[move.man] = move.to;
    after.side = static_cast<std::uint8_t>(1 - position.side);
    after.enPassant = kNoEnPassant;
    const int length = move.to - from;
    if (men.man[move.man].code != PAWN || (length != 16 && length != -16)) return after;
    const int passed = (from + move.to) / 2;
    for (int i = 2; i < men.count; ++i)
        if (men.man[i].code == PAWN && men.man[i].side == after.side &&
            (PawnAttacks[position.side][passed] & SquareMask(after.square[i])) != 0)
            after.enPassant = static_cast<std::uint8_t>(passed);
    return after;
}

namespace {

// The table of the men left after a capture and a promotion of a pawn of `side`.
Conversion LookUp(const TableMen& men, int side, int captured, int promotion) {
    MenCounts counts{};
    for (int i = 2; i < men.count; ++i)
        if (i != captured)
            ++counts[static_cast<std::size_t>(5 * men.man[i].side +
                                              TypeOfCode(men.man[i].code) - kPawn)];
    if (promotion != EMPTY) {
        std::uint8_t& pawns = counts[static_cast<std::size_t>(5 * side)];
        if (pawns == 0) return {};
        --pawns;
        ++counts[static_cast<std::size_t>(5 * side + TypeOfCode(promotion) - kPawn)];
    }
    // The list has each pair of sides once, whichever of the two is White.
    for (int entry = 0; entry < kTableEntries; ++entry) {
        const MenCounts listed = CountsOf(ShapeOf(entry));
        if (listed == counts) return {entry, false};
        if (listed == Exchanged(counts)) return {entry, true};
    }
    return {};
}

}  // namespace

// Kings are never captured, and only men of the other side are.
ConversionMap ConversionsOf(const TableMen& men) {
    ConversionMap map{};
    for (int side : {WHITE, BLACK})
        for (int captured = -1; captured < men.count; ++captured) {
            if (captured == 0 || captured == 1) continue;
            if (captured > 1 && men.man[captured].side == side) continue;
            for (const int promotion : {EMPTY, KNIGHT, ROOK, BISHOP, QUEEN}) {
                if (captured < 0 && promotion == EMPTY) continue;  // stays in the table
                map.to[side][captured + 1][promotion] =
                    LookUp(men, side, captured < 0 ? int{kNoMan} : captured, promotion);
            }
        }
    return map;
}

std::vector<int> TablesReachedFrom(const ConversionMap& map) {
    std::vector<int> entries;
    for (const auto& captured : map.to)
        for (const auto& promotion : captured)
            for (const Conversion& to : promotion)
                if (to.entry > 0 &&
                    std::find(entries.begin(), entries.end(), to.entry) == entries.end())
                    entries.push_back(to.entry);
    return entries;
}

// The men are entered into the square lists by kind: their order among like men does not
// matter to the index functions.
std::uint32_t IndexAfterConversion(const TableMen& men, const TablePosition& position,
                                   const TableMove& move, const Conversion& conversion,
                                   int& tableSide) {
    std::uint8_t list[2][kListSize];
    // [side][kind]: slots filled.
    std::uint8_t used[2][kManTypes] = {};
    for (int i = 0; i < men.count; ++i) {
        if (i == move.captured) continue;
        const TableMen::Man& man = men.man[i];
        const std::uint8_t square = i == move.man ? move.to : position.square[i];
        if (man.code == KING) {
            list[man.side][kKingSlot] = square;
            continue;
        }
        const int code =
            i == move.man && move.promotion != EMPTY ? move.promotion : man.code;
        const ManType type = TypeOfCode(code);
        list[man.side][FirstSlot(type) + used[man.side][type]++] = square;
    }
    const int toMove = 1 - position.side;
    tableSide = conversion.exchanged ? 1 - toMove : toMove;
    const int first = conversion.exchanged ? BLACK : WHITE;
    return IndexFunctions[static_cast<std::size_t>(
        conversion.entry)][static_cast<std::size_t>(tableSide)](
        list[first], list[1 - first], kNoEnPassant, conversion.exchanged);
}

// Files end at the last legal position, not at the last index: the length of a file
// vouches for its being the right one.
std::uint32_t FileValues(int entry, int side) {
    if (ShapeOf(entry).symmetric) side = WHITE;
    const TableMen men = MenOfTable(entry);
    std::uint32_t index = IndexCount(entry, side);
    TablePlacement placement;
    while (index > 0 && PlacementOfIndex(entry, side, index - 1, placement) &&
           !IsLegalPosition(men, PositionOfPlacement(men, placement, side)))
        --index;
    return index;
}
