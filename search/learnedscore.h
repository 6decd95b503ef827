// Results of positions stored from earlier games, inside the search.
#pragma once

// A position whose result was stored from an earlier game, searched at least as deep as
// `depth` (depth units): asked near the root, in the engine's own middlegames. True with
// the score for the side to move.
bool LearnedScore(int depth, int& score);
