// The engine's benchmark in the form that test frameworks read.
#pragma once

// Searches the positions of the benchmark to the depth (0: the one of the signature) with
// the engine's own code in this process, a line for each, and closes with
// "N nodes M nps": the signature, the same on every machine, and the speed. Returns the
// exit status.
int RunBench(int depth);
