#include "eval/report.h"

#include "eval/development.h"
#include "eval/evaluate.h"
#include "eval/king.h"
#include "eval/pawns.h"
#include "eval/shelter.h"
#include "platform/output.h"

int Defended[2];
int Danger[2];
int pawn_score;
std::uint8_t PassedVector[2];
std::uint8_t white_defects_k, white_defects_q, black_defects_k, black_defects_q;

namespace {

// The attack of a colour on the other king, before the settings' weights.
int Attacks(int attacker) {
    return AttackOnKing(Danger[attacker], Defended[ChangeSide(attacker)]);
}

// The penalty for a king's defects, before the settings' weights.
int Shelter(int colour) { return ShelterPenalty(Defended[colour]); }

// From the h-file, bit 0, to the a-file.
void WriteFileSet(const char* label, unsigned files) {
    Write("%s=", label);
    for (int bit = 0; bit < 8; ++bit) Write("%d", static_cast<int>(files >> bit & 1));
}

// Structure and placement; there is no separator between the two file sets.
void WritePawns() {
    Write(
        "PSValue[BLACK]=%d PSValue[WHITE]=%d pawn_score=%d Positional[BLACK]=%d "
        "Positional[WHITE]=%d\n",
        PSValue[BLACK], PSValue[WHITE], static_cast<std::int16_t>(pawn_score),
        Board.Positional[BLACK], Board.Positional[WHITE]);
    WriteFileSet("PassedVector[BLACK]", PassedVector[BLACK]);
    WriteFileSet("PassedVector[WHITE]", PassedVector[WHITE]);
    Write("\n");
}

void WriteMaterial() {
    Write("Material[WHITE]=%d Material[BLACK]=%d\n", Board.Material[WHITE],
          Board.Material[BLACK]);
    Write("ENDING(WHITE)=%d ENDING(BLACK)=%d\n", static_cast<int>(IsEnding(WHITE)),
          static_cast<int>(IsEnding(BLACK)));
    Write("Development=%d\n\n", Development());
}

// Shield, defects, attack units and what comes of them.
void WriteKings() {
    const int side = Board.SideToMove, other = ChangeSide(side);
    Write("black_defects_k=%d black_defects_q=%d white_defects_k=%d white_defects_q=%d\n",
          black_defects_k, black_defects_q, white_defects_k, white_defects_q);
    Write("Defended[BLACK]=%d Defended[WHITE]=%d\n", Defended[BLACK], Defended[WHITE]);
    Write("Danger[BLACK]=%d Danger[WHITE]=%d\n", Danger[BLACK], Danger[WHITE]);
    Write("Attacks[ChangeSide(SideToMove)]=%d\n", Attacks(side));
    Write("Attacks[SideToMove]=%d\n", Attacks(other));
    Write("Shelter[BLACK]=%d Shelter[WHITE]=%d\n", Shelter(BLACK), Shelter(WHITE));
    Write("Dng=%d\n", KingDanger(side));
}

// Without pawns the shield is looked at only for a king that has to hide.
void LeaveShield(const Terms& t) {
    const bool pawns = (Board.Pawns[WHITE] | Board.Pawns[BLACK]) != 0;
    if (!pawns && t.ending[WHITE] && t.ending[BLACK]) return;
    white_defects_k = t.pawns->defects[WHITE][0];
    white_defects_q = t.pawns->defects[WHITE][1];
    black_defects_k = t.pawns->defects[BLACK][0];
    black_defects_q = t.pawns->defects[BLACK][1];
}

}  // namespace

void LeaveForReport(const Terms& t) {
    for (int c : {WHITE, BLACK}) {
        Defended[c] = t.defended[c];
        Danger[c] = t.danger[c];
        PassedVector[c] = t.pawns->Of(c).passed;
    }
    pawn_score = t.pawnScore;
    LeaveShield(t);
}

int KingDanger(int attacker) { return Attacks(attacker) + Shelter(ChangeSide(attacker)); }

// A settled ending leaves the values of the evaluation before it.
void WriteEvaluationReport() {
    const int heuristic = Evaluated(-kFullWindow, kFullWindow);
    Write("Heuristic=%d\n", heuristic);
    WritePawns();
    WriteMaterial();
    WriteKings();
    FlushOutput();
}
