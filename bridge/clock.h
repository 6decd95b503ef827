// Limits of a search, in terms of today's protocols and in the engine's.
#pragma once

#include <cstdint>
#include <string>

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
};

// The engine keeps its own clock in this search; otherwise it searches to a depth, and
// the bridge watches the time.
bool EngineKeepsClock(const SearchLimits& limits);
// The commands before "go". `gamePly` is the half-moves that the engine has on its board,
// `ponder` whether it thinks on the opponent's time.
std::string LimitCommands(const SearchLimits& limits, int gamePly, bool ponder);
// The value of "time", in centiseconds.
std::int64_t ToldClock(const SearchLimits& limits, int gamePly, bool ponder);
// The clock allows thinking on the opponent's time, for which the engine spends more of
// its own.
bool TimeToPonder(const SearchLimits& limits);
// Milliseconds after which the engine is told to move; 0: never.
std::int64_t OwnTimeLimit(const SearchLimits& limits);
