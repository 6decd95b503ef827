// Knights, bishops, rooks and queens: placement, mobility and what else becomes them. On
// the way their attacks are gathered.
#pragma once

#include <algorithm>

#include "eval/strong/attacks.h"
#include "eval/strong/sum.h"

// Attack units: a piece that attacks the king's zone, and each square of it.
inline constexpr int kAttackUnits[8] = {0, 0, 3, 0, 0, 4, 2, 5};  // [piece code]
inline constexpr int kAttackedZoneUnits = 1;

template <int c>
void AimAtKing(AttackSets& sets, int code, SquareSet attacks) {
    const SquareSet aimed = attacks & sets.zone[1 - c];
    if (aimed == 0) return;
    ++sets.attackers[c];
    sets.danger[c] += kAttackUnits[code] + kAttackedZoneUnits * PopCount(aimed);
}

// Squares held by an own pawn, out of reach of the enemy's, in the enemy's half.
template <int c>
SquareSet Outposts(const AttackSets& sets) {
    constexpr SquareSet kHalf =
        RelativeRankSet<c>(3) | RelativeRankSet<c>(4) | RelativeRankSet<c>(5);
    return kHalf & sets.by[c][PAWN] & ~sets.pawnReach[1 - c];
}

template <int c, class Sum>
void AddKnights(AttackSets& sets, Sum& sum) {
    const SquareSet posts = Outposts<c>(sets);
    const int pawns = std::min(Board.PawnCount[c], 8), king = Board.KingSquare[c];
    for (SquareSet men = Board.Knights[c]; men != 0;) {
        const int square = TakeLowest(men);
        const SquareSet attacks = KnightAttacks[square];
        NoteAttacks<c>(sets, KNIGHT, attacks);
        AimAtKing<c>(sets, KNIGHT, attacks);
        sum.template Add<c>(kWeights.material[kKnight]);
        sum.template Add<c>(
            kWeights
                .enemyKingDistance[kKnight][Distance[square][Board.KingSquare[1 - c]]]);
        sum.template Add<c>(kWeights.knightPawns[pawns]);
        sum.template Add<c>(kWeights.placement[kKnight][TableIndex<c>(square)]);
        sum.template Add<c>(kWeights.knightMobility[PopCount(attacks & sets.free[c])]);
        sum.template Add<c>(kWeights.kingDistance[0][Distance[square][king]]);
        if ((posts & SquareMask(square)) != 0)
            sum.template Add<c>(kWeights.outpost[0]);
        else if ((posts & attacks & ~Board.Occupied[c]) != 0)
            sum.template Add<c>(kWeights.reachableOutpost);
    }
}

template <int c, class Sum>
void AddBishops(AttackSets& sets, Sum& sum) {
    const SquareSet bishops = Board.Bishops[c];
    if (bishops == 0) return;
    const SquareSet posts = Outposts<c>(sets), occupied = AllOccupied();
    const int king = Board.KingSquare[c];
    const SquareSet blocked = Board.Pawns[c] & Backward<c>(occupied);
    if (OnLightAndDark(bishops))
        sum.template Add<c>(kWeights.bishopPair[std::min(Board.PawnCount[c], 8)]);
    for (SquareSet men = bishops; men != 0;) {
        const int square = TakeLowest(men);
        // Through the own queen, with whom it works together.
        const SquareSet attacks = BishopAttacks(square, occupied & ~Board.Queens[c]);
        const SquareSet colour =
            (SquareMask(square) & LightSquares) != 0 ? LightSquares : DarkSquares;
        NoteAttacks<c>(sets, BISHOP, attacks);
        AimAtKing<c>(sets, BISHOP, attacks);
        sum.template Add<c>(kWeights.material[kBishop]);
        sum.template Add<c>(
            kWeights
                .enemyKingDistance[kBishop][Distance[square][Board.KingSquare[1 - c]]]);
        sum.template Add<c>(kWeights.placement[kBishop][TableIndex<c>(square)]);
        sum.template Add<c>(kWeights.bishopMobility[PopCount(attacks & sets.free[c])]);
        sum.template Add<c>(kWeights.kingDistance[1][Distance[square][king]]);
        sum.template Add<c>(
            kWeights.bishopPawns[std::min(PopCount(Board.Pawns[c] & colour), 8)]);
        sum.template Add<c>(
            kWeights.bishopBlocked[std::min(PopCount(blocked & colour), 8)]);
        if ((posts & SquareMask(square)) != 0) sum.template Add<c>(kWeights.outpost[1]);
    }
}

