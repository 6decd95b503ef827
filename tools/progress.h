// What the companion program says on standard error.
#pragma once

#include <cstdint>
#include <string>

// ---- A bar while something long goes on; nothing when that is no terminal ----

// Shows how much of the whole is done, at most a few times a second.
void ShowProgress(const char* what, std::uint64_t done, std::uint64_t whole);
// Removes the bar.
void EndProgress();
// "0:07", "2:31", "1:02:31".
std::string DurationText(double seconds);

// Reports an error, "veltramox-tool: ...", behind all output so far and without the bar.
// Returns the exit status 1.
int Fail(const std::string& reason);
