#include "eval/strong/evaluation.h"

#include <algorithm>

#include "eval/drawish.h"
#include "eval/evaluate.h"
#include "eval/passers.h"
#include "eval/pawns.h"
#include "eval/strong/allterms.h"
#include "eval/strong/sumtable.h"

namespace {

// A search meets the same pawns and the same material again and again.
struct {
    SumTable<14> pawns;
    SumTable<11> material;
} Known;

int ForMover(int score) { return Board.SideToMove == WHITE ? score : -score; }

// Minor pieces count one, rooks two, queens four: all at the start of a game.
int Phase() {
    const int pieces = Board.MinorCount[WHITE] + Board.MinorCount[BLACK] +
                       2 * (Board.MajorCount[WHITE] + Board.MajorCount[BLACK]);
    return std::min(pieces, kFullPhase);
}

int Balance() { return Board.Material[WHITE] - Board.Material[BLACK]; }

// Material, pawns and passers, and what helps in endings, White's view. False in a known
// ending, whose score for the side to move is then in `settled`.
bool FixedTerms(Terms& t, int& fixed, int& settled) {
    t.endgame = IsEndgame();
    fixed = Balance();
    if (t.endgame) {
        settled = -kFullWindow;
        if (!StartEndgame(t, fixed, fixed, settled)) return false;
    }
    fixed += PawnTerms(t);
    if ((t.passers[WHITE] | t.passers[BLACK]) != 0) fixed += PasserTerms(t);
    return true;
}

std::int32_t PawnStructureSum() {
    const std::uint64_t key =
        static_cast<std::uint64_t>(Board.PawnHash1) << 32 | Board.PawnHash2;
    return Known.pawns.Of(key, [] {
        PlaySum sum;
        AddPawnStructure(sum);
        return sum.packed;
    });
}

std::int32_t MaterialSum() {
    const MenCounts counts = CountMen();
    return Known.material.Of(MaterialKey(counts), [&] {
        PlaySum sum;
        AddMaterialPairs(counts, sum);
        return sum.packed;
    });
}

int Blended(Weight sum, int phase) {
    return (sum.Middlegame() * phase + sum.Endgame() * (kFullPhase - phase)) / kFullPhase;
}

}  // namespace

int StrongEvaluation() {
    Terms t;
    int fixed, settled;
    if (!FixedTerms(t, fixed, settled)) return settled;
    PlaySum sum;
    sum.packed = PawnStructureSum() + MaterialSum();
    AddPieceTerms(t, sum);
    Weight total;
    total.packed = sum.packed;
    const int score = ForMover(fixed + Blended(total, Phase()));
    return t.endgame ? ScaleDrawish(score, ForMover(Balance())) : score;
}

// An amount that no term reaches shows whether scores of either sign stay as they are.
bool RecordEvaluation(RecordedEvaluation& recorded) {
    constexpr int kProbe = 777;
    Terms t;
    int settled;
    if (!FixedTerms(t, recorded.fixed, settled)) return false;
    if (t.endgame && (ScaleDrawish(kProbe, Balance()) != kProbe ||
                      ScaleDrawish(-kProbe, -Balance()) != -kProbe))
        return false;
    recorded.phase = Phase();
    recorded.sum = {};
    AddMaterialPairs(CountMen(), recorded.sum);
    AddPawnStructure(recorded.sum);
    AddPieceTerms(t, recorded.sum);
    return true;
}
