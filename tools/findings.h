// What is wrong with a file that the companion program checks: collected while the check
// runs, reported at its end as text or JSON. Shared by the checks of books and of
// learning files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/report.h"

// One fault, a sentence without full stop.
struct Problem {
    std::int64_t offset;  // in the file
    std::string text;
};

// Damage comes in heaps: all of it is counted, the first part of it told.
struct Problems {
    std::vector<Problem> told;
    std::uint64_t count = 0;
};

// Adds a problem; beyond the first thousand it is only counted.
void Report(Problems& problems, std::int64_t offset, const std::string& text);
// One line for each problem, "FILE: at OFFSET: what", and one for those that are not
// told.
void WriteText(const Problems& problems, const std::string& name);
// The members "problemCount" and "problems" of a report.
void AddProblems(const Problems& problems, Json& report);
