// What the companion program says on standard error: a progress bar, and why it failed.
// Standard output stays free for reports.
#pragma once

#include <cstdint>
#include <string>

// ---- A bar while something long goes on; nothing when that is no terminal ----

// Shows how much of the whole is done, at most a few times a second; calls between are
// cheap. Units are the caller's; more than the whole counts as the whole, and a whole of
// 0 shows nothing. Not for several threads at once.
void ShowProgress(const char* what, std::uint64_t done, std::uint64_t whole);
// Removes the bar, so that what is written next begins on a clean line.
void EndProgress();
// A time of 0 or more seconds, rounded to whole ones: "0:07", "2:31", "1:02:31".
std::string DurationText(double seconds);

// Reports an error, "veltramox-tool: ...", behind all output so far and without the bar.
// Returns the exit status 1.
int Fail(const std::string& reason);
