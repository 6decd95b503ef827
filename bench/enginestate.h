// The engine's own code as a benchmark runs it: without its command loop, files and
// input.
#pragma once

// Settings at their defaults, fixed tables, no output of thinking, input that is never
// looked at, and a FreshState. False when there is no memory.
bool PrepareEngine();
// The state of a program just started, with tables of the default sizes; false when there
// is no memory for them. Settings and fixed tables must have been prepared.
bool FreshState();
