// Random legal games as PGN, for load tests of whatever reads games.
#pragma once

#include <cstdint>
#include <string>

struct RandomGame {
    std::string moves;   // "1. e4 e5 2. Nf3 ..." with the result at the end
    std::string result;  // "1-0", "0-1", "1/2-1/2" or "*"
};

// The game with this number: the same number always gives the same game. It ends in mate,
// in stalemate, or after at most `maxPlies` half-moves with a random result.
RandomGame MakeRandomGame(std::uint64_t number, int maxPlies);
// The game with tags and broken lines, as programs write it.
std::string PgnOf(const RandomGame& game, std::uint64_t number);
