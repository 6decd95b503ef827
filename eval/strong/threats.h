// Men that are attacked by less, or not defended enough.
#pragma once

#include "eval/strong/attacks.h"
#include "eval/strong/sum.h"

// The weight of each kind's men in the set.
template <int c, class Sum>
void AddVictims(const Weight (&weights)[kKinds], SquareSet set, Sum& sum) {
    constexpr int e = 1 - c;
    if ((set & Board.Occupied[e]) == 0) return;
    sum.template Add<c>(weights[kPawn], PopCount(set & Board.Pawns[e]));
    sum.template Add<c>(weights[kKnight], PopCount(set & Board.Knights[e]));
    sum.template Add<c>(weights[kBishop], PopCount(set & Board.Bishops[e]));
    sum.template Add<c>(weights[kRook], PopCount(set & Board.Rooks[e]));
    sum.template Add<c>(weights[kQueen], PopCount(set & Board.Queens[e]));
}

// Safe steps of pawns that would attack something.
template <int c, class Sum>
void AddPushes(const AttackSets& sets, Sum& sum) {
    constexpr int e = 1 - c;
    const SquareSet empty = ~AllOccupied();
    SquareSet steps = Forward<c>(Board.Pawns[c]) & empty;
    steps |= Forward<c>(steps & RelativeRankSet<c>(2)) & empty;
    steps &= ~sets.by[e][PAWN] & (sets.all[c] | ~sets.all[e]);
    AddVictims<c>(kWeights.pawnPush, PawnCover<c>(steps) & ~sets.by[c][PAWN], sum);
}

// Squares from which a safe move would attack the queen.
template <int c, class Sum>
void AddQueenHunt(const AttackSets& sets, Sum& sum) {
    constexpr int e = 1 - c;
    if (!ExactlyOne(Board.Queens[e])) return;
    const int queen = LowestSquare(Board.Queens[e]);
    const SquareSet safe =
        sets.free[c] & ~Board.Occupied[c] & (sets.twice[c] | ~sets.all[e]);
    const SquareSet knights = KnightAttacks[queen] & sets.by[c][KNIGHT] & safe;
    const SquareSet bishops = BishopLines(queen) & sets.by[c][BISHOP] & safe;
    const SquareSet rooks = RookLines(queen) & sets.by[c][ROOK] & safe;
    sum.template Add<c>(kWeights.queenHunt[0], PopCount(knights));
    sum.template Add<c>(kWeights.queenHunt[1], PopCount(bishops | rooks));
}

template <int c, class Sum>
void AddThreats(const AttackSets& sets, Sum& sum) {
    constexpr int e = 1 - c;
    const SquareSet men = Board.Occupied[e];
    const SquareSet held = sets.by[e][PAWN];
    const SquareSet open = men & ~held;
    AddVictims<c>(kWeights.pawnAttacks, sets.by[c][PAWN], sum);
    AddVictims<c>(kWeights.knightAttacks, sets.by[c][KNIGHT] & open, sum);
    AddVictims<c>(kWeights.bishopAttacks, sets.by[c][BISHOP] & open, sum);
    AddVictims<c>(kWeights.rookAttacks, sets.by[c][ROOK] & open, sum);
    AddVictims<c>(kWeights.queenAttacks, sets.by[c][QUEEN] & open, sum);
    AddVictims<c>(kWeights.kingAttacks, sets.by[c][KING] & open, sum);
    AddVictims<c>(kWeights.minorOnDefended,
                  (sets.by[c][KNIGHT] | sets.by[c][BISHOP]) & held, sum);
    AddVictims<c>(kWeights.hanging, sets.all[c] & ~sets.all[e], sum);
    const SquareSet both = sets.all[c] & sets.all[e] & ~held;
    sum.template Add<c>(kWeights.restricted,
                        PopCount(both & (sets.twice[c] | ~sets.twice[e])));
    AddPushes<c>(sets, sum);
    AddQueenHunt<c>(sets, sum);
}
