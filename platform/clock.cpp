// Time, the same on every system.
#include "platform/clock.h"

#include <chrono>
#include <ctime>

// The steady clock: a system time that is set during a game must not cost it.
std::int64_t ClockMilliseconds() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::uint32_t CalendarSeconds() { return static_cast<std::uint32_t>(std::time(nullptr)); }
