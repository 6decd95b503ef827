// The driver's own state: modes and limits that commands set.
#pragma once

extern int ForceMode;     // the engine never moves on its own
extern int PostThinking;  // thinking lines are written during the search
extern int MaxDepth;      // iteration limit of searches without a clock, set by "sd"

inline constexpr int kMaxDepthDefault = 998;
