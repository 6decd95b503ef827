// Positions of few men for the table tools: plain square arrays, so that several threads
// can work at once, which the engine's one global board does not allow.
#pragma once

#include <vector>

#include "board/tables.h"
#include "egtb/unindex.h"

// Men of the largest table, kings included; kNoMan is no man's number.
inline constexpr int kMostMen = 6;
inline constexpr std::uint8_t kNoMan = 255;

// The men of a table: both kings, then the first side's men and the second side's in the
// order of the name. The first side is White here.
struct TableMen {
    struct Man {
        std::uint8_t side;  // WHITE or BLACK
        std::uint8_t code;  // piece code
        std::uint8_t slot;  // in the square list of its side
    };
    int entry;  // 0: the two kings
    int count;
    Man man[kMostMen];
};

// Of an entry of the list of tables; men of a kind are neighbours.
TableMen MenOfTable(int entry);

// An arrangement of a table's men. Not necessarily legal: IsLegalPosition tells.
struct TablePosition {
    std::uint8_t square[kMostMen];  // in the order of TableMen
    std::uint8_t side;              // to move
    std::uint8_t enPassant;         // the square stepped over, or kNoEnPassant
};

// The position of a placement that PlacementOfIndex has found, with this side to move.
TablePosition PositionOfPlacement(const TableMen& men, const TablePlacement& placement,
                                  int side);
// The index in the table of these men, in the file of the side to move; kNoIndex where
// the numbering leaves the placement out. BuildIndexTables must have run.
std::uint32_t IndexOfPosition(const TableMen& men, const TablePosition& position);
// The squares of all men.
SquareSet OccupiedSquares(const TableMen& men, const TablePosition& position);

// ---- Attacks on a given occupancy; the first man met is included ----
template <int step>
inline SquareSet Ray(int square, SquareSet occupied) {
    const SquareSet ray = RayFrom(step, square);
    const SquareSet met = ray & occupied;
    if (met == 0) return ray;
    return ray ^ RayFrom(step, step > 0 ? LowestSquare(met) : HighestSquare(met));
}
// Attacks of a bishop, rook or queen: all lines but those that the other two do not have.
inline SquareSet SliderAttacks(int code, int square, SquareSet occupied) {
    SquareSet attacks = 0;
    if (code != BISHOP)
        attacks = Ray<8>(square, occupied) | Ray<-8>(square, occupied) |
                  Ray<1>(square, occupied) | Ray<-1>(square, occupied);
    if (code != ROOK)
        attacks |= Ray<9>(square, occupied) | Ray<-9>(square, occupied) |
                   Ray<7>(square, occupied) | Ray<-7>(square, occupied);
    return attacks;
}
// Attacks of any man; a pawn's are its captures alone, whether or not there is a man to
// take.
inline SquareSet ManAttacks(int code, int side, int square, SquareSet occupied) {
    switch (code) {
        case KING:
            return KingAttacks[square];
        case KNIGHT:
            return KnightAttacks[square];
        case PAWN:
            return PawnAttacks[side][square];
        default:
            return SliderAttacks(code, square, occupied);
    }
}

// A man of `side` attacks the square; the man `without` is taken off the board first.
bool Attacks(const TableMen& men, const TablePosition& position, int side, int square,
             SquareSet occupied, int without = kNoMan);

// All men on different squares, pawns on their ranks, kings apart, the side not to move
// not in check; after a double step the way of the pawn free. Whether moves can lead
// there is not asked.
bool IsLegalPosition(const TableMen& men, const TablePosition& position);
// The side to move is attacked.
bool InCheck(const TableMen& men, const TablePosition& position);

// A move by men's numbers (TableMen). There is no castling: tables hold no positions with
// the right.
struct TableMove {
    std::uint8_t man, to;
    std::uint8_t captured;   // a man, or kNoMan
    std::uint8_t promotion;  // a piece code, or EMPTY
};
// Room that suffices for six men.
inline constexpr int kMostTableMoves = 160;

// The legal moves of a legal position, man by man, into `moves` of kMostTableMoves;
// returns how many.
int LegalTableMoves(const TableMen& men, const TablePosition& position, TableMove* moves);

// Plays a move that leaves the men as they are: no capture, no promotion. The position
// then carries an en passant square exactly when a pawn stands beside the one that has
// stepped over it, be the capture legal or not.
TablePosition AfterQuietMove(const TableMen& men, const TablePosition& position,
                             const TableMove& move);

// The table that a capture or a promotion leads to, and how its sides are named there.
struct Conversion {
    int entry = -1;  // 0: the two kings; -1: not looked up yet
    bool exchanged;  // White is the side named second there
};
// [side to move][captured man + 1][promotion]: where moves out of a table lead; 0 in the
// place of the captured man stands for no capture, promotion is a piece code or EMPTY.
struct ConversionMap {
    Conversion to[2][kMostMen + 1][8];
};
// Looked up once for a table, as a search in the list for every move would be slow.
ConversionMap ConversionsOf(const TableMen& men);
// The tables in the map, each once, without the two kings: what must be there before a
// table can be made or checked.
std::vector<int> TablesReachedFrom(const ConversionMap& map);
// Index, in the table it leads to, of the position after a capture or promotion, and the
// side to move there in that table's terms. The entry must not be 0.
std::uint32_t IndexAfterConversion(const TableMen& men, const TablePosition& position,
                                   const TableMove& move, const Conversion& conversion,
                                   int& tableSide);

// Values in the table's file: the last index that belongs to a legal position, and 1. For
// entries whose size is listed it is that size.
std::uint32_t FileValues(int entry, int side);
