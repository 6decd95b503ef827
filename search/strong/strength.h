// Playing below full strength: few nodes, so that much is overlooked, and a choice among
// moves that look nearly as good as the best. The move depends on the position, its
// history, the level and a seed alone, never on the time or on earlier searches: the same
// game comes again.
#pragma once

#include <cstdint>

// The range of levels. Differences are those of games between levels, where 400 are about
// ten wins in eleven; they are on no rating list's scale.
inline constexpr int kWeakest = 800, kStrongest = 2400;

// Written by search/strong/strength.cpp.
struct StrengthState {
    int elo;  // 0: full strength
    std::uint64_t seed;
    std::uint64_t buckets;  // of the table of results, while a search uses a part of it
};

// What a level may do.
struct StrengthLevel {
    std::int64_t nodes;  // for a move
    int lines;           // moves to choose from
    int margin;          // centipawns that a chosen move may be worse
};
// Between the levels of the table by interpolation; `elo` is brought into the range.
StrengthLevel LevelOf(int elo);

// "strength ELO SEED" of all games' searches from now on; ELO 0: full strength.
void HearStrength(const char* rest);
// The search at hand, for a move in a game, is to be one of limited strength.
bool IsLimited();
// Before it: nothing of earlier searches is known to it.
void BeginLimited();
// The endgame tables' best move goes to the front of the root list, with its score; false
// when they do not know the position.
bool FindTableMove();
// After it: one of the shown lines, drawn by lot, becomes the first.
void EndLimited();
