// Games of the strong search against itself, as positions with their results: what the
// weights of the evaluation are fitted to.
#pragma once

#include <cstdint>
#include <string>

struct TrainingGames {
    std::uint64_t seed;
    std::uint64_t first, count;  // numbers of the games
    std::int64_t nodes;          // of each move's search
    int jobs;                    // processes
};

// One line for each quiet position of the game with this number: the position's first
// four fields of FEN, " ; ", the game's result for White (1, 0.5, 0), " ; ", the search's
// score in centipawns for White. Equal seeds and numbers give equal text on every
// machine. The engine must be prepared, its input ignored; its board and tables are used.
std::string PlayTrainingGame(std::uint64_t seed, std::uint64_t number,
                             std::int64_t nodes);

// Writes the games in the order of their numbers, whatever the number of processes. An
// exit status.
int WriteTrainingGames(const TrainingGames& games, const std::string& file);
