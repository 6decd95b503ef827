// Plays a match on several processes, a game in each at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "bench/matchgame.h"
#include "bench/matchreport.h"

struct MatchPlan {
    EngineSpec engines[2];  // A and B
    MatchRules rules;
    std::int64_t games = 100;  // made even
    int jobs = 1;
    std::string pgn;  // a file that games are added to; empty: none
};

// The next pair's opening; called once for each pair, in order.
using OpeningSource = std::function<Opening()>;
// Called after each game, in the order of their ends; false ends the match.
using GameListener = std::function<bool(const GameLine&)>;

// POSIX only. The listener hears of every game that was played to its end. False when an
// engine does not start or a process is lost, with the text in `trouble`; the match then
// ends. An interrupt ends it too.
bool PlayMatch(const MatchPlan& plan, const OpeningSource& nextOpening,
               const GameListener& heard, std::string& trouble);
