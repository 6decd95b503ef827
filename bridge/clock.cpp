#include "bridge/clock.h"

#include <algorithm>

namespace {

constexpr int kLeastDepth = 3, kGreatestDepth = 99;  // that "sd" makes sense of
constexpr std::int64_t kMilliseconds = 1000;
constexpr int kMostMoves = 1000000;

// An order needs so long at most to stop the engine: it looks every 20000 nodes.
constexpr std::int64_t kOrderTime = 15;  // ms
constexpr std::int64_t kShortMove = 5;   // below so many order times: a part goes

// So much of the clock, at most half of it, the engine is not told of.
constexpr std::int64_t kReserve = 100;  // ms

// On less the engine does not ponder: its larger shares leave no time to stop at a miss.
constexpr std::int64_t kPonderClock = 300;  // ms

// Where the bridge shares out a clock itself.
constexpr int kMovesExpected = 30;

// The engine's own share of the clock, in quarter moves: 110 less the half-moves played.
std::int64_t QuarterMoves(const SearchLimits& limits, int gamePly) {
    if (limits.movesToGo > 0) return std::int64_t{limits.movesToGo} * 4 + 2;
    return std::max(110 - gamePly, 26);
}

}  // namespace

bool EngineKeepsClock(const SearchLimits& limits) {
    return limits.clock >= 0 && limits.depth == 0 && limits.nodes == 0 && !limits.endless;
}

// The engine counts whole seconds of increment and spends four fifths of them at each
// move. What is left over goes onto the clock, times the moves it divides the clock by,
// so that the same comes out; but never more than half as much again, for the engine goes
// down to half of what it is told. The reserve is kept from it, so that on a busy machine
// a short clock is not lost by waiting for the processor.
std::int64_t ToldClock(const SearchLimits& limits, int gamePly, bool ponder) {
    const std::int64_t clock = std::clamp(limits.clock, std::int64_t{0}, kLongestTime);
    const std::int64_t own = clock - std::min(clock / 2, kReserve);
    const std::int64_t fraction = limits.increment % kMilliseconds;
    std::int64_t more = fraction * 4 / 5 * QuarterMoves(limits, gamePly);
    if (ponder) more = more * 2 / 5;  // it takes two and a half shares then
    more = std::min(more, (own - std::min(own, kReserve)) / 2);
    return std::max((own + more) / 10, std::int64_t{1});
}

// Moves to the time control: the engine counts them down from its "level" by the
// half-moves on its board.
std::string LimitCommands(const SearchLimits& limits, int gamePly, bool ponder) {
    if (!EngineKeepsClock(limits)) {
        const int depth = limits.depth == 0
                              ? kGreatestDepth
                              : std::clamp(limits.depth, kLeastDepth, kGreatestDepth);
        return "time -1\nsd " + std::to_string(depth) + '\n';
    }
    const int moves = limits.movesToGo == 0
                          ? 0
                          : std::clamp(limits.movesToGo, 1, kMostMoves) + gamePly / 2;
    const std::int64_t seconds =
        std::clamp(limits.increment, std::int64_t{0}, kLongestTime) / kMilliseconds;
    return "level " + std::to_string(moves) + " 0 " + std::to_string(seconds) +
           "\ntime " + std::to_string(ToldClock(limits, gamePly, ponder)) + '\n';
}

bool TimeToPonder(const SearchLimits& limits) {
    return !EngineKeepsClock(limits) || limits.clock >= kPonderClock;
}

std::int64_t OwnTimeLimit(const SearchLimits& limits) {
    std::int64_t limit = kLongestTime;
    if (limits.moveTime > 0)
        limit = limits.moveTime > kShortMove * kOrderTime
                    ? limits.moveTime - kOrderTime
                    : limits.moveTime * (kShortMove - 1) / kShortMove;
    if (limits.clock >= 0 && !EngineKeepsClock(limits) && !limits.endless) {
        const int moves = limits.movesToGo > 0 ? limits.movesToGo + 1 : kMovesExpected;
        const std::int64_t share = limits.clock / moves + limits.increment * 4 / 5;
        limit = std::min({limit, share, limits.clock / 2});
    }
    return limit == kLongestTime ? 0 : std::max(limit, std::int64_t{1});
}
