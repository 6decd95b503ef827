// The companion program's work on material statistics, whole files in memory at a time;
// each function returns the program's exit status, 0 or 1. book/statistics.h describes
// the file.
#pragma once

#include <string>

// Results of one pair of materials, "KRP KR", from the first side's view, for either side
// to move and together. Letters, in any order and case: K (may be left out), Q, R, N, P,
// B for a bishop on either colour of squares, L and D for one on light and on dark
// squares. Status 1 for materials that are not counted, such as three knights.
int QueryStatistics(const std::string& name, const std::string& materials, bool json);
// The `count` pairs with the most games, whoever is to move, the most frequent first. The
// counters are those of games that reached the material, as far as rescaling has left
// them.
int TopStatistics(const std::string& name, int count, bool json);
// One file with the counters of both; pairs whose sums are too large shrink to two
// thirds, as when a counter runs over in counting. `output` may name one of the two.
int MergeStatistics(const std::string& a, const std::string& b, const std::string& output,
                    bool json);
