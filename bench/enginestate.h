// The engine's own code as a benchmark runs it: without its command loop, files and
// input.
#pragma once

// ResetEngine, and input that is never looked at: a terminal or a closed pipe must not
// stop a search that is being measured. To be called once, before anything else of the
// engine. False when there is no memory.
bool PrepareEngine();
