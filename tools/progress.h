// A bar on standard error while something long goes on; nothing when that is no terminal.
#pragma once

#include <cstdint>

// Shows how much of the whole is done, at most a few times a second.
void ShowProgress(const char* what, std::uint64_t done, std::uint64_t whole);
// Removes the bar.
void EndProgress();
