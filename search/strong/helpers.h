// Several cores: helpers, which are copies of the whole process, search the same root
// beside it. All they share is the table of results, which leads each of them to what the
// others have found, and their counts of nodes.
#pragma once

#include <cstdint>

#include "platform/helper.h"

// The process itself and its helpers.
inline constexpr int kMostThreads = kMostHelpers + 1;

// Memory for so many threads in all, 1 to kMostThreads; false when there is none.
bool AllocateHelpers(int threads);
void ReleaseHelpers();
// Before an iteration of so many plies: from the first on that makes it worth while,
// helpers search too. False in a helper that leaves this depth to others.
bool HelpedIteration(int depth);
// The search is over: the helpers end. A helper does not return.
void DismissHelpers();
// In a helper, now and then: tells its nodes, and ends it when its parent has gone.
void ReportHelper();
// Brings Result.HelperNodes up to date.
void CountHelperNodes();
// This process is a helper.
bool IsHelper();
