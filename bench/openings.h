// Openings for matches: made from lines of opening theory, or read from a file.
#pragma once

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "bench/matchgame.h"

// Makes openings without end: a line cut off after some moves, some random moves behind
// it, and kept when a short search finds both sides about equal and none came before. The
// same seed gives the same openings in the same order on every machine.
struct OpeningMaker {
    std::vector<std::vector<std::string>> lines;  // moves in coordinates
    std::mt19937_64 random;
    std::set<std::string> made;  // positions
};

// Lines as in book/openings.txt, "Name: 1. e4 e5 2. ..."; false when the file has none.
bool ReadOpeningLines(const std::string& file, OpeningMaker& maker);
// Uses the board, the bridge's game and the classic search, which PrepareEngine must have
// made ready in this process.
Opening MakeOpening(OpeningMaker& maker);

// One FEN or EPD a line; empty lines and those that begin with "#" are passed over.
// False, with the line in `fault`, when one is no position to play from.
bool ReadPositions(const std::string& file, std::vector<Opening>& openings,
                   std::string& fault);
// The position that the opening leads to, as WriteFen writes it.
std::string OpeningFen(const Opening& opening);
