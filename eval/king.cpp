// An attack is a sum of units gathered by the pieces, turned into centipawns by a table
// and multiplied by a factor of the defects of the attacked king's shelter.
#include "eval/king.h"

#include <algorithm>

#include "eval/state.h"

namespace {

// A side's castling; all doubled while the enemy has a queen.
constexpr int kCastledKingside = 20, kCastledQueenside = 15;
constexpr int kKingMoved = -22, kKingRookMoved = -12, kQueenRookMoved = -10;

constexpr int kQueenAgainstWeakKing = 30;
constexpr int kMuchLessSafe = 4;  // defects more than the other king's, exclusive

constexpr int kFewestUnits = -8, kMostUnits = 119;
// [attack units + 8]; from 27 units on the last value.
constexpr int kAttackScore[] = {
    -25, -25, -20, -20, -15, -15, -10, -5,   // -8 to -1
    0,   2,   5,   12,  15,  20,  30,  40,   // 0 to 7
    50,  60,  70,  80,  90,  100, 110, 120,  // 8 to 15
    125, 125, 130, 130, 135, 135, 140, 145,  // 16 to 23
    150, 160, 170, 180,                      // 24 to 27
};
constexpr int kLastAttackScore = 27;
constexpr int kLeastFactor = 16, kMostFactor = 32;  // sixteenths

// [defects of the attacked king]: they raise the attack by a sixteenth for every two
// beyond two.
struct DefenceFactors {
    int values[64];
};
consteval DefenceFactors MakeDefenceFactors() {
    DefenceFactors factors{};
    for (int defects = 0; defects < 64; ++defects)
        factors.values[defects] = std::clamp(15 + defects / 2, kLeastFactor, kMostFactor);
    return factors;
}
constexpr DefenceFactors kDefenceFactor = MakeDefenceFactors();

// Castled, or what has been lost of the chance to.
template <int c>
int CastlingFor() {
    int score = 0;
    if (Board.CastledKingside[c] != 0) {
        score = kCastledKingside;
    } else if (Board.CastledQueenside[c] != 0) {
        score = kCastledQueenside;
    } else if (KingMoved<c>() != 0) {
        score = kKingMoved;
    } else {
        score =
            kKingRookMoved * KingRookMoved<c>() + kQueenRookMoved * QueenRookMoved<c>();
    }
    return Board.Queens[1 - c] != 0 ? 2 * score : score;
}

// The colour has a queen, and the enemy king needs shelter more than its own has to.
template <int c>
int QueenFor(const Terms& t) {
    constexpr int e = 1 - c;
    if (Board.Queens[c] == 0 || t.ending[e]) return 0;
    const bool weaker = t.ending[c] || t.defended[e] > t.defended[c] + kMuchLessSafe;
    return weaker ? kQueenAgainstWeakKing : 0;
}

// The root side's attack is weighted with its aggressivity, the opponent's with its fear.
template <int c>
int AttackFor(Terms& t) {
    t.danger[c] = std::clamp(t.danger[c], kFewestUnits, kMostUnits);
    const int weight = EvaluationInput.RootSide == c ? EvaluationInput.Aggressivity
                                                     : EvaluationInput.Cowardice;
    return weight * AttackOnKing(t.danger[c], t.defended[1 - c]) / 100;
}

}  // namespace

int CastlingTerms() { return CastlingFor<WHITE>() - CastlingFor<BLACK>(); }

int QueenAgainstWeakKing(const Terms& t) {
    return QueenFor<WHITE>(t) - QueenFor<BLACK>(t);
}

int AttackTerms(Terms& t) { return AttackFor<WHITE>(t) - AttackFor<BLACK>(t); }

// The factor is in sixteenths.
int AttackOnKing(int units, int defects) {
    const int score = kAttackScore[std::min(units, kLastAttackScore) - kFewestUnits];
    return score * kDefenceFactor.values[defects] >> 4;
}
