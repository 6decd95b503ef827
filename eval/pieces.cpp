// Terms of the pieces, each for one colour; on the way they gather the attack units
// against the other king, which the king terms turn into a score.
#include "eval/pieces.h"

#include <algorithm>
#include <cstdint>

#include "board/attacks.h"
#include "eval/pawnentry.h"

namespace {

// ---- Values, centipawns ----
constexpr int kTrappedBishop = 160;   // behind a pawn near the enemy's corner
constexpr int kBadBishopPawn = 3;     // own pawn on the bishop's colour
constexpr int kBadBishopBlocked = 2;  // more when it is blocked
constexpr int kBishopPair[9] = {20, 20, 20, 20, 20, 20, 20, 15, 8};  // [enemy pawns]
constexpr int kBishopBothWings = 25;  // pawns on both wings, no enemy bishop
constexpr int kBothWingsUnits = 7;    // own units below it
constexpr int kFianchetto = 10;
constexpr int kBackRank = -12;
constexpr int kOpenFile = 24, kHalfOpenFile = 5;
// [files without pawns]: in a rook ending 48 centipawns are shared among the open files.
constexpr int kOpenFileInRookEnding[9] = {24, 24, 24, 16, 12, 9, 8, 6, 6};
constexpr int kBoxedRook = -20;
constexpr int kRookOnSeventh = 30, kDoubledOnSeventh = 54, kSeventhExtra = 20;
constexpr int kQueenOnSeventh = 10;
constexpr int kKnightWithoutSquares = -70;
// [2 to 8 squares that a knight attacks]: 65536 divided by their number, rounded up; the
// products' upper halves are the quotients, exact for what is divided here.
constexpr int kReciprocal[9] = {0, 0, 32768, 21846, 16384, 13108, 10923, 9363, 8192};
constexpr int kBishopMobility = 3;  // each empty square
constexpr int kBishopShutIn = -90, kBishopCramped = -35;

// ---- Attack units by distance from the square that attackers aim at ----
constexpr int kRookNear[8] = {3, 3, 3, 2, 1, 0, 0, 0};
constexpr int kQueenNear[8] = {4, 4, 4, 2, 1, 0, 0, 0};
// By files; the last when an own pawn stands ahead on the file.
constexpr int kRookFile[8] = {4, 3, 1, 0, 0, 0, 0, 0};
constexpr int kQueenFile[8] = {5, 5, 3, 0, 0, 0, 0, 0};
constexpr int kQueenOnFarWing = -8;  // with the centre closed
constexpr int kFarWingPawns = 5;     // own pawns that close it, at least

// Squares where a minor piece is badly placed or can be caught, eighth rank on top, from
// White's side.
// clang-format off
constexpr std::int8_t kRim[64] = {
    5, 5, 2, 1, 1, 2, 5, 5,
    2, 2, 0, 0, 0, 0, 2, 2,
    1, 0, 0, 0, 0, 0, 0, 1,
    1, 0, 0, 0, 0, 0, 0, 1,
    2, 0, 0, 0, 0, 0, 0, 2,
    4, 2, 1, 0, 0, 1, 2, 4,
    5, 4, 3, 3, 3, 3, 4, 5,
    5, 5, 5, 4, 4, 5, 5, 5,
};
constexpr std::int8_t kOutpost[64] = {
    0, 0,  0,  0,  0,  0, 0, 0,
    0, 0,  4,  8,  8,  4, 0, 0,
    0, 0, 12, 20, 20, 12, 0, 0,
    0, 0, 12, 16, 16, 12, 0, 0,
    0, 0,  0,  6,  6,  0, 0, 0,
    0, 0,  0,  0,  0,  0, 0, 0,
    0, 0,  0,  0,  0,  0, 0, 0,
    0, 0,  0,  0,  0,  0, 0, 0,
};
// clang-format on

// The tables' first row is the eighth rank.
template <int c>
constexpr int TableIndex(int square) {
    return MirrorRank(Relative<c>(square));
}
template <int c>
constexpr SquareSet At(int square) {
    return SquareMask(Relative<c>(square));
}
// The squares to which a table of theirs gives a value.
template <int c>
consteval SquareSet SquaresOf(const std::int8_t (&table)[64]) {
    SquareSet squares = 0;
    for (int square = 0; square < 64; ++square)
        if (table[TableIndex<c>(square)] != 0) squares |= SquareMask(square);
    return squares;
}

// A bishop of the colour that took a pawn it should have left alone.
template <int c>
bool HasTrappedBishop() {
    constexpr int kTraps[4][2] = {{A7, B6}, {B8, C7}, {G8, F7}, {H7, G6}};
    constexpr SquareSet kSquares = At<c>(A7) | At<c>(B8) | At<c>(G8) | At<c>(H7);
    if ((Board.Bishops[c] & kSquares) == 0) return false;
    for (const auto& [bishop, pawn] : kTraps)
        if ((Board.Bishops[c] & At<c>(bishop)) != 0 &&
            (Board.Pawns[1 - c] & At<c>(pawn)) != 0)
            return true;
    return false;
}

// ---- Bishops as a group ----

// A lone bishop and its own pawns on squares of its colour.
template <int c>
int BadBishop(SquareSet bishop) {
    const SquareSet colour = (bishop & LightSquares) != 0 ? LightSquares : DarkSquares;
    const SquareSet pawns = Board.Pawns[c] & colour;
    const SquareSet blocked = pawns & Backward<c>(Board.Occupied[1 - c]);
    return -kBadBishopPawn * PopCount(pawns) - kBadBishopBlocked * PopCount(blocked);
}

// A bishop works on both wings at once when no bishop opposes it and little else is left.
template <int c>
int BishopOnBothWings() {
    constexpr int e = 1 - c;
    if (Board.Units[c] >= kBothWingsUnits || Board.Bishops[e] != 0) return 0;
    const SquareSet pawns = Board.Pawns[c] | Board.Pawns[e];
    return (pawns & WingA) != 0 && (pawns & WingH) != 0 ? kBishopBothWings : 0;
}

// The bishop in front of its castled king, behind the knight's pawn that made room for
// it.
template <int c>
int Fianchetto(const Terms& t) {
    const int king = Board.KingSquare[c];
    if ((Board.Bishops[c] & At<c>(G2)) == 0 || t.ending[c]) return 0;
    if ((Board.Pawns[c] & At<c>(G3)) == 0 || (Board.Kings[c] & WingH) == 0) return 0;
    return Distance[king][Relative<c>(G2)] == 1 ? kFianchetto : 0;
}

template <int c>
int BishopsFor(const Terms& t) {
    const SquareSet bishops = Board.Bishops[c];
    if (bishops == 0) return 0;
    const int number = ExactlyOne(bishops)
                           ? BadBishop<c>(bishops)
                           : kBishopPair[std::min(Board.PawnCount[1 - c], 8)];
    return number + BishopOnBothWings<c>() + Fianchetto<c>(t);
}

// ---- Rooks and queens ----

// The king is shut in on its back rank by its own pawns.
template <int c>
int BackRank() {
    const SquareSet front = KingAttacks[Board.KingSquare[c]] & RelativeRankSet<c>(1);
    const bool onBackRank = (Board.Kings[c] & RelativeRankSet<c>(0)) != 0;
    return onBackRank && (front & ~Board.Pawns[c]) == 0 ? kBackRank : 0;
}

// With a rook each and nothing else, many open files make each of them worth less.
int OpenFileValue(const PawnEntry& pawns) {
    if (Board.Units[WHITE] != 5 || Board.Units[BLACK] != 5) return kOpenFile;
    return kOpenFileInRookEnding[8 - PopCount8[pawns.files[WHITE] | pawns.files[BLACK]]];
}

// Men or the edge on both sides of a rook.
inline SquareSet BoxedRooks(SquareSet rooks) {
    const SquareSet occupied = AllOccupied();
    const SquareSet leftShut = occupied << 1 | FileSet(0);
    const SquareSet rightShut = occupied >> 1 | FileSet(7);
    return rooks & leftShut & rightShut;
}

// Rooks on files without own pawns, which are half-open, or open without any pawns.
template <int c>
int RooksOnFiles(SquareSet rooks, const PawnEntry& pawns, int openFile) {
    const SquareSet free = rooks & ~FileSquares8[pawns.files[c]];
    const SquareSet halfOpen = free & FileSquares8[pawns.files[1 - c]];
    return openFile * PopCount(free ^ halfOpen) + kHalfOpenFile * PopCount(halfOpen);
}

// Something to attack on the seventh rank, or a king to hold on the eighth.
template <int c>
bool SeventhRankCounts() {
    constexpr int e = 1 - c;
    return (Board.Kings[e] & RelativeRankSet<e>(0)) != 0 ||
           (Board.Pawns[e] & SeventhRank[c]) != 0;
}

// A supported piece is one that sees another rook or queen along the rank.
template <int c>
int SeventhRankTerm(const Terms& t) {
    constexpr int e = 1 - c;
    const SquareSet majors = Board.Rooks[c] | Board.Queens[c];
    SquareSet there = majors & SeventhRank[c];
    if (there == 0 || !SeventhRankCounts<c>()) return 0;
    const bool extra = (Board.Kings[e] & RelativeRankSet<e>(0)) != 0 &&
                       t.passers[c] != 0 &&
                       (Board.Occupied[e] & SeventhRankInner[c]) == 0;
    int score = 0;
    while (there != 0) {
        const int square = TakeLowest(there);
        const SquareSet seen = RookLines(square) & RankSet(RankOf(square));
        const bool supported = (seen & majors) != 0;
        if (Board.Piece[square] == QUEEN)
            score += supported ? kQueenOnSeventh : 0;
        else
            score += (supported ? kDoubledOnSeventh : kRookOnSeventh) +
                     (extra ? kSeventhExtra : 0);
    }
    return score;
}

// Attack units of one kind of major piece.
struct MajorUnits {
    // [target][square]: an own pawn ahead on the file leaves the units by distance; else
    // the greater of those and the ones by files counts.
    std::uint8_t closed[64][64], open[64][64];
};
consteval MajorUnits MakeUnits(const int (&byFile)[8], const int (&near)[8]) {
    MajorUnits units{};
    for (int target = 0; target < 64; ++target)
        for (int square = 0; square < 64; ++square) {
            const int files = FileDistance(target, square);
            const int ranks = RankOf(target) > RankOf(square)
                                  ? RankOf(target) - RankOf(square)
                                  : RankOf(square) - RankOf(target);
            const int byDistance = near[std::max(files, ranks)];
            units.closed[target][square] =
                static_cast<std::uint8_t>(std::max(byFile[7], byDistance));
            units.open[target][square] =
                static_cast<std::uint8_t>(std::max(byFile[files], byDistance));
        }
    return units;
}
constexpr MajorUnits kRookUnits = MakeUnits(kRookFile, kRookNear);
constexpr MajorUnits kQueenUnits = MakeUnits(kQueenFile, kQueenNear);

template <int c>
int UnitsOf(const MajorUnits& units, SquareSet men, int target) {
    int sum = 0;
    while (men != 0) {
        const int square = TakeLowest(men);
        const bool closed = (FileAhead<c>(square) & Board.Pawns[c]) != 0;
        sum += (closed ? units.closed : units.open)[target][square];
    }
    return sum;
}

template <int c>
int RooksFor(Terms& t, int openFile) {
    const SquareSet rooks = Board.Rooks[c];
    if (rooks == 0) return 0;
    t.danger[c] += UnitsOf<c>(kRookUnits, rooks, t.target[1 - c]);
    return kBoxedRook * PopCount(BoxedRooks(rooks)) +
           RooksOnFiles<c>(rooks, *t.pawns, openFile);
}

// Queens on the wing away from the enemy king, with the centre closed to them.
template <int c>
SquareSet QueensOnFarWing() {
    constexpr SquareSet kCentre =
        SquareMask(D4) | SquareMask(E4) | SquareMask(D5) | SquareMask(E5);
    if (Board.PawnCount[c] < kFarWingPawns || (AllOccupied() & kCentre) == 0) return 0;
    const SquareSet king = Board.Kings[1 - c];
    const SquareSet farWing = (king & WingH) != 0   ? WingA
                              : (king & WingA) != 0 ? WingH
                                                    : 0;
    return Board.Queens[c] & farWing;
}

template <int c>
void GatherQueens(Terms& t) {
    const SquareSet queens = Board.Queens[c];
    if (queens == 0) return;
    t.danger[c] += UnitsOf<c>(kQueenUnits, queens, t.target[1 - c]) +
                   kQueenOnFarWing * PopCount(QueensOnFarWing<c>());
}

// ---- Knights and bishops ----

// Own pawns that a man in front keeps where they are.
template <int c>
SquareSet BlockedPawns() {
    return Board.Pawns[c] & Backward<c>(AllOccupied());
}

// A knight near the edge, by how little use the squares are that it attacks.
template <int c>
int KnightOnRim(int square, int rim, const Terms& t) {
    constexpr int e = 1 - c;
    const SquareSet attacks = KnightAttacks[square];
    const SquareSet covered = attacks & t.cover[e], blocked = attacks & t.blockedPawns[c];
    const int weight = 3 * PopCount(covered) + 2 * PopCount(covered & Board.Pawns[e]) +
                       PopCount(attacks & Board.Pawns[c]) +
                       PopCount(attacks & Board.Occupied[c]) + 2 * PopCount(blocked);
    const bool noSquares = (attacks & ~(covered | blocked | RelativeRankSet<c>(0))) == 0;
    const int perSquare = 4 * weight * kReciprocal[PopCount(attacks)] >> 16;
    return -rim * perSquare + (noSquares ? kKnightWithoutSquares : 0);
}

// A knight that no enemy pawn can ever drive away, better when pawns defend it or nothing
// can exchange it.
template <int c>
int Outpost(int square, int value) {
    constexpr int e = 1 - c;
    const SquareSet chasers = c == WHITE ? AdjacentAbove[square] : AdjacentBelow[square];
    if ((chasers & Board.Pawns[e]) != 0) return 0;
    const SquareSet colour =
        (SquareMask(square) & LightSquares) != 0 ? LightSquares : DarkSquares;
    const bool bishop = (Board.Bishops[e] & colour) != 0;
    switch (PopCount(PawnAttacks[e][square] & Board.Pawns[c])) {
        case 2:
            return 2 * value;
        case 1:
            return value + (bishop ? value / 2 : value);
        default:
            return bishop || Board.Knights[e] != 0 ? value : 2 * value;
    }
}

// Rim and outposts.
template <int c>
int KnightsFor(const Terms& t) {
    int score = 0;
    for (SquareSet rim = Board.Knights[c] & SquaresOf<c>(kRim); rim != 0;) {
        const int square = TakeLowest(rim);
        score += KnightOnRim<c>(square, kRim[TableIndex<c>(square)], t);
    }
    if (t.ending[c]) return score;
    for (SquareSet posts = Board.Knights[c] & SquaresOf<c>(kOutpost); posts != 0;) {
        const int square = TakeLowest(posts);
        score += Outpost<c>(square, kOutpost[TableIndex<c>(square)]);
    }
    return score;
}

// Near the edge: the bishop's way out is barred or leads only to its own camp.
template <int c>
int TrappedOnRim(SquareSet attacks, const Terms& t) {
    const SquareSet ways =
        attacks & ~(t.cover[1 - c] | t.blockedPawns[c] | RelativeRankSet<c>(0));
    if (ways == 0) return kBishopShutIn;
    return (ways & ~(Board.Pawns[c] | RelativeRankSet<c>(1))) == 0 ? kBishopCramped : 0;
}

// Mobility, and the way out of a bishop near the edge.
template <int c>
int BishopsOnBoard(const Terms& t) {
    constexpr SquareSet kRimSquares = SquaresOf<c>(kRim);
    int score = 0;
    for (SquareSet bishops = Board.Bishops[c]; bishops != 0;) {
        const int square = TakeLowest(bishops);
        const SquareSet attacks = BishopLines(square);
        score += kBishopMobility * PopCount(attacks & ~AllOccupied());
        if ((kRimSquares & SquareMask(square)) != 0) score += TrappedOnRim<c>(attacks, t);
    }
    return score;
}

// Three units for a knight or bishop at most two king moves from the target, two at
// three, one at four.
template <int c>
int MinorUnitsOf(int target) {
    const SquareSet minors = Board.Knights[c] | Board.Bishops[c];
    return PopCount(minors & Within[target][2]) + PopCount(minors & Within[target][3]) +
           PopCount(minors & Within[target][4]);
}

template <int c>
int PlacementFor(Terms& t, int openFile) {
    const int rooks = BackRank<c>() + RooksFor<c>(t, openFile) + SeventhRankTerm<c>(t);
    GatherQueens<c>(t);
    t.danger[c] += MinorUnitsOf<c>(t.target[1 - c]);
    return rooks + KnightsFor<c>(t) + BishopsOnBoard<c>(t);
}

}  // namespace

int TrappedBishops() {
    return kTrappedBishop * (static_cast<int>(HasTrappedBishop<BLACK>()) -
                             static_cast<int>(HasTrappedBishop<WHITE>()));
}

int BishopTerms(const Terms& t) { return BishopsFor<WHITE>(t) - BishopsFor<BLACK>(t); }

int PiecePlacement(Terms& t) {
    t.danger[WHITE] = t.danger[BLACK] = 0;
    t.cover[WHITE] = PawnCover<WHITE>(Board.Pawns[WHITE]);
    t.cover[BLACK] = PawnCover<BLACK>(Board.Pawns[BLACK]);
    t.blockedPawns[WHITE] = BlockedPawns<WHITE>();
    t.blockedPawns[BLACK] = BlockedPawns<BLACK>();
    const int openFile = OpenFileValue(*t.pawns);
    return PlacementFor<WHITE>(t, openFile) - PlacementFor<BLACK>(t, openFile);
}
