#include "eval/king.h"

int Defended[2];
int Danger[2];

namespace {

// A side's castling; all doubled while the enemy has a queen.
constexpr int kCastledKingside = 20, kCastledQueenside = 15;
constexpr int kKingMoved = -22, kKingRookMoved = -12, kQueenRookMoved = -10;

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

}  // namespace

int CastlingTerms() { return CastlingFor<WHITE>() - CastlingFor<BLACK>(); }
int ShelterTerms(Terms& t) {
    t.defended[WHITE] = t.defended[BLACK] = 0;
    return 0;
}
int QueenAgainstWeakKing(const Terms&) { return 0; }
int AttackTerms(Terms& t) {
    t.danger[WHITE] = t.danger[BLACK] = 0;
    return 0;
}
int KingAttack(int) { return 0; }
int Shelter(int) { return 0; }