template <int c, class Sum>
void AddRook(AttackSets& sets, int square, SquareSet attacks, Sum& sum) {
    constexpr int e = 1 - c;
    const SquareSet file = FileSet(FileOf(square)), pawns = Board.Pawns[c];
    if ((file & pawns) == 0)
        sum.template Add<c>(kWeights.rookFile[(file & Board.Pawns[e]) == 0 ? 1 : 0]);
    else if ((FileAhead<c>(square) & pawns & Backward<c>(AllOccupied())) != 0)
        sum.template Add<c>(kWeights.rookClosed);
    if (RelativeRank<c>(square) == 6 && ((Board.Kings[e] & RelativeRankSet<c>(7)) != 0 ||
                                         (Board.Pawns[e] & SeventhRank[c]) != 0))
        sum.template Add<c>(kWeights.rookSeventh);
    if ((attacks & file & (Board.Rooks[c] | Board.Queens[c])) != 0)
        sum.template Add<c>(kWeights.rooksDoubled);
    sum.template Add<c>(kWeights.rookMobility[PopCount(attacks & sets.free[c])]);
}

template <int c, class Sum>
void AddRooks(AttackSets& sets, Sum& sum) {
    const SquareSet through = AllOccupied() & ~(Board.Rooks[c] | Board.Queens[c]);
    const int pawns = std::min(Board.PawnCount[c], 8);
    for (SquareSet men = Board.Rooks[c]; men != 0;) {
        const int square = TakeLowest(men);
        const SquareSet attacks = RookAttacks(square, through);
        NoteAttacks<c>(sets, ROOK, attacks);
        AimAtKing<c>(sets, ROOK, attacks);
        sum.template Add<c>(kWeights.material[kRook]);
        sum.template Add<c>(
            kWeights.enemyKingDistance[kRook][Distance[square][Board.KingSquare[1 - c]]]);
        sum.template Add<c>(kWeights.rookPawns[pawns]);
        sum.template Add<c>(kWeights.placement[kRook][TableIndex<c>(square)]);
        AddRook<c>(sets, square, attacks, sum);
    }
}

template <int c, class Sum>
void AddQueens(AttackSets& sets, Sum& sum) {
    const SquareSet free =
        sets.free[c] &
        ~(sets.by[1 - c][KNIGHT] | sets.by[1 - c][BISHOP] | sets.by[1 - c][ROOK]);
    for (SquareSet men = Board.Queens[c]; men != 0;) {
        const int square = TakeLowest(men);
        const SquareSet attacks = QueenLines(square);
        NoteAttacks<c>(sets, QUEEN, attacks);
        AimAtKing<c>(sets, QUEEN, attacks);
        sum.template Add<c>(kWeights.material[kQueen]);
        sum.template Add<c>(
            kWeights
                .enemyKingDistance[kQueen][Distance[square][Board.KingSquare[1 - c]]]);
        sum.template Add<c>(kWeights.placement[kQueen][TableIndex<c>(square)]);
        sum.template Add<c>(
            kWeights.queenMobility[std::min(PopCount(attacks & free), 27)]);
    }
}

// Minor pieces behind a pawn, and squares for them behind the pawns in the centre.
template <int c, class Sum>
void AddSpace(const AttackSets& sets, Sum& sum) {
    constexpr SquareSet kCentre = FileSet(2) | FileSet(3) | FileSet(4) | FileSet(5);
    constexpr SquareSet kOwnHalf =
        kCentre & (RelativeRankSet<c>(1) | RelativeRankSet<c>(2) | RelativeRankSet<c>(3));
    constexpr int e = 1 - c;
    const SquareSet minors = Board.Knights[c] | Board.Bishops[c];
    const SquareSet all = Board.Pawns[c] | Board.Pawns[e];
    sum.template Add<c>(kWeights.behindPawn, PopCount(Forward<c>(minors) & all));
    const SquareSet safe = kOwnHalf & ~(Board.Pawns[c] | sets.by[e][PAWN]);
    SquareSet behind = Backward<c>(Board.Pawns[c]);
    behind |= Backward<c>(behind) | Backward<c>(Backward<c>(behind));
    sum.template Add<c>(
        kWeights.space[std::min(PopCount(safe) + PopCount(safe & behind), 16)]);
}
