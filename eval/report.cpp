// The report of an evaluation, "evl": its names are those that users know.
#include "eval/development.h"
#include "eval/evaluate.h"
#include "eval/terms.h"
#include "platform/output.h"

namespace {

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
        LastEvaluation.PSValue[BLACK], LastEvaluation.PSValue[WHITE],
        static_cast<std::int16_t>(LastEvaluation.pawnScore), Board.Positional[BLACK],
        Board.Positional[WHITE]);
    WriteFileSet("PassedVector[BLACK]", LastEvaluation.PassedVector[BLACK]);
    WriteFileSet("PassedVector[WHITE]", LastEvaluation.PassedVector[WHITE]);
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
          LastEvaluation.shieldDefects[BLACK][0], LastEvaluation.shieldDefects[BLACK][1],
          LastEvaluation.shieldDefects[WHITE][0], LastEvaluation.shieldDefects[WHITE][1]);
    Write("Defended[BLACK]=%d Defended[WHITE]=%d\n", LastEvaluation.Defended[BLACK],
          LastEvaluation.Defended[WHITE]);
    Write("Danger[BLACK]=%d Danger[WHITE]=%d\n", LastEvaluation.Danger[BLACK],
          LastEvaluation.Danger[WHITE]);
    Write("Attacks[ChangeSide(SideToMove)]=%d\n", AttackBy(side));
    Write("Attacks[SideToMove]=%d\n", AttackBy(other));
    Write("Shelter[BLACK]=%d Shelter[WHITE]=%d\n", ShelterOf(BLACK), ShelterOf(WHITE));
    Write("Dng=%d\n", KingDanger(side));
}

}  // namespace

// A settled ending leaves the values of the evaluation before it.
void WriteEvaluationReport() {
    const int heuristic = Evaluated(-kFullWindow, kFullWindow);
    Write("Heuristic=%d\n", heuristic);
    WritePawns();
    WriteMaterial();
    WriteKings();
    FlushOutput();
}
