// The line is read back from the transposition table, so that the search keeps no line.
#include "driver/thinkingline.h"

#include <algorithm>

#include "board/notation.h"
#include "driver/modes.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/searcher.h"

namespace {

constexpr int kQuietNodes = 10000;  // no lines before so many nodes
constexpr int kMostMoves = 20, kMostFullMoves = 60;
constexpr int kShownMateShift = 67;  // mates are shown from 32767 down

// Front ends know mates by their distance from 32767.
int ShownScore(int score) {
    if (score > kMateBound) return score + kShownMateShift;
    if (score < -kMateBound) return score - kShownMateShift;
    return score;
}

void WriteMove(Move m) {
    char text[kMoveTextSize];
    MoveToTextWithoutPromotion(text, m);
    Write(" %s", text);
}

// The best move, then those that the search expects.
void WriteVariation() {
    WriteMove(RootMoves[0]);
    // During a search of the root move it is on the board already.
    const bool atRoot = Board.GamePly == Root.RootGamePly;
    if (atRoot) MakeMove(RootMoves[0]);
    Move line[kMostMoves - 1];
    const int count = ActiveSearch().expectedLine(line, kMostMoves - 1);
    if (atRoot) UnmakeMove();
    for (int i = 0; i < count; ++i) WriteMove(line[i]);
}

// The search tells its lines itself.
bool TellsInFull() {
    return Modes.FullThinking != 0 && ActiveSearch().tellLines != nullptr;
}

}  // namespace

// "line 1 depth 9 deepest 14 score -17 exact time 2540 nodes 7583264 full 12 tables 0 pv
// d7d6 d2d4": what follows the moves' word has promotion letters.
void FullThinkingLine(const FullThought& thought) {
    const char* const bound = thought.bound == kUpperBound   ? "upper"
                              : thought.bound == kLowerBound ? "lower"
                                                             : "exact";
    Write(
        "line %d depth %d deepest %d score %d %s time %lld nodes %lld full %d tables "
        "%lld pv",
        thought.rank, thought.depth, thought.deepest, ShownScore(thought.score), bound,
        static_cast<long long>(ElapsedMilliseconds()),
        static_cast<long long>(NodesInAll()), thought.permille,
        static_cast<long long>(thought.tableHits));
    for (int i = 0; i < std::min(thought.count, kMostFullMoves); ++i) {
        char text[kMoveTextSize];
        MoveToText(text, thought.moves[i]);
        Write(" %s", text);
    }
    Write("\n");
    FlushOutput();
}

bool FullThinkingWanted() {
    return Modes.FullThinking != 0 && Modes.PostThinking != 0 && Ponder.PonderProbe == 0;
}

void FinalThinkingLine() {
    if (TellsInFull() && ActiveSearch().tellLines()) return;
    Write("%d %d %lld %lld", Root.RootDepth + 1, ShownScore(RootScore),
          static_cast<long long>(ElapsedMilliseconds() / 10),
          static_cast<long long>(NodesInAll()));
    WriteVariation();
    Write("\n");
    FlushOutput();
}

void ThinkingLine(bool force) {
    if (Modes.PostThinking == 0 || Ponder.PonderProbe != 0) return;
    if (TellsInFull()) return;
    // The first lines would flood the front end.
    if (!force && Result.NodeCount >= 1 && Result.NodeCount <= kQuietNodes) return;
    FinalThinkingLine();
}
