// The king: its pawns, the enemy's before it, and the attack on it.
#pragma once

#include <algorithm>

#include "eval/strong/attacks.h"
#include "eval/strong/sum.h"

// ---- Attack units ----
inline constexpr int kWeakRingUnits = 2;
inline constexpr int kSafeCheckUnits[kKinds] = {0, 6, 5, 8, 6, 0};
inline constexpr int kNoShieldUnits = 2;  // a file about the king without an own pawn

// The rank of the foremost pawn of the set as the colour's king meets it; 0: none.
template <int c>
int FirstRank(SquareSet pawns) {
    if (pawns == 0) return 0;
    return RelativeRank<c>(c == WHITE ? LowestSquare(pawns) : HighestSquare(pawns));
}

// One file of the shelter. Returns attack units for a pawn that is missing.
template <int c, class Sum>
int AddShelterFile(int file, SquareSet front, Sum& sum) {
    const int own = FirstRank<c>(front & FileSet(file) & Board.Pawns[c]);
    const int other = FirstRank<c>(front & FileSet(file) & Board.Pawns[1 - c]);
    const int edge = std::min(file, 7 - file);
    sum.template Add<c>(kWeights.shelter[edge][own]);
    if (file == FileOf(Board.KingSquare[c]))
        sum.template Add<c>(kWeights.shelterKing[own]);
    if (own != 0 && other == own + 1)
        sum.template Add<c>(kWeights.stormBlocked[other]);
    else
        sum.template Add<c>(kWeights.storm[edge][other]);
    return own == 0 ? kNoShieldUnits : 0;
}

// The pawns on the king's file and beside it, on its rank and before it. Returns attack
// units.
template <int c, class Sum>
int AddShelter(Sum& sum) {
    const int king = Board.KingSquare[c];
    const int steps = 8 * RelativeRank<c>(king);
    const SquareSet front = c == WHITE ? ~SquareSet{0} << steps : ~SquareSet{0} >> steps;
    const int centre = std::clamp(FileOf(king), 1, 6);
    int units = 0;
    for (int file = centre - 1; file <= centre + 1; ++file)
        units += AddShelterFile<c>(file, front, sum);
    const SquareSet file = FileSet(FileOf(king));
    if ((file & Board.Pawns[c]) == 0)
        sum.template Add<c>(
            kWeights.kingOpenFile[(file & Board.Pawns[1 - c]) == 0 ? 1 : 0]);
    return units;
}

// How far the king is from the pawns.
template <int c, class Sum>
void AddKingAndPawns(Sum& sum) {
    const int king = Board.KingSquare[c];
    const SquareSet pawns = Board.Pawns[WHITE] | Board.Pawns[BLACK];
    if (pawns == 0) return;
    int steps = 1;
    while (steps < 7 && (Within[king][steps] & pawns) == 0) ++steps;
    sum.template Add<c>(kWeights.pawnDistance[steps]);
    constexpr SquareSet kCentre = FileSet(2) | FileSet(3) | FileSet(4) | FileSet(5);
    const int file = FileOf(king);
    const SquareSet wing = file < 3 ? WingA : file > 4 ? WingH : kCentre;
    if ((wing & pawns) == 0) sum.template Add<c>(kWeights.pawnlessWing);
}

// Squares from which a piece of the kind could give check without being lost. Returns
// attack units.
template <int c, class Sum>
int AddChecks(Kind kind, SquareSet squares, Sum& sum) {
    if (squares == 0) return 0;
    sum.template Add<c>(kWeights.safeCheck[kind][ExactlyOne(squares) ? 0 : 1]);
    return kSafeCheckUnits[kind];
}

// The attack of the colour on the other king, whose shelter lacks so much.
template <int c, class Sum>
void AddAttack(const AttackSets& sets, int shelterUnits, Sum& sum) {
    constexpr int e = 1 - c;
    const int king = Board.KingSquare[e];
    // Attacked, and defended by king or queen at best.
    const SquareSet weak = sets.all[c] & ~sets.twice[e] &
                           (~sets.all[e] | sets.by[e][KING] | sets.by[e][QUEEN]);
    const SquareSet safe = ~Board.Occupied[c] & (~sets.all[e] | (weak & sets.twice[c]));
    const SquareSet through = AllOccupied() & ~Board.Queens[e];
    const SquareSet straight = RookAttacks(king, through);
    const SquareSet diagonal = BishopAttacks(king, through);
    const int ring = PopCount(weak & sets.zone[e]);
    int units = sets.danger[c] + shelterUnits + kWeakRingUnits * ring;
    units += AddChecks<c>(kKnight, KnightAttacks[king] & sets.by[c][KNIGHT] & safe, sum);
    units += AddChecks<c>(kBishop, diagonal & sets.by[c][BISHOP] & safe, sum);
    units += AddChecks<c>(kRook, straight & sets.by[c][ROOK] & safe, sum);
    units += AddChecks<c>(
        kQueen, (straight | diagonal) & sets.by[c][QUEEN] & safe & ~sets.by[e][QUEEN],
        sum);
    units = std::min(units, kDangers - 1);
    if (Board.Queens[c] != 0)
        sum.template Add<c>(kWeights.danger[units]);
    else
        sum.template Add<c>(kWeights.dangerNoQueen[units]);
    sum.template Add<c>(kWeights.weakRing[std::min(ring, 8)]);
    sum.template Add<c>(kWeights.attackers[std::min(sets.attackers[c], 7)]);
}

template <int c>
bool MayCastle(bool kingside) {
    return KingMoved<c>() == 0 &&
           (kingside ? KingRookMoved<c>() : QueenRookMoved<c>()) == 0;
}

template <int c, class Sum>
void AddKingPlace(Sum& sum) {
    sum.template Add<c>(kWeights.placement[kKing][TableIndex<c>(Board.KingSquare[c])]);
    if (MayCastle<c>(true)) sum.template Add<c>(kWeights.castling[0]);
    if (MayCastle<c>(false)) sum.template Add<c>(kWeights.castling[1]);
    AddKingAndPawns<c>(sum);
}
