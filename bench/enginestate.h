// The engine's own code as a benchmark runs it: without its command loop, files and
// input.
#pragma once

// ResetEngine, and input that is never looked at. False when there is no memory.
bool PrepareEngine();
