// The static evaluation: material, pawns, kings, pieces and endgame knowledge in one
// fixed sequence of terms with two early exits against the caller's bounds.
#pragma once

#include "board/board.h"
#include "eval/state.h"

struct Terms;

// A window that no evaluation reaches: Evaluate with +-kFullWindow is exact.
inline constexpr int kFullWindow = 32700;

// The margins of the lazy exits: for a new game.
void ResetMargins();
// At each search's start: both shrink, down to a floor.
void DecayMargins();

// Scores the position for the side to move, in centipawns. On return alpha is the larger
// of its entry value and the score; a lazy exit that proves the score to be at least beta
// stores beta, one that proves it to be at most alpha leaves alpha as it was. Both kings
// must be on the board.
void Evaluate(int& alpha, int beta);

// The value Evaluate leaves when it starts from `lower`.
inline int Evaluated(int lower, int upper) {
    Evaluate(lower, upper);
    return lower;
}

// Little material on a side: recognisers of known endings, then the drive of a king to
// the edge and the kings' own placement, added to the balance for White. False when alpha
// already holds the result for the side to move.
bool StartEndgame(Terms& t, int balance, int& score, int& alpha);

// By the last evaluation that ran all terms, centipawns before the settings' weights: the
// attack score of a colour on the other king, weighted with that king's defects; the
// shelter penalty of a colour's king; and both together, the danger of the other king.
int AttackBy(int attacker);
int ShelterOf(int colour);
int KingDanger(int attacker);

// Writes the report of the current position ("evl").
void WriteEvaluationReport();
