#include "search/strong/deepen.h"

#include <algorithm>
#include <cstdlib>

#include "eval/evaluate.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/strong/evaluation.h"
#include "search/strong/node.h"
#include "search/strong/reductions.h"
#include "search/strong/step.h"

namespace {

constexpr int kDeepestIteration = 99;
constexpr int kAspiration = 18;  // half-width of the first window, centipawns
constexpr int kFullWindowBefore =
    5;  // plies; below them the window is as wide as it can be
constexpr int kWidestWindow = 600;  // beyond it nothing is gained by a bound
constexpr int kMostFailsHigh = 2;   // plies taken off after fails high
constexpr int kMateMargin = 6;      // plies
constexpr int kMateBeyond = MateScore - kMateBound;
constexpr int kUnreduced = 3;    // root moves searched in full
constexpr int kReducedFrom = 3;  // plies of depth

struct {
    int stability;  // iterations since the best move changed
    int lastScore;  // of the iteration before
    Move lastBest;
} Progress;

struct Window {
    int alpha, beta;
};

int Bounded(int score) { return std::clamp(score, -ScoreBound, ScoreBound); }

void PrepareLine() {
    for (SearchFrame& frame : Strong.frames)
        frame = {.move = NO_MOVE,
                 .pieceTo = kNoPieceTo,
                 .evaluation = kNoEvaluation,
                 .killers = {NO_MOVE, NO_MOVE},
                 .excluded = NO_MOVE,
                 .doubleExtended = 0};
    for (PrincipalLine& line : Strong.lines) line.length = 0;
    Strong.nullMoveFrom = 0;
    std::fill(std::begin(Strong.effort), std::end(Strong.effort), 0);
    if (Line.InCheckAt[0] == 0)
        FrameAt(0)->evaluation = CorrectedEvaluation(StaticEvaluation());
}

// The effort follows its move.
void Promote(int index) {
    std::rotate(Strong.effort, Strong.effort + index, Strong.effort + index + 1);
    PromoteRootMove(index);
}

int ReductionAt(int index, int depth, int newDepth) {
    const bool late = depth >= kReducedFrom && index > kUnreduced;
    if (!late || !IsQuiet(RootMoves[index]) || Root.RootGivesCheck[index] != 0) return 0;
    const int plies = BaseReduction(depth, index) / kReductionUnit - 1;
    return std::clamp(plies, 0, std::max(newDepth - 1, 0));
}

// The value of a root move, which stands on the board.
int SearchMoveAt(int index, const Window& window, int depth, int reduction) {
    if (index == 0) return -SearchOpen(-window.beta, -window.alpha, depth);
    int v = -SearchNull(-window.alpha, depth - reduction, true);
    if (v > window.alpha && reduction > 0 && Control.StopSearch == 0)
        v = -SearchNull(-window.alpha, depth, true);
    if (v > window.alpha && v < window.beta && Control.StopSearch == 0)
        v = -SearchOpen(-window.beta, -window.alpha, depth);
    return v;
}

// The value of a root move, void when the search stops; a new best one's line is kept.
int SearchRootMove(int index, const Window& window, int depth) {
    const bool check = Root.RootGivesCheck[index] != 0;
    const std::int64_t before = Result.NodeCount;
    const int newDepth = depth - 1 + (check ? 1 : 0);
    const int reduction = ReductionAt(index, depth, newDepth);
    Root.RootMoveIndex = index;
    const int S = Board.SideToMove;
    StepInto(RootMoves[index], S, 0, FrameAt(0));
    Strong.lines[1].length = 0;
    const std::uint64_t key = PositionKey();
    const int v = SearchMoveAt(index, window, newDepth, reduction);
    StepBack();
    Strong.effort[index] += Result.NodeCount - before;
    if (Control.StopSearch != 0 || v <= window.alpha) return v;
    ExtendLine(RootMoves[index]);
    Strong.lineKey = key;
    return v;
}

// One pass over the root moves inside the window; the best score.
int SearchRoot(Window window, int depth) {
    int best = -ScoreBound;
    for (int i = 0; i < Root.RootMoveCount; ++i) {
        const int v = SearchRootMove(i, window, depth);
        if (Control.StopSearch != 0) return best;
        Root.RootScores[i] = i == 0 || v > window.alpha ? v : -ScoreBound;
        if (v <= best) continue;
        best = v;
        if (v <= window.alpha) continue;
        window.alpha = v;
        if (i > 0) Promote(i);
        if (v >= window.beta) break;
    }
    return best;
}

// The window around the last score, opened where the score falls out. After a fail high
// the move is known to be good: less depth will do to find out how good.
int SearchAspired(int depth) {
    int delta = kAspiration, fails = 0;
    Window window = {-ScoreBound, ScoreBound};
    if (depth >= kFullWindowBefore)
        window = {Bounded(Progress.lastScore - delta),
                  Bounded(Progress.lastScore + delta)};
    for (;;) {
        const int v = SearchRoot(window, std::max(depth - fails, 1));
        if (Control.StopSearch != 0) return v;
        if (v <= window.alpha) {
            window = {Bounded(v - delta), (window.alpha + window.beta) / 2};
            fails = 0;
        } else if (v >= window.beta) {
            window.beta = Bounded(v + delta);
            fails = std::min(fails + 1, kMostFailsHigh);
        } else {
            return v;
        }
        delta += delta;
        if (delta > kWidestWindow) window = {-ScoreBound, ScoreBound};
    }
}

// Stores the best move and notes how settled the search is.
void FinishIteration(int score, int depth) {
    RootScore = score;
    ThinkingLine(false);
    StoreResult(PositionKey(), RootMoves[0], score, kNoEvaluation, depth, kExact);
    const bool same = RootMoves[0] == Progress.lastBest;
    Progress.stability = same ? Progress.stability + 1 : 0;
    Progress.lastBest = RootMoves[0];
}

// Percent of all nodes that went into the best move.
int EffortOfBest() {
    return static_cast<int>(Strong.effort[0] * 100 / (Result.NodeCount + 1));
}

// A mate this far within the searched depth is, but for what pruning has hidden, the
// shortest.
bool IsMateFound(int score, int depth) {
    const int distance = MateScore - std::abs(score);
    return distance < kMateBeyond && depth >= 2 * distance + kMateMargin;
}

void Deepen() {
    Progress = {.stability = 0, .lastScore = 0, .lastBest = RootMoves[0]};
    for (int depth = 1; depth <= Control.DepthLimit; ++depth) {
        if (depth > kDeepestIteration) return MissPondering();
        Root.RootDepth = depth - 1;
        Strong.depth = depth;
        const int score = SearchAspired(depth);
        if (Control.StopSearch != 0) return;
        FinishIteration(score, depth);
        if (IsMateFound(score, depth)) return MissPondering();
        const int fall = depth > kFullWindowBefore ? Progress.lastScore - score : 0;
        Progress.lastScore = score;
        if (IsTimeUp(Progress.stability, fall, EffortOfBest())) return;
    }
}

}  // namespace

void DeepenStrong() {
    AgeResults();
    AgeHistory();
    BeginTiming();
    PrepareLine();
    Deepen();
}
