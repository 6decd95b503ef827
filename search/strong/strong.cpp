// The strong search as the program sees it.
#include <algorithm>

#include "board/legalmoves.h"
#include "platform/memory.h"
#include "search/hash.h"
#include "search/searcher.h"
#include "search/strong/deepen.h"
#include "search/strong/helpers.h"
#include "search/strong/quiesce.h"
#include "search/strong/state.h"

StrongState Strong;

namespace {

void Release() {
    ReleaseHelpers();
    ReleaseResults();
    FreeTable(Strong.history, sizeof *Strong.history);
    FreeTable(Strong.corrections, sizeof *Strong.corrections);
    Strong.history = nullptr;
    Strong.corrections = nullptr;
}

// Zeroed memory: history without experience. Whole pages are aligned for everything.
bool Allocate(int bits, int threads) {
    constexpr int kMostBits = 31;
    Release();
    if (bits < 0 || bits > kMostBits) return false;
    Strong = {};
    Strong.history = static_cast<MoveHistory*>(AllocateTable(sizeof *Strong.history));
    Strong.corrections =
        static_cast<EvaluationCorrections*>(AllocateTable(sizeof *Strong.corrections));
    return Strong.history != nullptr && Strong.corrections != nullptr &&
           AllocateHelpers(threads) &&
           AllocateResults(std::size_t{kHashEntryBytes} << bits, threads > 1);
}

void Forget() {
    ClearHistory();
    ClearCorrections();
}

// Where others write too, the table's word alone is not enough.
Move BestKnown() {
    const Move m = LookUpResult(PositionKey()).move;
    return m != NO_MOVE && LegalMoves().Contains(m) ? m : NO_MOVE;
}

bool ExactResult(Move& move, int& score) {
    const KnownResult known = LookUpResult(PositionKey());
    if (!known.found || known.bound != kExact) return false;
    move = known.move;
    score = known.score;
    return true;
}

// The principal variation, if it goes through the position on the board; else what the
// table knows.
int ExpectedLine(Move* line, int most) {
    const RootLine& best = Strong.rootLines.shown[0];
    if (Strong.rootLines.shownCount > 0 && best.moves.length > 1 &&
        best.key == PositionKey()) {
        const int count = std::min(best.moves.length - 1, most);
        std::copy_n(best.moves.moves + 1, count, line);
        return count;
    }
    if (most == 0 || (line[0] = BestKnown()) == NO_MOVE) return 0;
    return 1;
}

}  // namespace

const Searcher StrongSearch = {
    .allocate = Allocate,
    .release = Release,
    .forget = Forget,
    .deepen = DeepenStrong,
    .bestKnown = BestKnown,
    .exactResult = ExactResult,
    .expectedLine = ExpectedLine,
    .tellLines = TellLines,
    .askForLimits = AskForLimits,
    .hearWish = HearWish,
    .testQuiescence = TestStrongQuiescence,
    .searchesOnlyMoves = true,
};
