// An engine in a match: a process that speaks UCI or version 2 of the xboard protocol.
// Whatever it does wrong is an answer here, never the end of the match.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bench/engineprocess.h"

enum class Protocol { Uci, Xboard };

struct EngineSpec {
    std::string name;  // for reports
    Protocol protocol = Protocol::Uci;
    std::vector<std::string> command;  // the program and its arguments
    std::vector<std::pair<std::string, std::string>> options;  // name and value
    int hash = 0;                                              // MB; 0: its own default
};
// "uci:PROGRAM ARGUMENT..." or "xboard:..."; false when it is neither.
bool ReadEngineSpec(const std::string& text, EngineSpec& spec);

// What limits a move. Without `base` there is no clock, and nodes or depth limit it.
struct TimeControl {
    int moves = 0;           // that `base` is for; 0: the whole game
    double base = 0;         // ms
    double increment = 0;    // ms a move
    std::int64_t nodes = 0;  // a move; 0: not limited
    int depth = 0;           // plies; 0: not limited
};
// "40/2", "1+0.01", "40/2+0.1", "5": moves, seconds, seconds a move. False when it is
// nothing of the kind.
bool ReadTimeControl(const std::string& text, TimeControl& control);

// A player's clock as the match keeps it, ms.
struct MatchClock {
    double left = 0;
    int movesToGo = 0;  // 0: the time is for the whole game
};

// A fault loses the game: no move in time, a move that is not legal or a false claim, the
// process or its output has ended, no answer although no clock ran.
enum class Fault { None, Time, Illegal, Crash, Silent };
inline constexpr int kFaults = 5;
const char* FaultName(Fault fault);

struct MoveAnswer {
    Fault fault = Fault::None;
    std::string move;  // as the engine wrote it; may be anything
    bool resigned = false;
    bool hasScore = false;
    int score = 0;  // centipawns for the engine; a mate lies beyond kMateScore
    int depth = 0;
    double used = 0;  // ms
};
inline constexpr int kMateScore = 30000;

struct MatchEngine {
    EngineSpec spec;
    EngineProcess process;
    bool running = false;
    std::vector<std::string> offered;  // UCI options and xboard features, lower case
    // xboard features
    bool ping = false, setboard = false, usermove = false, memory = false;
    std::size_t told = 0;  // xboard: moves of the game that it knows
    bool thinks = false;   // xboard: it has been told to go
};

// The game as both protocols tell it.
struct GameSoFar {
    std::string fen;                 // where it began; empty: the start position
    std::vector<std::string> moves;  // "e2e4"
    bool whiteToMove = true;
};

// Starts the process if it does not run, and a new game. False, with a text in `fault`,
// when the engine does not get ready.
bool PrepareForGame(MatchEngine& engine, const TimeControl& control,
                    const std::string& fen, std::string& fault);
// Asks for the move of the side whose turn it is. `margin` in ms: so late it still
// counts. An engine that has not answered is ended, and started again for the next game.
MoveAnswer AskForMove(MatchEngine& engine, const GameSoFar& game,
                      const TimeControl& control, const MatchClock& own,
                      const MatchClock& other, double margin);
// The game is over, for whatever reason.
void LeaveGame(MatchEngine& engine);
// Says "quit", and ends it if that does not help.
void EndEngine(MatchEngine& engine);
