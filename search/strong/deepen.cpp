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
#include "search/strong/helpers.h"
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
constexpr int kForcedDepth = 4;
// Below full strength the first iteration is to be whole, so that there is a choice: its
// cap is so many nodes, for positions with endless captures, if the level's is smaller.
constexpr std::int64_t kFirstPassNodes = 20000;

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
    Strong.tableHits = 0;
    std::fill(std::begin(Strong.effort), std::end(Strong.effort), 0);
    if (Line.InCheckAt[0] == 0)
        FrameAt(0)->evaluation = CorrectedEvaluation(StaticEvaluation());
}

// The best move of a line comes before those that are searched after it.
void Promote(int index, int line) {
    MoveRootMove(index, line);
    if (line == 0) ThinkingLine(false);
}

// `number` counts the moves of the line's search from 0.
int ReductionAt(int index, int number, int depth, int newDepth) {
    const bool late = depth >= kReducedFrom && number > kUnreduced;
    if (!late || !IsQuiet(RootMoves[index]) || Root.RootGivesCheck[index] != 0) return 0;
    const int plies = BaseReduction(depth, number) / kReductionUnit - 1;
    return std::clamp(plies, 0, std::max(newDepth - 1, 0));
}

// The value of a root move, which stands on the board.
int SearchMoveAt(bool first, const Window& window, int depth, int reduction) {
    if (first) return -SearchOpen(-window.beta, -window.alpha, depth);
    int v = -SearchNull(-window.alpha, depth - reduction, true);
    if (v > window.alpha && reduction > 0 && Control.StopSearch == 0)
        v = -SearchNull(-window.alpha, depth, true);
    if (v > window.alpha && v < window.beta && Control.StopSearch == 0)
        v = -SearchOpen(-window.beta, -window.alpha, depth);
    return v;
}

// The value of a root move, void when the search stops; a new best one's line is kept.
int SearchRootMove(int index, int line, const Window& window, int depth) {
    const bool check = Root.RootGivesCheck[index] != 0;
    const std::int64_t before = Result.NodeCount;
    const int newDepth = depth - 1 + (check ? 1 : 0);
    const int reduction = ReductionAt(index, index - line, depth, newDepth);
    Root.RootMoveIndex = index;
    const int S = Board.SideToMove;
    StepInto(RootMoves[index], S, 0, FrameAt(0));
    Strong.lines[1].length = 0;
    const std::uint64_t key = PositionKey();
    const int v = SearchMoveAt(index == line, window, newDepth, reduction);
    StepBack();
    Strong.effort[index] += Result.NodeCount - before;
    if (Control.StopSearch != 0 || v <= window.alpha) return v;
    ExtendLine(RootMoves[index]);
    NoteLine(line, v, v < window.beta ? kExact : kLowerBound, key);
    return v;
}

// One pass inside the window over the root moves behind those of the better lines; the
// best score.
int SearchRoot(int line, Window window, int depth) {
    int best = -ScoreBound;
    for (int i = line; i < Root.RootMoveCount; ++i) {
        const int v = SearchRootMove(i, line, window, depth);
        if (Control.StopSearch != 0) return best;
        Root.RootScores[i] = i == line || v > window.alpha ? v : -ScoreBound;
        if (v <= best) continue;
        best = v;
        if (v <= window.alpha) continue;
        window.alpha = v;
        if (i > line) Promote(i, line);
        if (v >= window.beta) break;
        if (i > line) TellNewLine();
    }
    return best;
}

// The window around the last score, opened where the score falls out. After a fail high
// the move is known to be good: less depth will do to find out how good.
int SearchAspired(int line, int lastScore, int depth) {
    int delta = kAspiration, fails = 0;
    Window window = {-ScoreBound, ScoreBound};
    if (depth >= kFullWindowBefore)
        window = {Bounded(lastScore - delta), Bounded(lastScore + delta)};
    Strong.deepest = 0;
    for (;;) {
        const int v = SearchRoot(line, window, std::max(depth - fails, 1));
        if (Control.StopSearch != 0) return v;
        if (v <= window.alpha) {
            TellBound(v, kUpperBound);
            window = {Bounded(v - delta), (window.alpha + window.beta) / 2};
            fails = 0;
        } else if (v >= window.beta) {
            TellBound(v, kLowerBound);
            window.beta = Bounded(v + delta);
            fails = std::min(fails + 1, kMostFailsHigh);
        } else {
            return v;
        }
        delta += delta;
        if (delta > kWidestWindow) window = {-ScoreBound, ScoreBound};
    }
}

