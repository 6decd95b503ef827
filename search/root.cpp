// Iterative deepening: every iteration searches the root moves inside a narrow window
// around the last score, keeps the best move in front and reports it.
#include "search/root.h"

#include <algorithm>
#include <cstdlib>

#include "eval/evaluate.h"
#include "search/alphabeta.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/history.h"
#include "search/outward.h"
#include "search/quiesce.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/searcher.h"

SearchResult Result;

namespace {

constexpr int kFirstIteration = 2;
constexpr int kIterationsEnd = 99;
constexpr int kAspiration = 15;       // half-width of the root window, centipawns
constexpr int kFullWindowBefore = 3;  // iterations below it use the widest window
// Depth units that a root move gets on top of the iteration's depth.
constexpr int kRootBonus = 30, kRootCheckBonus = 90;

// The window of the iteration.
struct {
    int alpha, beta;
} Window;

int Clamp(int score) { return std::clamp(score, -ScoreBound, ScoreBound); }

// Window around a new best score.
void CentreWindow(int score) {
    Window.alpha = Clamp(score - kAspiration);
    Window.beta = Clamp(score + kAspiration);
}

// The state that every search starts from, also one that the book answers.
void PrepareSearch(int depthLimit, bool bookAllowed) {
    AdvanceTableAge(1);
    EvaluationInput.RootSide = Board.SideToMove;
    Root.RootGamePly = Board.GamePly;
    Control.PollCountdown = Control.PollInterval;
    Result.NodeCount = Result.HelperNodes = 0;
    DecayMargins();
    Generated.MoveStackTop = 0;
    Result.BookMovePlayed = 0;
    Result.ForGame = bookAllowed ? 1 : 0;
    Control.DepthLimit = depthLimit;
    Line.Ply = 0;
    Root.RootMoveIndex = 0;
}

// The root move being searched, on the board.
struct RootMove {
    int index;
    int depth;  // depth units of the position after it

    int Search(int alpha, int beta) const {
        return -AlphaBeta(-beta, -alpha, depth, true);
    }
};

// First a look just around the last score, then the half of the window where it lies.
int SearchFirstMove(const RootMove& move) {
    const int s = RootScore;
    const int v = move.Search(s - 1, s + 1);
    if (Control.StopSearch != 0) return 0;
    RootScore = v;
    ThinkingLine(false);
    RootScore = s;
    if (v < s) {
        Window.beta = v;
        return move.Search(Window.alpha, v);
    }
    if (v > s) {
        Window.alpha = v;
        return move.Search(v, Window.beta);
    }
    return v;
}

// Opens the window on the side where the first move's score fell out, then centres it.
int SettleFirstMove(const RootMove& move, int v) {
    if (v <= Window.alpha) {
        Window.alpha = -ScoreBound;
        v = std::max(v, -ScoreBound);
        v = move.Search(-ScoreBound, v);
    } else if (v >= Window.beta) {
        Window.beta = ScoreBound;
        v = std::min(v, ScoreBound);
        v = move.Search(v, ScoreBound);
    }
    if (Control.StopSearch != 0) return 0;
    CentreWindow(v);
    RootScore = v;
    return v;
}

// A later move beat the best: it moves to the front and gets its exact score.
// PromoteRootMove has written the score of the null-window search; the wider ones follow.
int SettleNewBest(const RootMove& move, int v) {
    Root.RootScores[move.index] = v;
    PromoteRootMove(move.index);
    Window.beta = Clamp(RootScore + kAspiration);
    v = move.Search(v, Window.beta);
    if (Control.StopSearch != 0) return 0;
    if (v >= Window.beta) {
        Window.beta = ScoreBound;
        RootScore = v;
        v = move.Search(v, ScoreBound);
        if (Control.StopSearch != 0) return 0;
    }
    Window.beta = Clamp(v + kAspiration);
    RootScore = v;
    ThinkingLine(false);
    return v;
}

// Searches root move `index`; false when the search was stopped.
bool SearchRootMove(int index) {
    const bool givesCheck = Root.RootGivesCheck[index] != 0;
    const RootMove move = {
        index, Root.RootDepth * OnePly + (givesCheck ? kRootCheckBonus : kRootBonus)};
    MakeMove(RootMoves[index]);
    Line.InCheckAt[1] = givesCheck ? 1 : 0;
    bool bestChanged = false;
    const bool first = index == 0;

    int v = first && Root.RootDepth >= kFullWindowBefore
                ? SearchFirstMove(move)
                : move.Search(Window.alpha, Window.beta);
    if (Control.StopSearch == 0) {
        if (first) {
            v = SettleFirstMove(move, v);
        } else if (v > Window.alpha && v < kMateBound) {
            v = SettleNewBest(move, v);
            bestChanged = true;
        }
    }
    UnmakeMove();
    if (Control.StopSearch != 0) return false;
    if (!bestChanged) Root.RootScores[index] = v;
    if (v > Window.alpha) {
        Window.alpha = v;
        if (!bestChanged) PromoteRootMove(index);
    }
    Window.beta = Window.alpha + 1;
    return true;
}

// One iteration; false when it was stopped.
// After the first move has set the window, the others only have to be shown to be worse.
bool Iterate(int depth) {
    Root.RootMoveIndex = 0;
    // The next node polls, so that an iteration begun without time left ends at once.
    if (depth > kFirstIteration) Control.PollCountdown = -1;
    ++Result.NodeCount;
    Root.HashMoveBonus = (OnePly + depth - 1) / depth;
    if (depth < kFullWindowBefore) {
        Window.alpha = -ScoreBound;
        Window.beta = ScoreBound;
    } else {
        CentreWindow(RootScore);
    }
    Root.RootDepth = depth;
    for (int i = 0; i < Root.RootMoveCount; ++i) {
        Root.RootMoveIndex = i;
        if (!SearchRootMove(i)) return false;
    }
    return true;
}

// Plays by the book, if it knows the position: there is then nothing to search or to
// ponder on.
bool TakeBookMove() {
    const Move m = BookProbe();
    if (m == NO_MOVE) return false;
    MissPondering();
    RootMoves[0] = m;
    // The choice was not forced: the list counts as one of several moves.
    Generated.MoveStackTop = Root.RootMoveCount = 2;
    RootScore = 0;
    Result.BookMovePlayed = 1;
    Root.RootDepth = 1;
    return true;
}

// The reported line is read from the table: its first move must be there.
void StoreRoot() {
    if (IsEnPassant(RootMoves[0])) return;
    const int ply = Line.Ply;
    Line.Ply = 0;
    HashStore((Root.RootDepth + 1) * OnePly + kRootBonus, RootScore, RootMoves[0], kExact,
              0);
    Line.Ply = ply;
}

void DeepenClassic() {
    Line.Ply = 1;
    for (int depth = kFirstIteration; depth < Control.DepthLimit; ++depth) {
        if (depth == kIterationsEnd) {
            Root.RootDepth = kIterationsEnd;
            MissPondering();
            return;
        }
        if (!Iterate(depth)) return;
        StoreRoot();
        // A mate within the searched depth: more depth will not find a shorter one.
        if (std::abs(RootScore) > ScoreBound - depth) {
            MissPondering();
            return;
        }
    }
}

// The classic table's exact entry of the position.
bool ExactResult(Move& move, int& score) {
    HashHit hit;
    if (!HashProbe(hit) || hit.boundType != kExact) return false;
    move = hit.move;
    score = ScoreFromTable(hit.score);
    return true;
}

// It searches on one core, whatever there are.
bool Allocate(int bits, int) { return AllocateTranspositionTable(bits); }

void Ignore(const char*) {}

// The line is read back from the table, so that the search keeps no line.
int ExpectedLine(Move* line, int most) {
    int count = 0;
    for (; count < most; ++count) {
        const Move m = HashMove();
        if (m == NO_MOVE) break;
        line[count] = m;
        MakeMove(m);
    }
    for (int made = count; made > 0; --made) UnmakeMove();
    return count;
}

}  // namespace

