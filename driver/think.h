// The engine's move, and thinking on the opponent's time.
#pragma once

// Called whenever the engine is to move: searches, writes and makes the move, then
// ponders if that is allowed. Returns when the opponent is to be waited for.
void Think();