// The lines of one iteration, each searched without the moves of those before it; the
// best score.
int SearchLines(int depth) {
    for (int line = 0; line < Strong.rootLines.wanted; ++line) {
        const int lastScore = line == 0
                                  ? Progress.lastScore
                                  : LastScoreOf(RootMoves[line], Progress.lastScore);
        SearchAspired(line, lastScore, depth);
        if (Control.StopSearch != 0) return 0;
        SortLine(line);
    }
    SettleLines();
    return Strong.rootLines.shown[0].score;
}

// Stores the best move and notes how settled the search is.
void FinishIteration(int score, int depth) {
    RootScore = score;
    CountHelperNodes();
    ThinkingLine(false);
    if (FullThinkingWanted()) TellLines();
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

bool AreMatesFound(int depth) {
    const RootLines& lines = Strong.rootLines;
    return std::all_of(
        lines.shown, lines.shown + lines.shownCount,
        [depth](const RootLine& line) { return IsMateFound(line.score, depth); });
}

// The only move needs no thought where time counts, but a look at what may follow.
int LastDepth() {
    const MoveLimits& limits = Strong.time.limits;
    const bool forced = Root.RootMoveCount == 1 && (limits.soft > 0 || limits.hard > 0);
    return forced ? std::min(Control.DepthLimit, kForcedDepth) : Control.DepthLimit;
}

void Deepen() {
    Progress = {.stability = 0, .lastScore = 0, .lastBest = RootMoves[0]};
    const int lastDepth = LastDepth();
    for (int depth = 1; depth <= lastDepth; ++depth) {
        if (depth > kDeepestIteration) return MissPondering();
        if (!HelpedIteration(depth)) continue;
        Root.RootDepth = depth - 1;
        Strong.depth = depth;
        const int score = SearchLines(depth);
        if (Control.StopSearch != 0) return;
        FinishIteration(score, depth);
        if (IsLimited()) CapNodes(LevelOf(Strong.strength.elo).nodes);
        if (AreMatesFound(depth)) return MissPondering();
        const int fall = depth > kFullWindowBefore ? Progress.lastScore - score : 0;
        Progress.lastScore = score;
        if (IsTimeUp(Progress.stability, fall, EffortOfBest())) return;
    }
}

// What a broken-off iteration has found of several lines is not the whole.
void DeepenLines(int lines) {
    ClearLines(lines, WantedLines());
    Deepen();
    if (Strong.rootLines.shownCount == 0) SettleLines();
    if (lines > 1) PlayLine(0);
}

void DeepenLimited() {
    const StrengthLevel level = LevelOf(Strong.strength.elo);
    BeginLimited();
    PrepareLine();
    RestrictRoot();
    if (FindTableMove()) {
        NoteOnlyLine();
        return EndLimited();
    }
    CapNodes(std::max(level.nodes, kFirstPassNodes));
    DeepenLines(std::max(WantedLines(), std::min(level.lines, Root.RootMoveCount)));
    EndLimited();
}

}  // namespace

void DeepenStrong() {
    ClearLines(0, 0);
    // On the opponent's time there is nothing to find out about an only move, and limited
    // strength does not think then.
    const bool limited = IsLimited();
    if (Ponder.PonderSearch != 0 && (limited || Root.RootMoveCount < 2))
        return MissPondering();
    AgeResults();
    AgeHistory();
    BeginTiming();
    if (limited) return DeepenLimited();
    PrepareLine();
    RestrictRoot();
    DeepenLines(WantedLines());
    DismissHelpers();
}
