// The line is read back from the transposition table, so that the search keeps no line.
#include "driver/thinkingline.h"

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
constexpr int kMostMoves = 20;
constexpr int kShownMateShift = 67;  // mates are shown from 32767 down

// Front ends know mates by their distance from 32767.
int ShownScore() {
    if (RootScore > kMateBound) return RootScore + kShownMateShift;
    if (RootScore < -kMateBound) return RootScore - kShownMateShift;
    return RootScore;
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

}  // namespace

void FinalThinkingLine() {
    Write("%d %d %lld %lld", Root.RootDepth + 1, ShownScore(),
          static_cast<long long>(ElapsedMilliseconds() / 10),
          static_cast<long long>(Result.NodeCount));
    WriteVariation();
    Write("\n");
    FlushOutput();
}

void ThinkingLine(bool force) {
    if (Modes.PostThinking == 0 || Ponder.PonderProbe != 0) return;
    // The first lines would flood the front end.
    if (!force && Result.NodeCount >= 1 && Result.NodeCount <= kQuietNodes) return;
    FinalThinkingLine();
}
