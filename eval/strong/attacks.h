// What both sides attack: found once for an evaluation, used by all its terms.
#pragma once

#include <algorithm>

#include "board/attacks.h"
#include "eval/terms.h"

// Arrays are indexed by colour.
struct AttackSets {
    SquareSet by[2][8];      // by the men of a piece code together
    SquareSet all[2];        // by any man
    SquareSet twice[2];      // by two men at least
    SquareSet free[2];       // squares that count for mobility
    SquareSet zone[2];       // about the colour's king: what its enemies aim at
    SquareSet pawnReach[2];  // squares that its pawns attack or could by advancing
    int attackers[2];        // pieces that attack the other king's zone
    int danger[2];           // attack units against the other king
};

template <int c>
constexpr int TableIndex(int square) {
    return MirrorRank(Relative<c>(square));
}

template <int c>
SquareSet FilledForward(SquareSet set) {
    set |= Forward<c>(set);
    set |= Forward<c>(Forward<c>(set));
    return set | Forward<c>(Forward<c>(Forward<c>(Forward<c>(set))));
}

// A man's attacks join those of its side.
template <int c>
void NoteAttacks(AttackSets& sets, int code, SquareSet attacks) {
    sets.twice[c] |= sets.all[c] & attacks;
    sets.all[c] |= attacks;
    sets.by[c][code] |= attacks;
}

// Kings and pawns, and what their places say about the rest.
template <int c>
void BeginAttacks(AttackSets& sets) {
    const int king = Board.KingSquare[c];
    const SquareSet pawns = Board.Pawns[c];
    for (SquareSet& set : sets.by[c]) set = 0;
    const SquareSet cover = PawnCover<c>(pawns);
    const SquareSet ahead = Forward<c>(pawns);
    const SquareSet left = (ahead & ~FileSet(0)) >> 1, right = (ahead & ~FileSet(7)) << 1;
    sets.by[c][PAWN] = cover;
    sets.by[c][KING] = KingAttacks[king];
    sets.all[c] = cover | KingAttacks[king];
    sets.twice[c] = (cover & KingAttacks[king]) | (left & right);
    sets.free[c] = ~(pawns | Board.Kings[c]);
    sets.pawnReach[c] = PawnCover<c>(FilledForward<c>(pawns));
    // Not on the edge: a king there has fewer squares about it, but no fewer enemies.
    const int centre =
        SquareAt(std::clamp(FileOf(king), 1, 6), std::clamp(RankOf(king), 1, 6));
    sets.zone[c] = KingAttacks[centre] | SquareMask(centre);
    sets.attackers[c] = sets.danger[c] = 0;
}
