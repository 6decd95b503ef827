// Analysis mode: the engine searches the current position until told otherwise, and plays
// no move of its own.
#pragma once

// Returns when analysis is left ("exit").
void Analyze();
