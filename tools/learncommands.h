// The companion program's work on position-learning files; each function returns the
// program's exit status.
#pragma once

#include <string>

// All records that the buckets lead to.
int DumpLearning(const std::string& name, bool json);
// Rewrites the file with those records alone, one for each position. In place when
// `output` is empty.
int CompactLearning(const std::string& name, const std::string& output, bool json);
// Status 1 when anything is wrong with the file.
int CheckLearning(const std::string& name, bool json);
