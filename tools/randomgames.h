// Random legal games as PGN, for load tests of whatever reads games.
#pragma once

#include <cstdint>
#include <string>

// A game without tags.
struct RandomGame {
    std::string moves;   // "1. e4 e5 2. Nf3 ..." with the result at the end
    std::string result;  // "1-0", "0-1", "1/2-1/2" or "*"
};

// The game with this number: the same number always gives the same game, on every
// machine. It ends in mate, in stalemate, or after at most `maxPlies` half-moves, 1 to
// 700, with a random result; the fifty-move rule and repetitions do not end it. Plays on
// the board, which is left at the game's end.
RandomGame MakeRandomGame(std::uint64_t number, int maxPlies);
// The game with tags and lines broken below 80 characters, as programs write it, and an
// empty line behind it. `number` is its round.
std::string PgnOf(const RandomGame& game, std::uint64_t number);
