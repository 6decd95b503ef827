// What is wrong with a file that the companion program checks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/report.h"

struct Problem {
    std::int64_t offset;  // in the file
    std::string text;
};

// Damage comes in heaps: all of it is counted, the first part of it told.
struct Problems {
    std::vector<Problem> told;
    std::uint64_t count = 0;
};

void Report(Problems& problems, std::int64_t offset, const std::string& text);
// One line for each problem, "FILE: at OFFSET: what".
void WriteText(const Problems& problems, const std::string& name);
// The members "problemCount" and "problems" of a report.
void AddProblems(const Problems& problems, Json& report);
