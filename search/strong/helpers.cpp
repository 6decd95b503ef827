// Helpers differ by the depths that they leave out: so some are ahead of the others, and
// what they store serves those that come after.
#include "search/strong/helpers.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "platform/memory.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/strong/state.h"
#include "search/strong/strength.h"

namespace {

constexpr int kHelpedFrom = 5;           // plies: before, a search may be over at once
constexpr std::int64_t kShortPlan = 10;  // ms: not worth the start of helpers
// The start of helpers takes no more of an iteration: one part in so many of the hard
// limit, and so many ms without one.
constexpr int kStartShare = 20;
constexpr std::int64_t kLongestStart = 100;
constexpr int kHelpersInterval = 300;        // nodes between reports
constexpr int kFirstCycle = 2, kCycles = 4;  // iterations of which one is left out

// One helper's count, on a cache line of its own.
struct alignas(64) NodeCounter {
    std::atomic<std::int64_t> nodes;
};

// In memory that all share.
struct Blackboard {
    NodeCounter counters[std::max(kMostHelpers, 1)];
    // What the process had learned when the search began: helpers take it over.
    MoveHistory history;
    EvaluationCorrections corrections;
};

struct {
    int wanted;              // helpers; 0: one thread
    int started;             // of this search
    int next;                // to be tried, from 0
    bool told;               // that there is no room for all
    int number;              // of this helper, from 1; 0: this is none
    Blackboard* blackboard;  // none without helpers
} Team;

// One for which no time is planned lasts. Limited strength comes of few nodes.
bool IsWorthHelp(int depth) {
    const MoveLimits& limits = Strong.time.limits;
    return !IsLimited() && depth >= kHelpedFrom &&
           (limits.hard == 0 || limits.hard > kShortPlan);
}

void TellOfFewer() {
    if (Team.told) return;
    Team.told = true;
    Write("# Only %d of %d threads can be started\n", Team.started + 1, Team.wanted + 1);
    FlushOutput();
}

// Its own limits are none: it is ended.
void BeginHelping(int number) {
    Team.number = number;
    *Strong.history = Team.blackboard->history;
    *Strong.corrections = Team.blackboard->corrections;
    Strong.time.limits = MoveLimits{};
    Strong.time.pondering = false;
    Control.DepthLimit = kTimedDepthLimit;
    Control.PollInterval = Control.PollCountdown = kHelpersInterval;
    Result.NodeCount = Result.HelperNodes = 0;
}

// False when there is no room for another one.
bool StartOne(int index, bool yields) {
    const Copied copied = StartHelper(index, yields);
    if (copied == Copied::Helper) BeginHelping(index + 1);
    if (copied == Copied::Parent) ++Team.started;
    return copied != Copied::Failed;
}

void WriteOnBlackboard() {
    Blackboard& blackboard = *Team.blackboard;
    blackboard.history = *Strong.history;
    blackboard.corrections = *Strong.corrections;
    for (NodeCounter& counter : blackboard.counters) counter.nodes.store(0);
}

// As many threads as there are processors compete with nobody, the others wait for a free
// one. Where processes are slow to start, those left over wait for the next iteration.
// The loop is left in a helper too.
void StartHelpers() {
    if (Team.next == 0) WriteOnBlackboard();
    const std::int64_t hard = Strong.time.limits.hard;
    const std::int64_t end =
        ElapsedMilliseconds() + (hard == 0 ? kLongestStart : hard / kStartShare);
    const int processors = ProcessorCount();
    while (Team.next < Team.wanted && !IsHelper() && ElapsedMilliseconds() <= end) {
        const int index = Team.next++;
        if (StartOne(index, index + 1 >= processors)) continue;
        Team.next = Team.wanted;
        TellOfFewer();
    }
}

// Of so many iterations one is left out, by every helper another one.
bool LeavesOut(int depth) {
    const int cycle = kFirstCycle + (Team.number - 1) / 2 % kCycles;
    return (depth + Team.number) % cycle == 0;
}

}  // namespace

bool AllocateHelpers(int threads) {
    Team = {};
    Team.wanted = std::clamp(threads, 1, kMostThreads) - 1;
    if (Team.wanted == 0) return true;
    void* const memory = AllocateSharedTable(sizeof(Blackboard));
    if (memory == nullptr) return false;
    Team.blackboard = new (memory) Blackboard;
    return true;
}

void ReleaseHelpers() {
    FreeTable(Team.blackboard, sizeof(Blackboard));
    Team = {};
}

bool HelpedIteration(int depth) {
    if (Team.wanted == 0) return true;
    if (!IsHelper() && Team.next < Team.wanted && IsWorthHelp(depth)) StartHelpers();
    return !IsHelper() || !LeavesOut(depth);
}

void DismissHelpers() {
    if (IsHelper()) LeaveHelper();
    if (Team.started > 0) {
        EndHelpers();
        CountHelperNodes();
    }
    Team.started = Team.next = 0;
}

void ReportHelper() {
    if (IsOrphan()) LeaveHelper();
    Team.blackboard->counters[Team.number - 1].nodes.store(Result.NodeCount,
                                                           std::memory_order_relaxed);
}

void CountHelperNodes() {
    if (Team.started == 0) return;
    std::int64_t nodes = 0;
    for (int i = 0; i < Team.wanted; ++i)
        nodes += Team.blackboard->counters[i].nodes.load(std::memory_order_relaxed);
    Result.HelperNodes = nodes;
}

bool IsHelper() { return Team.number != 0; }
