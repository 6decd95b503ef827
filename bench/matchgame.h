// One game of a match: the rules, the clocks, and when it is decided early.
#pragma once

#include <string>
#include <vector>

#include "bench/matchengine.h"

// Where a game begins: moves from the start position, or a FEN.
struct Opening {
    std::string fen;                 // empty: the start position
    std::vector<std::string> moves;  // "e2e4"
};

// Games that are decided are not played out. Counted in moves of both sides.
struct Adjudication {
    int drawAfter = 34, drawMoves = 8, drawScore = 10;  // scores in centipawns
    int winMoves = 4, winScore = 600;
    int mostMoves = 250;  // a game that is longer is drawn
    std::string tables;   // a folder of endgame tables; empty: none
};

struct MatchRules {
    TimeControl control;
    Adjudication adjudication;
    double margin = 50;  // ms that a move may come late: other work on the machine
};

struct GameOutcome {
    std::string result = "*";  // "1-0", "0-1", "1/2-1/2"; "*": broken off
    std::string reason;
    Fault fault = Fault::None;
    int loser = 0;        // colour of the side at fault
    std::string trouble;  // an engine that does not start; no game was played
    int plies = 0;        // with those of the opening
    std::string moves;    // PGN's text of moves, the result at its end
};

// Endgame tables for PlayMatchGame, by every process for itself.
void OpenTables(const Adjudication& adjudication);

// Plays it on the bridge's game, engines[WHITE] against engines[BLACK]. `broken` is
// looked at before every move: true breaks the game off.
GameOutcome PlayMatchGame(MatchEngine* const (&engines)[2], const Opening& opening,
                          const MatchRules& rules, const volatile int& broken);
