#include "search/strong/timing.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "board/board.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/strong/helpers.h"
#include "search/strong/state.h"

namespace {

// ---- Shares of the clock ----
constexpr std::int64_t kReserve = 30;  // ms for what happens outside
constexpr int kLeastPart = 8;          // of the clock is there for thinking in any case
// Without a time control: moves at the start, one less for four made, and their least
// number.
constexpr int kExpectedMoves = 36, kMovesPerFewer = 4, kLeastExpected = 24;
constexpr int kMostMovesToGo = 40;
constexpr int kHardSofts = 4;
constexpr int kHardPercent = 50, kLastMovePercent = 80;  // of the clock
constexpr int kSoftPercent = 70;
constexpr int kMillisecondsPerCentisecond = 10, kMillisecondsPerSecond = 1000;

// ---- Looks at input and clock, in nodes ----
constexpr int kOftenBelow = 200;  // ms of the soft limit
constexpr int kOften = 300, kSeldom = 2000;
// The first iteration is not broken off before: a machine busy with other things has then
// taken the time.
constexpr int kFewNodes = 3000;

constexpr std::int64_t kProbeMilliseconds = 1000;
constexpr std::int64_t kLongestTime = 1000000000;

// ---- The soft limit in doubt, percent ----
constexpr int kBaseShare = 90;
constexpr int kUnstable = 110, kPerStable = 8, kStable = 50;
struct ScoreFall {
    int above, percent;
};
constexpr ScoreFall kScoreFalls[] = {{60, 180}, {25, 140}};
// By the part of the nodes that went into the best move: the less, the more time.
constexpr int kEffortlessShare = 200, kMostEffortShare = 170, kLeastEffortShare = 70;

std::int64_t Percent(std::int64_t value, int percent) { return value * percent / 100; }
int EffortShare(int effort) {
    return std::clamp(kEffortlessShare - effort * 13 / 10, kLeastEffortShare,
                      kMostEffortShare);
}
int FallShare(int fall) {
    for (const ScoreFall& step : kScoreFalls)
        if (fall > step.above) return step.percent;
    return 100;
}

// By the front end's clock and the moves made on the board.
MoveLimits LimitsOfGame() {
    if (Control.DepthLimit != kTimedDepthLimit) return {};
    const std::int64_t clock =
        std::int64_t{GameClock.EngineClock} * kMillisecondsPerCentisecond;
    const int made = (Board.GamePly + ArchivedPlies()) / 2;
    const int perControl = GameClock.MovesPerControl;
    return DivideClock(
        {.left = std::max(clock - kReserve, clock / kLeastPart),
         .increment = std::int64_t{GameClock.Increment} * kMillisecondsPerSecond,
         .movesToGo = perControl == 0 ? 0 : perControl - made % perControl,
         .moveNumber = made + 1},
        Ponder.PonderAllowed != 0);
}

// Analysis has no limits; those asked for hold once.
void TakeLimits() {
    MoveTime& time = Strong.time;
    time.limits = MoveLimits{};
    if (Result.ForGame != 0) time.limits = time.limitsAsked ? time.asked : LimitsOfGame();
    time.limitsAsked = false;
}

void SetPollInterval() {
    const MoveLimits& limits = Strong.time.limits;
    Control.PollInterval =
        limits.soft > 0 && limits.soft < kOftenBelow ? kOften : kSeldom;
}

// The next look comes no later than the node limit.
void WindUp() {
    const std::int64_t nodes = Strong.time.limits.nodes;
    Control.PollCountdown = Control.PollInterval;
    if (nodes > 0 && !Strong.time.pondering)
        Control.PollCountdown = static_cast<int>(
            std::clamp<std::int64_t>(nodes - NodesInAll() - 1, 0, Control.PollInterval));
}

bool Stop() {
    Control.StopSearch = 1;
    return true;
}

// The predicted move has come: from now on the search is one on the own time.
void NoticePonderHit() {
    MoveTime& time = Strong.time;
    if (!time.pondering || Ponder.PonderSearch != 0) return;
    time.pondering = false;
    time.begin = ElapsedMilliseconds();
    TakeLimits();
    SetPollInterval();
    // The opponent has thought for as long as the move may take.
    if (time.iterated && time.limits.soft > 0 && time.begin >= time.limits.soft)
        Control.StopSearch = 1;
}

bool LimitReached() {
    const MoveTime& time = Strong.time;
    if (time.pondering) return false;
    if (time.limits.nodes > 0 && NodesInAll() >= time.limits.nodes) return Stop();
    if (time.limits.hard == 0 || (!time.iterated && Result.NodeCount < kFewNodes))
        return false;
    return ElapsedMilliseconds() - time.begin >= time.limits.hard && Stop();
}

// Nobody but its parent has anything to tell a helper.
bool LookUp() {
    ReportHelper();
    WindUp();
    return false;
}

bool Look() {
    if (IsHelper()) return LookUp();
    if (Strong.time.alone) return Stop();
    CountHelperNodes();
    if (PollInput()) return true;
    if (Ponder.PonderProbe != 0 && ElapsedMilliseconds() > kProbeMilliseconds) {
        Ponder.ProbeTimeUp = 1;
        return Stop();
    }
    NoticePonderHit();
    WindUp();
    return Control.StopSearch != 0 || LimitReached();
}

}  // namespace

