// The order of the terms and the exits between them; the terms themselves stand in files
// of their own. Lazy evaluation: the margins are learned from the terms left out.
#include "eval/evaluate.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "eval/development.h"
#include "eval/drawish.h"
#include "eval/endgame.h"
#include "eval/king.h"
#include "eval/material.h"
#include "eval/passers.h"
#include "eval/pawns.h"
#include "eval/pieces.h"
#include "eval/shelter.h"
#include "eval/terms.h"

EvaluationInputs EvaluationInput = {
    .RootSide = WHITE, .Aggressivity = 100, .Cowardice = 100};
AdaptiveMargins Margins;
EvaluationRecord LastEvaluation;

namespace {

constexpr int kNewPositionalMargin = 280, kNewLazyMargin = 180;
constexpr int kPositionalFloor = 300, kLazyFloor = 200;  // margins decay down to here
constexpr int kMaterialMargin = 600;  // of the first lazy exit, centipawns

// From White's view to the side to move's, and back.
int ForMover(int score) { return Board.SideToMove == WHITE ? score : -score; }

// True when the recognisers settled the score; alpha then says it.
bool SettleEnding(const EndingVerdict& verdict, int& alpha) {
    switch (verdict.verdict) {
        case Verdict::None:
            return false;
        case Verdict::Draw:
            alpha = std::max(alpha, 0);
            return true;
        case Verdict::Loss:
            return true;
        case Verdict::Score:
            alpha = std::max(alpha, verdict.score);
            return true;
    }
    return false;
}

}  // namespace

bool StartEndgame(Terms& t, int balance, int& score, int& alpha) {
    if (Board.MatingFlagsValid == 0) UpdateMatingFlags();
    if (Board.NoMatingMaterial[WHITE] != 0 && Board.NoMatingMaterial[BLACK] != 0) {
        alpha = std::max(alpha, 0);
        return false;
    }
    const EndingVerdict verdict = RecogniseEnding();
    if (SettleEnding(verdict, alpha)) return false;
    t.ending[WHITE] = IsEnding(WHITE);
    t.ending[BLACK] = IsEnding(BLACK);
    score = balance + ForMover(verdict.bonus) + MatingHelp(t.ending) +
            KingEndingPlacement(t.ending, balance);
    return true;
}

namespace {

// Both sides strong: the first lazy exit, then castling. False when the exit was taken.
bool StartMiddlegame(Terms& t, int balance, int& score, int& alpha, int beta) {
    const int base = ForMover(balance);
    if (base > beta + kMaterialMargin) {
        alpha = beta;
        return false;
    }
    if (base < alpha - kMaterialMargin) return false;
    t.ending[WHITE] = t.ending[BLACK] = false;
    score = balance + CastlingTerms();
    return true;
}

// The terms that Evaluate runs before its second lazy exit, White's view.
int CheapTerms(Terms& t) {
    int score = Board.Positional[WHITE] - Board.Positional[BLACK] + TrappedBishops();
    score += PawnTerms(t);
    if ((t.passers[WHITE] | t.passers[BLACK]) != 0) score += PasserTerms(t);
    score += ShelterTerms(t);
    return score + BishopTerms(t) + QueenAgainstWeakKing(t);
}

// The rest of the terms, White's view.
int PieceTerms(Terms& t) {
    int score = PiecePlacement(t) + AttackTerms(t);
    if (!t.endgame) score += DevelopmentForWhite();
    return score;
}

// The second lazy exit: the rest of the terms cannot bring the score back between the
// bounds.
bool IsOutside(int score, int& alpha, int beta) {
    if (Board.Units[WHITE] + Board.Units[BLACK] == 0) return false;
    if (score + Margins.LazyMargin < alpha) return true;
    if (score - Margins.LazyMargin <= beta) return false;
    alpha = beta;
    return true;
}

// Without pawns the shield is looked at only for a king that has to hide.
void KeepShield(const Terms& t) {
    const bool pawns = (Board.Pawns[WHITE] | Board.Pawns[BLACK]) != 0;
    if (!pawns && t.ending[WHITE] && t.ending[BLACK]) return;
    std::memcpy(LastEvaluation.shieldDefects, t.pawns->defects,
                sizeof LastEvaluation.shieldDefects);
}

void Keep(const Terms& t) {
    std::memcpy(LastEvaluation.Defended, t.defended, sizeof t.defended);
    std::memcpy(LastEvaluation.Danger, t.danger, sizeof t.danger);
    LastEvaluation.PassedVector[WHITE] = t.pawns->Of(WHITE).passed;
    LastEvaluation.PassedVector[BLACK] = t.pawns->Of(BLACK).passed;
    LastEvaluation.pawnScore = t.pawnScore;
    KeepShield(t);
}

// Shrunk by a quarter, down to a floor.
int Decayed(int margin, int floor) { return std::max(margin * 3 / 4, floor); }

}  // namespace

// A new game's margins lie below the floors, to which the first search lifts them.
void ResetMargins() {
    Margins.PositionalMargin = kNewPositionalMargin;
    Margins.LazyMargin = kNewLazyMargin;
}

void DecayMargins() {
    Margins.PositionalMargin = Decayed(Margins.PositionalMargin, kPositionalFloor);
    Margins.LazyMargin = Decayed(Margins.LazyMargin, kLazyFloor);
}

int AttackBy(int attacker) {
    return AttackOnKing(LastEvaluation.Danger[attacker],
                        LastEvaluation.Defended[ChangeSide(attacker)]);
}

int ShelterOf(int colour) { return ShelterPenalty(LastEvaluation.Defended[colour]); }

int KingDanger(int attacker) {
    return AttackBy(attacker) + ShelterOf(ChangeSide(attacker));
}

// The sequence matters: each lazy exit compares the sum of the terms before it with the
// bounds, and the margin of the second one is measured on the terms behind it.
void Evaluate(int& alpha, int beta) {
    Terms t;
    t.endgame = IsEndgame();
    const int balance = MaterialBalanceForWhite();
    int start = 0;
    if (!(t.endgame ? StartEndgame(t, balance, start, alpha)
                    : StartMiddlegame(t, balance, start, alpha, beta)))
        return;
    int score = ForMover(start + CheapTerms(t));
    if (t.endgame) score = ClampCantWin(score);
    if (IsOutside(score, alpha, beta)) return;
    const int lazyBase = score;  // what the second exit has seen
    score += ForMover(PieceTerms(t));
    if (t.endgame && score != 0) score = ScaleDrawish(score, ForMover(balance));
    Keep(t);
    Margins.LazyMargin = std::max(Margins.LazyMargin, std::abs(score - lazyBase));
    Margins.PositionalMargin =
        std::max(Margins.PositionalMargin, std::abs(score - ForMover(balance)));
    alpha = std::max(alpha, score);
}
