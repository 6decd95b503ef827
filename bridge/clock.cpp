// Division of the clock: a share of what is left plus most of the increment is the soft
// limit, three times that the hard one, both below three quarters of the clock.
#include "bridge/clock.h"

#include <algorithm>

#include "search/strong/timing.h"

namespace {

constexpr int kLeastDepth = 3, kGreatestDepth = 99;  // that "sd" makes sense of

// An order needs so long at most to stop an engine that looks every 20000 nodes.
constexpr std::int64_t kOrderTime = 15;  // ms
constexpr std::int64_t kShortMove = 5;   // below so many order times: a part goes

// The engine looks every 300 nodes when its own budget, here the bridge's plus what the
// position may add to it, is below 120 ms. Up to this it is given one.
constexpr std::int64_t kFinePlan = 60;  // ms

// On less the engine does not ponder: a miss must leave time to stop it.
constexpr std::int64_t kPonderClock = 300;  // ms

// Moves that a game still takes: so many at its start, one less for two made, down to a
// least number.
constexpr int kMovesAtStart = 40, kLeastMoves = 20;
constexpr int kMostMovesToGo = 60;

constexpr int kLeastPart = 8;  // of the clock is there for thinking in any case

constexpr int kLeastStrongDepth = 1;
constexpr std::int64_t kGrace = 15;  // ms that the strong search may be late

constexpr int kHardPlans = 3;  // the hard limit, in soft ones

// A fall of the score, in centipawns, since the last move stretches the limit: halves of
// it.
struct ScoreFall {
    int above, halves;
};
constexpr ScoreFall kScoreFalls[] = {{280, 6}, {70, 4}, {20, 3}};

std::int64_t AtLeastOne(std::int64_t time) { return std::max(time, std::int64_t{1}); }

// A fixed time for the move: the limits leave room for the order to be obeyed, and
// nothing stretches them.
TimePlan PlanMoveTime(std::int64_t time) {
    const std::int64_t limit = time > kShortMove * kOrderTime
                                   ? time - kOrderTime
                                   : time * (kShortMove - 1) / kShortMove;
    return {AtLeastOne(limit), AtLeastOne(limit)};
}

// A time control a move away leaves two thirds for it.
TimePlan PlanClock(const SearchLimits& limits, int moveNumber, std::int64_t overhead) {
    const std::int64_t clock = std::min(limits.clock, kLongestTime);
    const std::int64_t left = AtLeastOne(std::max(clock - overhead, clock / kLeastPart));
    const std::int64_t share =
        limits.movesToGo > 0
            ? left * 2 / (std::min(limits.movesToGo, kMostMovesToGo) * 2 + 1)
            : left / std::max(kMovesAtStart - moveNumber / 2, kLeastMoves);
    const std::int64_t increment = std::clamp<std::int64_t>(limits.increment, 0, clock);
    const std::int64_t most = AtLeastOne(left * 3 / 4);
    const std::int64_t soft = AtLeastOne(std::min(share + increment * 4 / 5, most));
    return {soft, std::min(soft * kHardPlans, most)};
}

// The engine's own clock divides what it is told by this.
std::int64_t EnginesShares(int gamePly) { return std::max(110 - gamePly, 26); }

}  // namespace

// Of a fixed time and a clock the smaller limit holds.
TimePlan PlanTime(const SearchLimits& limits, int moveNumber, std::int64_t overhead) {
    if (limits.endless) return {};
    const TimePlan move =
        limits.moveTime > 0 ? PlanMoveTime(limits.moveTime) : TimePlan{};
    if (limits.clock < 0) return move;
    const TimePlan game = PlanClock(limits, moveNumber, overhead);
    if (limits.moveTime <= 0) return game;
    return {std::min(move.soft, game.soft), std::min(move.hard, game.hard)};
}

std::int64_t StretchedLimit(const TimePlan& plan, int fall) {
    for (const ScoreFall& step : kScoreFalls)
        if (fall > step.above) return std::min(plan.soft * step.halves / 2, plan.hard);
    return plan.soft;
}

// A short plan is given to the engine as a clock of which its own share is not less. So
// it looks at its input often, and an order ends it within a millisecond; its own end of
// the search does not come before the bridge's.
std::string LimitCommands(const SearchLimits& limits, const TimePlan& plan, int gamePly,
                          bool ponder) {
    if (limits.depth > 0 || plan.soft == 0 || plan.soft > kFinePlan) {
        const int depth = limits.depth == 0
                              ? kGreatestDepth
                              : std::clamp(limits.depth, kLeastDepth, kGreatestDepth);
        return "time -1\nsd " + std::to_string(depth) + '\n';
    }
    std::int64_t share = (plan.soft + 9) / 10;  // centiseconds, rounded up
    if (ponder) share = (share * 2 + 4) / 5;    // it takes two and a half of them then
    return "level 0 0 0\ntime " + std::to_string(share * EnginesShares(gamePly)) + '\n';
}

// The time for a single move is used up; the clock's share is divided by the engine's own
// rule, for it is that rule's limits that the search stretches.
TimePlan PlanStrongTime(const SearchLimits& limits, int moveNumber, std::int64_t overhead,
                        bool ponder) {
    if (limits.endless) return {};
    const TimePlan move =
        limits.moveTime > 0 ? PlanMoveTime(limits.moveTime) : TimePlan{};
    if (limits.clock < 0) return move;
    const std::int64_t clock = std::min(limits.clock, kLongestTime);
    const MoveLimits share =
        DivideClock({.left = AtLeastOne(std::max(clock - overhead, clock / kLeastPart)),
                     .increment = std::clamp<std::int64_t>(limits.increment, 0, clock),
                     .movesToGo = std::min(limits.movesToGo, kMostMovesToGo),
                     .moveNumber = moveNumber},
                    ponder);
    if (limits.moveTime <= 0) return {share.soft, share.hard};
    return {std::min(move.soft, share.soft), std::min(move.hard, share.hard)};
}

// A soft limit that is also the hard one is no limit of iterations.
std::string StrongLimits(const SearchLimits& limits, const TimePlan& plan) {
    const std::int64_t soft = plan.soft == plan.hard ? 0 : plan.soft;
    return "limits " + std::to_string(soft) + ' ' + std::to_string(plan.hard) + ' ' +
           std::to_string(limits.nodes) + '\n';
}

std::string StrongLimitCommands(const SearchLimits& limits, const TimePlan& plan) {
    const int depth = limits.depth == 0
                          ? kGreatestDepth
                          : std::clamp(limits.depth, kLeastStrongDepth, kGreatestDepth);
    return "time -1\nsd " + std::to_string(depth) + '\n' + StrongLimits(limits, plan);
}

std::int64_t StrongDeadline(const TimePlan& plan) {
    return plan.hard == 0 ? 0 : plan.hard + kGrace;
}

// Without a clock there is none to lose.
bool TimeToPonder(const SearchLimits& limits) {
    return limits.clock < 0 || limits.clock >= kPonderClock;
}