MoveLimits DivideClock(const ClockReading& clock, bool ponders) {
    const int expected =
        std::max(kExpectedMoves - clock.moveNumber / kMovesPerFewer, kLeastExpected);
    const int moves =
        clock.movesToGo == 0 ? expected : std::min(clock.movesToGo, kMostMovesToGo);
    const std::int64_t usable = std::clamp<std::int64_t>(clock.left, 1, kLongestTime);
    const std::int64_t increment =
        std::clamp<std::int64_t>(clock.increment, 0, kLongestTime);
    std::int64_t soft = usable / moves + increment * 3 / 4;
    if (ponders) soft = soft * 5 / 4;
    soft = std::min(soft, usable * kSoftPercent / 100);
    const int most = moves == 1 ? kLastMovePercent : kHardPercent;
    const std::int64_t hard =
        std::max<std::int64_t>(std::min(soft * kHardSofts, usable * most / 100), 1);
    return {.soft = std::clamp<std::int64_t>(soft, 1, hard), .hard = hard, .nodes = 0};
}

void AskForLimits(const char* line) {
    long long numbers[3];
    const char* at = line + std::strlen("limits");
    for (long long& number : numbers) {
        char* end = nullptr;
        number = std::strtoll(at, &end, 10);
        if (end == at || number < 0) return;
        at = end;
    }
    Strong.time.asked = {std::min<std::int64_t>(numbers[0], kLongestTime),
                         std::min<std::int64_t>(numbers[1], kLongestTime), numbers[2]};
    Strong.time.limitsAsked = true;
}

void BeginTiming() {
    MoveTime& time = Strong.time;
    time.pondering = Ponder.PonderSearch != 0;
    time.iterated = false;
    time.begin = 0;
    if (time.pondering)
        time.limits = MoveLimits{};
    else
        TakeLimits();
    SetPollInterval();
    WindUp();
}

void CapNodes(std::int64_t nodes) {
    std::int64_t& limit = Strong.time.limits.nodes;
    limit = limit > 0 ? std::min(limit, nodes) : nodes;
    WindUp();
}

bool CountNode() {
    ++Result.NodeCount;
    if (--Control.PollCountdown < 0) Look();
    return Control.StopSearch != 0;
}

bool IsTimeUp(int stability, int fall, int effort) {
    MoveTime& time = Strong.time;
    time.iterated = true;
    NoticePonderHit();
    if (time.pondering || time.limits.soft == 0) return false;
    std::int64_t limit = Percent(time.limits.soft, kBaseShare);
    limit = Percent(limit, std::max(kUnstable - kPerStable * stability, kStable));
    limit = Percent(limit, EffortShare(effort));
    limit = Percent(limit, FallShare(fall));
    return ElapsedMilliseconds() >= std::min(limit, time.limits.hard);
}
