// A match as lines of text: one for each game, and the closing lines that follow from
// them, whoever ran the games.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "bench/matchengine.h"
#include "bench/matchstats.h"

// The engines are A and B. Games 1 and 2, 3 and 4 ... are pairs: the same opening with A
// as White and then as Black.
struct GameLine {
    std::int64_t number = 0;
    bool firstIsWhite = true;
    std::string result;  // "1-0", "0-1", "1/2-1/2"
    int plies = 0;
    Fault fault = Fault::None;
    bool faultOfFirst = false;
    std::string reason;  // in words, for people
};
// "game 7 white A result 1-0 plies 83 fault B:time time by Black"
std::string WriteGameLine(const GameLine& game);
// False when the text is no such line.
bool ReadGameLine(const std::string& text, GameLine& game);

struct MatchTally {
    MatchScore score;
    std::int64_t faults[2][kFaults] = {};     // [A, B][kind]
    std::map<std::int64_t, int> halves = {};  // half points of pairs not yet complete
    std::int64_t plies = 0;
};
void AddGame(MatchTally& tally, const GameLine& game);
std::int64_t FaultCount(const std::int64_t (&faults)[kFaults]);

// The closing lines. `test` is nullptr when no hypotheses are tested; without names the
// engines are A and B.
std::string ClosingLines(const MatchTally& tally, const SequentialTest* test,
                         const std::string& nameA, const std::string& nameB);
// "games +wins =draws -losses score elo error faults" as columns of a table.
std::string TableLine(const MatchTally& tally, const std::string& opponent);
