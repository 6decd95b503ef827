// Units of the search: scores are centipawns for the side to move, depth is counted in
// units of 60 a ply.
#pragma once

inline constexpr int OnePly = 60;
inline constexpr int MateScore = 32700;   // less the ply where the mate stands
inline constexpr int ScoreBound = 32701;  // the widest window
inline constexpr int kMateBound = 31000;  // scores beyond it, either way, are mates

// What a result says of the true score; kExact has the bits of both bounds.
inline constexpr int kUpperBound = 1;
inline constexpr int kLowerBound = 2;
inline constexpr int kExact = 3;
