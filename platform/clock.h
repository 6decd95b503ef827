// Time.
#pragma once

#include <cstdint>

// Milliseconds on a clock that never runs backwards; only differences mean something.
std::int64_t ClockMilliseconds();
// Calendar time in seconds, for seeding random numbers.
std::uint32_t CalendarSeconds();
// User CPU time of this process, seconds. It excludes waiting and other programs; 0 on
// Windows when the system does not tell.
double UserSeconds();
