// Time management: a budget for each move, and the rules by which the clock stops a
// search.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "eval/evaluate.h"
#include "platform/clock.h"
#include "search/control.h"
#include "search/rootmoves.h"

ClockState GameClock;
SearchControl Control;

namespace {

// Without a time control: shares of the clock, less the plies played; their least number.
constexpr int kMovesToGo = 110, kLeastMovesToGo = 26;
constexpr std::int64_t kBudgetCap = 18000000;  // ms; above it no increase applies
constexpr int kLowScore = 200;                 // below it a move gets a quarter more
constexpr int kShortBudget = 120;              // ms; below it the clock is read often
constexpr int kDangerUnits = 14;               // both sides above it: king safety counts
constexpr int kQuietScore = 320;
constexpr int kDangerThreshold = 30, kDangerFloor = 85, kDangerDivisor = 70;
constexpr int kProbeMilliseconds = 1000;
constexpr int kMillisecondsPerCentisecond = 10;
constexpr int kIncrementShare = 800;  // ms per second of increment: four fifths
constexpr int kHalfClock = 5;         // ms per centisecond: half the clock
constexpr int kHardBudgets = 3;

// A fall of the score since the last move stretches the limit.
struct ScoreFall {
    int above, factor;
};
constexpr ScoreFall kScoreFalls[] = {{280, 6}, {70, 4}, {20, 2}};

// A clock of any size must not overflow the budget.
int Narrowed(std::int64_t value) {
    constexpr std::int64_t kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -kMost, kMost));
}

// In quarter moves: the engine spends more than an even share early.
std::int64_t MovesToGo() {
    const int gamePly = Board.GamePly + ArchivedPlies();
    if (GameClock.MovesPerControl == 0)
        return std::max(kMovesToGo - gamePly, kLeastMovesToGo);
    const std::int64_t left =
        GameClock.MovesPerControl - gamePly / 2 % GameClock.MovesPerControl;
    return left * 4 + 2;
}

// Castled, or moved so that it cannot castle any more.
bool KingHasSettled(int c) {
    return Board.CastledKingside[c] != 0 || Board.CastledQueenside[c] != 0 ||
           (c == WHITE ? Board.WK : Board.BK) != 0;
}

// More time when the kings have settled, and when one of them is in danger.
std::int64_t WithKingSafety(std::int64_t budget) {
    if (Board.Units[WHITE] <= kDangerUnits || Board.Units[BLACK] <= kDangerUnits)
        return budget;
    const int e = Evaluated(-kFullWindow, kFullWindow);
    if (std::abs(e) >= kQuietScore) return budget;
    if (KingHasSettled(WHITE) && KingHasSettled(BLACK) && budget < kBudgetCap)
        budget += budget / 3;
    const int danger = std::max(KingDanger(WHITE), KingDanger(BLACK));
    if (danger > kDangerThreshold && budget < kBudgetCap)
        budget +=
            budget * (std::max(danger, kDangerFloor) - kDangerThreshold) / kDangerDivisor;
    return budget;
}

}  // namespace

std::int64_t ElapsedMilliseconds() {
    return ClockMilliseconds() - Control.SearchStartTime;
}

void ResetClock() {
    GameClock = {.EngineClock = -1, .MovesPerControl = 0, .Increment = 0};
    Control = {};
    SetUnlimitedBudget();
}

void StartSearchClock() { Control.SearchStartTime = ClockMilliseconds(); }

void SetUnlimitedBudget() {
    Control.TimeBudget = kUnlimitedBudget;
    Control.PollInterval = kLongPollInterval;
}

// Pondering pays back part of the time, hence the larger share when it is allowed.
void ComputeTimeBudget() {
    std::int64_t share = GameClock.EngineClock / MovesToGo();
    if (Ponder.PonderAllowed != 0) share = share * 5 / 2;
    std::int64_t budget = share * kMillisecondsPerCentisecond +
                          std::int64_t{GameClock.Increment} * kIncrementShare;
    if (Result.PreviousScore < kLowScore && budget < kBudgetCap) budget += budget / 4;
    Control.TimeBudget = Narrowed(HasBothKings() ? WithKingSafety(budget) : budget);
    Control.PollInterval =
        Control.TimeBudget < kShortBudget ? kShortPollInterval : kLongPollInterval;
}

// The first move of an iteration is broken off at the limit, the budget stretched by a
// fall of the score; a later one, which may yet be better, only past three budgets.
bool CheckClock() {
    if (Ponder.PonderSearch != 0 && Ponder.PonderProbe != 0 &&
        ElapsedMilliseconds() > kProbeMilliseconds) {
        Control.StopSearch = 1;
        Ponder.ProbeTimeUp = 1;
        return true;
    }
    Control.PollCountdown = Control.PollInterval;
    if (Control.DepthLimit != kTimedDepthLimit || Ponder.PonderSearch != 0) return false;
    const std::int64_t elapsed = ElapsedMilliseconds();
    const std::int64_t halfClock = std::int64_t{kHalfClock} * GameClock.EngineClock;
    if (Root.RootMoveIndex != 0 &&
        elapsed <= std::min(std::int64_t{kHardBudgets} * Control.TimeBudget, halfClock))
        return false;
    std::int64_t limit = std::max(std::int64_t{Control.TimeBudget},
                                  std::int64_t{kIncrementShare} * GameClock.Increment);
    const int fall = Result.PreviousScore - RootScore;
    for (const ScoreFall& step : kScoreFalls)
        if (fall > step.above) {
            limit *= step.factor;
            break;
        }
    limit = std::min(limit, halfClock);
    if (elapsed < limit) return false;
    Control.StopSearch = 1;
    return true;
}
