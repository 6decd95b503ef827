// All terms of the strong search's evaluation in their order.
#pragma once

#include "eval/strong/king.h"
#include "eval/strong/material.h"
#include "eval/strong/pawns.h"
#include "eval/strong/pieces.h"
#include "eval/strong/threats.h"

template <class Sum>
void AddMaterialPairs(const MenCounts& counts, Sum& sum) {
    AddMaterial<WHITE>(counts, sum);
    AddMaterial<BLACK>(counts, sum);
}

template <class Sum>
void AddPawnStructure(Sum& sum) {
    AddStructures<WHITE>(sum);
    AddStructures<BLACK>(sum);
}

// All but the pawn structure; the passers of the evaluation must be known.
template <class Sum>
void AddPieceTerms(const Terms& t, Sum& sum) {
    AttackSets sets;
    BeginAttacks<WHITE>(sets);
    BeginAttacks<BLACK>(sets);
    sets.free[WHITE] &= ~sets.by[BLACK][PAWN];
    sets.free[BLACK] &= ~sets.by[WHITE][PAWN];
    AddKnights<WHITE>(sets, sum);
    AddKnights<BLACK>(sets, sum);
    AddBishops<WHITE>(sets, sum);
    AddBishops<BLACK>(sets, sum);
    AddRooks<WHITE>(sets, sum);
    AddRooks<BLACK>(sets, sum);
    AddQueens<WHITE>(sets, sum);
    AddQueens<BLACK>(sets, sum);
    AddSpace<WHITE>(sets, sum);
    AddSpace<BLACK>(sets, sum);
    AddPassers<WHITE>(sets, t.passers[WHITE], sum);
    AddPassers<BLACK>(sets, t.passers[BLACK], sum);
    AddThreats<WHITE>(sets, sum);
    AddThreats<BLACK>(sets, sum);
    AddKingPlace<WHITE>(sum);
    AddKingPlace<BLACK>(sum);
    const int white = AddShelter<WHITE>(sum), black = AddShelter<BLACK>(sum);
    AddAttack<WHITE>(sets, black, sum);
    AddAttack<BLACK>(sets, white, sum);
    if (Board.SideToMove == WHITE)
        sum.template Add<WHITE>(kWeights.tempo);
    else
        sum.template Add<BLACK>(kWeights.tempo);
}