const Searcher ClassicSearch = {
    .allocate = Allocate,
    .release = FreeTranspositionTable,
    .forget = ClearHistoryAndKillers,
    .deepen = DeepenClassic,
    .bestKnown = HashMove,
    .exactResult = ExactResult,
    .expectedLine = ExpectedLine,
    .tellLines = nullptr,
    .askForLimits = Ignore,
    .hearWish = Ignore,
    .testQuiescence = TestQuiescence,
    .searchesOnlyMoves = false,
};

void ResetRoot() {
    Root = {};
    Result = {};
    Line = {};
    Generated.MoveStackTop = 0;
}

bool GameOverCheck() {
    if (AnnounceDraw()) return true;
    const bool tableMoveLeads = BuildRootMoves();
    if (Root.RootMoveCount == 0) {
        AnnounceNoMoves(Line.InCheckAt[0] != 0);
        return true;
    }
    if (tableMoveLeads) {
        Root.RootDepth = 1;
        ThinkingLine(true);
    }
    return false;
}

bool Search(int depthLimit, bool bookAllowed) {
    if (!HasBothKings()) return true;
    PrepareSearch(depthLimit, bookAllowed);
    if (bookAllowed && BookLoaded != 0 && TakeBookMove()) return false;
    Line.ExtFlags[1] = 0;
    if (GameOverCheck()) return true;
    // The only move needs no search.
    if (Root.RootMoveCount < 2 && !ActiveSearch().searchesOnlyMoves)
        MissPondering();
    else
        ActiveSearch().deepen();
    Line.Ply = 0;
    return false;
}

void PromoteRootMove(int index) {
    const Move m = RootMoves[index];
    const int score = Root.RootScores[index];
    const std::uint8_t givesCheck = Root.RootGivesCheck[index];
    std::copy_backward(RootMoves, RootMoves + index, RootMoves + index + 1);
    std::copy_backward(Root.RootScores, Root.RootScores + index,
                       Root.RootScores + index + 1);
    std::copy_backward(Root.RootGivesCheck, Root.RootGivesCheck + index,
                       Root.RootGivesCheck + index + 1);
    RootMoves[0] = m;
    Root.RootScores[0] = score;
    Root.RootGivesCheck[0] = givesCheck;
    ThinkingLine(false);
}
