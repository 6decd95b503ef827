// The companion program's work on material statistics; each function returns the
// program's exit status.
#pragma once

#include <string>

// Results of one pair of materials, "KRP KR", from the first side's view, for either side
// to move and together. Letters: K (may be left out), Q, R, N, P, B for a bishop on
// either colour of squares, L and D for one on light and on dark squares.
int QueryStatistics(const std::string& name, const std::string& materials, bool json);
// The pairs with the most games, whoever is to move.
int TopStatistics(const std::string& name, int count, bool json);
// One file with the counters of both; pairs whose sums are too large shrink to two
// thirds.
int MergeStatistics(const std::string& a, const std::string& b, const std::string& output,
                    bool json);
