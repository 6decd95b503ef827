// Iterative deepening: every iteration searches the root moves inside a narrow window
// around the last score, keeps the best move in front and reports it.
#include <algorithm>
#include <cstdlib>

#include "eval/evaluate.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/outward.h"
#include "search/search.h"

int RootScores[kMaxMoves];
std::uint8_t RootGivesCheck[kMaxMoves];
int RootMoveCount;
int RootMoveIndex;
int RootDepth;
int DepthLimit;
int RootGamePly;
int PreviousScore;
int BookMovePlayed;
std::int64_t NodeCount;
int HashMoveBonus;

namespace {

constexpr int kFirstIteration = 2;
constexpr int kIterationsEnd = 99;
constexpr int kAspiration = 15;       // half-width of the root window, centipawns
constexpr int kFullWindowBefore = 3;  // iterations below it use the widest window
// Depth units that a root move gets on top of the iteration's depth.
constexpr int kRootBonus = 30, kRootCheckBonus = 90;

// The evaluation's margins shrink from search to search, down to a floor.
constexpr int kPositionalFloor = 300, kLazyFloor = 200;
int Decayed(int margin, int floor) {
    const int decayed = margin * 3 / 4;
    return decayed <= floor ? floor : decayed;
}

// The window of the iteration.
int Alpha, Beta;

int Clamp(int score) { return std::clamp(score, -ScoreBound, ScoreBound); }

// Window around a new best score.
void CentreWindow(int score) {
    Alpha = Clamp(score - kAspiration);
    Beta = Clamp(score + kAspiration);
}

// A ponder search that cannot go on has predicted nothing that could be answered.
void EndPondering() {
    if (PonderSearch == 0) return;
    PendingMove = NO_MOVE;
    PonderMiss = 1;
}

void PrepareSearch(int depthLimit) {
    AdvanceTableAge(1);
    RootSide = Board.SideToMove;
    RootGamePly = Board.GamePly;
    PollCountdown = PollInterval;
    NodeCount = 0;
    PositionalMargin = Decayed(PositionalMargin, kPositionalFloor);
    LazyMargin = Decayed(LazyMargin, kLazyFloor);
    MoveStackTop = 0;
    BookMovePlayed = 0;
    DepthLimit = depthLimit;
    Ply = 0;
    RootMoveIndex = 0;
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
    if (StopSearch != 0) return 0;
    RootScore = v;
    ThinkingLine(false);
    RootScore = s;
    if (v < s) {
        Beta = v;
        return move.Search(Alpha, v);
    }
    if (v > s) {
        Alpha = v;
        return move.Search(v, Beta);
    }
    return v;
}

// Opens the window on the side where the first move's score fell out, then centres it.
int SettleFirstMove(const RootMove& move, int v) {
    if (v <= Alpha) {
        Alpha = -ScoreBound;
        v = std::max(v, -ScoreBound);
        v = move.Search(-ScoreBound, v);
    } else if (v >= Beta) {
        Beta = ScoreBound;
        v = std::min(v, ScoreBound);
        v = move.Search(v, ScoreBound);
    }
    if (StopSearch != 0) return 0;
    CentreWindow(v);
    RootScore = v;
    return v;
}

// A later move beat the best: it moves to the front and gets its exact score.
int SettleNewBest(const RootMove& move, int v) {
    RootScores[move.index] = v;
    PromoteRootMove(move.index);
    Beta = Clamp(RootScore + kAspiration);
    v = move.Search(v, Beta);
    if (StopSearch != 0) return 0;
    if (v >= Beta) {
        Beta = ScoreBound;
        RootScore = v;
        v = move.Search(v, ScoreBound);
        if (StopSearch != 0) return 0;
    }
    Beta = Clamp(v + kAspiration);
    RootScore = v;
    ThinkingLine(false);
    return v;
}

// Searches root move `index`; false when the search was stopped.
bool SearchRootMove(int index) {
    const bool givesCheck = RootGivesCheck[index] != 0;
    const RootMove move = {
        index, RootDepth * OnePly + (givesCheck ? kRootCheckBonus : kRootBonus)};
    MakeMove(RootMoves[index]);
    InCheckAt[1] = givesCheck ? 1 : 0;
    bool bestChanged = false;
    const bool first = index == 0;

    int v = first && RootDepth >= kFullWindowBefore ? SearchFirstMove(move)
                                                    : move.Search(Alpha, Beta);
    if (StopSearch == 0) {
        if (first) {
            v = SettleFirstMove(move, v);
        } else if (v > Alpha && v < kMateBound) {
            v = SettleNewBest(move, v);
            bestChanged = true;
        }
    }
    UnmakeMove();
    if (StopSearch != 0) return false;
    if (!bestChanged) RootScores[index] = v;
    if (v > Alpha) {
        Alpha = v;
        if (!bestChanged) PromoteRootMove(index);
    }
    Beta = Alpha + 1;
    return true;
}

// One iteration; false when it was stopped.
bool Iterate(int depth) {
    RootMoveIndex = 0;
    if (depth > kFirstIteration) PollCountdown = -1;
    ++NodeCount;
    HashMoveBonus = (OnePly + depth - 1) / depth;
    if (depth < kFullWindowBefore) {
        Alpha = -ScoreBound;
        Beta = ScoreBound;
    } else {
        CentreWindow(RootScore);
    }
    RootDepth = depth;
    for (int i = 0; i < RootMoveCount; ++i) {
        RootMoveIndex = i;
        if (!SearchRootMove(i)) return false;
    }
    return true;
}

// Plays by the book, if it knows the position: there is then nothing to search or to
// ponder on.
bool TakeBookMove() {
    Move m = BookProbe();
    if (m == NO_MOVE) return false;
    EndPondering();
    const bool lastRank = RankOf(To(m)) == 0 || RankOf(To(m)) == 7;
    if (Moving(m) == PAWN && lastRank)
        m = MakeWord(From(m), To(m), PAWN, Captured(m), QUEEN);
    RootMoves[0] = m;
    // The choice was not forced: the list counts as one of several moves.
    MoveStackTop = RootMoveCount = 2;
    RootScore = 0;
    BookMovePlayed = 1;
    RootDepth = 1;
    return true;
}

void StoreRoot() {
    if (IsEnPassant(RootMoves[0])) return;
    const int ply = Ply;
    Ply = 0;
    HashStore((RootDepth + 1) * OnePly + kRootBonus, RootScore, RootMoves[0], kExact, 0);
    Ply = ply;
}

void Deepen() {
    Ply = 1;
    for (int depth = kFirstIteration; depth < DepthLimit; ++depth) {
        if (depth == kIterationsEnd) {
            RootDepth = kIterationsEnd;
            EndPondering();
            return;
        }
        if (!Iterate(depth)) return;
        StoreRoot();
        if (std::abs(RootScore) > ScoreBound - depth) {
            EndPondering();
            return;
        }
    }
}

}  // namespace

bool Search(int depthLimit, bool bookAllowed) {
    if (!HasBothKings()) return true;
    PrepareSearch(depthLimit);
    if (bookAllowed && BookLoaded != 0 && TakeBookMove()) return false;
    ExtFlags[1] = 0;
    if (GameOverCheck()) return true;
    if (RootMoveCount < 2)
        EndPondering();
    else
        Deepen();
    Ply = 0;
    return false;
}

void PromoteRootMove(int index) {
    const Move m = RootMoves[index];
    const int score = RootScores[index];
    const std::uint8_t givesCheck = RootGivesCheck[index];
    std::copy_backward(RootMoves, RootMoves + index, RootMoves + index + 1);
    std::copy_backward(RootScores, RootScores + index, RootScores + index + 1);
    std::copy_backward(RootGivesCheck, RootGivesCheck + index,
                       RootGivesCheck + index + 1);
    RootMoves[0] = m;
    RootScores[0] = score;
    RootGivesCheck[0] = givesCheck;
    ThinkingLine(false);
}
