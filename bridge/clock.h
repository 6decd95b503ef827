// Limits of a search, in terms of today's protocols and in the engine's; and the bridge's
// own division of the clock, which the engine's, in whole centiseconds and by the
// half-moves on its own board, is too coarse for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Times are clamped to this where they are read, in ms: eleven days.
inline constexpr std::int64_t kLongestTime = 1000000000;

struct SearchLimits {
    bool endless = false;  // until told to stop
    int depth = 0;         // plies as shown; 0: no limit, and so for the others
    std::int64_t nodes = 0;
    std::int64_t moveTime = 0;   // ms for this move
    std::int64_t clock = -1;     // ms left; -1: no clock
    std::int64_t increment = 0;  // ms per move
    int movesToGo = 0;           // to the next time control; 0: the whole game
    // The moves that are searched, legal ones of the game's position; none: all.
    std::vector<std::string> moves = {};
};

// Milliseconds from the search's beginning; 0: no limit.
struct TimePlan {
    std::int64_t soft = 0;  // the engine is told to move, unless its score has fallen
    std::int64_t hard = 0;  // it is told to move in any case; never less than `soft`
};

// `moveNumber` as in a FEN, from 1: later in a game fewer moves are expected to come.
// `overhead`, in ms, stays on the clock, so that even a clock that lives on its increment
// bears delays; but an eighth of the clock is there for thinking. Neither limit is 0 when
// there is a clock or a time for the move, and both are 0 for an endless search.
TimePlan PlanTime(const SearchLimits& limits, int moveNumber, std::int64_t overhead);
// The soft limit, stretched when the score (centipawns) has fallen by so much since the
// engine's last move.
std::int64_t StretchedLimit(const TimePlan& plan, int fall);

// The commands before "go". `gamePly` is the half-moves that the engine has on its board,
// `ponder` whether it thinks on the opponent's time.
std::string LimitCommands(const SearchLimits& limits, const TimePlan& plan, int gamePly,
                          bool ponder);
// The same for the strong search, which keeps the limits itself and stretches the soft
// one by what it finds.
TimePlan PlanStrongTime(const SearchLimits& limits, int moveNumber, std::int64_t overhead,
                        bool ponder);
// Its limits, for a search that begins with "go" or with the predicted move.
std::string StrongLimits(const SearchLimits& limits, const TimePlan& plan);
std::string StrongLimitCommands(const SearchLimits& limits, const TimePlan& plan);
// When it counts as late, in ms after the search's beginning; 0: never.
std::int64_t StrongDeadline(const TimePlan& plan);
// The clock allows thinking on the opponent's time: at a miss there is time left to end
// that.
bool TimeToPonder(const SearchLimits& limits);
