// A fixed search of many positions, through the engine's process.
#pragma once

// Writes a line for each position and, last, "N nodes M nps": the total to the depth (0:
// the one on record), the same on every machine, and the speed. Returns the exit status.
int RunBench(int depth);
