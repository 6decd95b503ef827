// Measurements of a whole engine through its pipes: how fast it answers while it thinks,
// and whether it keeps its clock.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench/engineprocess.h"
#include "bench/enginestate.h"
#include "bench/positions.h"
#include "board/fen.h"
#include "board/legalmoves.h"
#include "board/notation.h"
#include "driver/edit.h"
#include "driver/usermove.h"
#include "platform/version.h"
#include "search/control.h"
#include "search/history.h"
#include "search/root.h"
#include "search/rootmoves.h"

namespace {

// Middlegames of the benchmark's list: the engine is asked while it searches them.
constexpr int kFirstMiddlegame = 8, kMiddlegames = 14;
constexpr int kPatience = 20000;  // ms to wait for an answer before it counts as lost

double Milliseconds(BenchClock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

void Pause(unsigned long microseconds) { usleep(static_cast<useconds_t>(microseconds)); }

// The worst one counts as much as the median: a front end's patience is a limit, not an
// average.
void Report(const char* what, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    std::printf("%s: %zu trials, median %.2f ms, worst %.2f ms\n", what, times.size(),
                times[times.size() / 2], times.back());
}

// Milliseconds from sending the command to a line that begins with `answer`; ends the
// program when none comes.
double Answer(EngineProcess& engine, const char* command, const char* answer) {
    const auto start = BenchClock::now();
    SendText(engine, command);
    if (WaitForLine(engine, answer, kPatience).empty()) {
        std::printf("no answer to %s", command);
        std::exit(EXIT_FAILURE);
    }
    return Milliseconds(BenchClock::now() - start);
}

// Asks in mid-search, after pauses of random length, so that no fixed phase of the
// engine's polling is favoured; the seed is fixed, so that runs can be compared.
void Latency(const char* program, int trials) {
    EngineProcess engine = StartEngine(program);
    std::mt19937 random(1);
    std::vector<double> moves, statuses;
    for (int i = 0; i < trials; ++i) {
        if (!SetFen(kBenchPositions[kFirstMiddlegame + i % kMiddlegames])) std::abort();
        SendText(engine, "new\nforce\neasy\nnopost\n" + EditCommands() + "go\n");
        Pause(50000 + random() % 100000);
        statuses.push_back(Answer(engine, ".\n", "stat01"));
        Pause(random() % 20000);
        moves.push_back(Answer(engine, "?\n", "move"));
    }
    StopEngine(engine);
    Report("\"?\" to \"move\"", moves);
    Report("\".\" to \"stat01:\"", statuses);
}

// ---- Games on the clock ----

// What the engine is told, and what is measured against it here.
struct TimeControl {
    const char* name;
    const char* level;  // the front end's command
    int base;           // ms
    int increment;      // ms
    int movesPerControl;
};
constexpr TimeControl kControls[] = {
    {"1 s + 10 ms", "level 0 0:01 0.01\n", 1000, 10, 0},
    {"5 s", "level 0 0:05 0\n", 5000, 0, 0},
    {"40 moves in 10 s", "level 40 0:10 0\n", 10000, 0, 40},
};
// Half-moves after which a game is given up: only the clock is tested, not the result.
constexpr int kMostPlies = 240;
constexpr int kRandomPlies = 6;    // openings differ
constexpr int kOpponentDepth = 4;  // plies, exclusive

// Counts of one time control, filled by EngineMove and PlayGame.
struct Tally {
    int games = 0, moves = 0, losses = 0;
    double worstOverrun = 0;  // ms beyond the clock; 0 when there is none
    double leastLeft = 1e9;   // ms left on the clock after a move
};

// The opponent is this process's own copy of the engine, searching shallowly so that the
// engine's clock is what a game's time goes into. NO_MOVE when it has none.
Move OpponentMove(std::mt19937& random, int ply) {
    const LegalMoves legal;
    if (legal.count == 0) return NO_MOVE;
    if (ply < kRandomPlies)
        return legal.moves[random() % static_cast<unsigned>(legal.count)];
    AgeHistoryAndKillers();
    ClearRequests();
    return Search(kOpponentDepth, false) ? NO_MOVE : RootMoves[0];
}

// The engine's answer; NO_MOVE when the game is over or it lost on time. `clock` is the
// engine's time left in ms, from which the time up to its answer is taken as a front end
// would; `played` counts its moves towards the next control. Ends the program when the
// move is illegal.
Move EngineMove(EngineProcess& engine, const TimeControl& control, double& clock,
                int& played, Tally& tally) {
    const auto start = BenchClock::now();
    const std::string line = WaitForLine(engine, "", kPatience);
    std::string answer = line;
    while (!answer.empty() && !answer.starts_with("move ") &&
           answer.find('{') == std::string::npos)
        answer = WaitForLine(engine, "", kPatience);
    const double elapsed = Milliseconds(BenchClock::now() - start);
    // A result line such as "1-0 {White mates}" has the game's end in braces.
    if (answer.find('{') != std::string::npos) return NO_MOVE;
    clock -= elapsed;
    ++tally.moves;
    tally.leastLeft = std::min(tally.leastLeft, clock);
    // No answer within the patience counts as a loss as well.
    if (clock < 0 || answer.empty()) {
        ++tally.losses;
        tally.worstOverrun = std::max(tally.worstOverrun, -clock);
        return NO_MOVE;
    }
    clock += control.increment;
    if (control.movesPerControl != 0 && ++played % control.movesPerControl == 0)
        clock += control.base;
    const std::string text = answer.substr(5) + "    ";
    const Move m = ParseCoordinateMove(text.c_str(), text[4]);
    if (!IsLegalUserMove(m)) {
        std::printf("illegal: %s\n", answer.c_str());
        std::exit(EXIT_FAILURE);
    }
    return m;
}

// One game, on one engine process for all games of a control. Colours alternate with
// `number`, and every other pair of games is played with pondering on. This process's
// board follows the game.
void PlayGame(EngineProcess& engine, const TimeControl& control, int number,
              Tally& tally) {
    std::mt19937 random(static_cast<unsigned>(number) + 1);
    const int engineSide = number & 1;
    double clock = control.base;
    int played = 0;
    SetStartPosition();
    ClearHistoryAndKillers();
    SendText(engine, std::string("new\n") + (number & 2 ? "easy\n" : "hard\n") +
                         "nopost\n" + control.level);
    for (int ply = 0; ply < kMostPlies; ++ply) {
        // Centiseconds, rounded down: the engine must never believe that it has more than
        // it has.
        const std::string time =
            "time " + std::to_string(static_cast<int>(clock / 10)) + "\notim 1000\n";
        Move m;
        if (ply % 2 == engineSide) {
            if (ply == 0) SendText(engine, time + "go\n");
            m = EngineMove(engine, control, clock, played, tally);
        } else {
            m = OpponentMove(random, ply);
            char text[kMoveTextSize];
            MoveToText(text, m);
            if (m != NO_MOVE) SendText(engine, time + text + "\n");
        }
        if (m == NO_MOVE) break;
        PlayGameMove(m);
    }
    ++tally.games;
    // Whatever the engine still had to say comes before the answer to this.
    SendText(engine, "force\nmvd\n");
    WaitForLine(engine, "NBP=", kPatience);
}

// A line for each control; ends the program with failure when any game was lost on time.
void ClockGames(const char* program, int games) {
    Tally all;
    for (const TimeControl& control : kControls) {
        EngineProcess engine = StartEngine(program);
        Tally tally;
        for (int i = 0; i < games; ++i) PlayGame(engine, control, i, tally);
        StopEngine(engine);
        std::printf(
            "%s: %d games, %d moves, %d time losses, worst overrun %.1f ms, "
            "least left %.1f ms\n",
            control.name, tally.games, tally.moves, tally.losses, tally.worstOverrun,
            tally.leastLeft);
        std::fflush(stdout);
        all.losses += tally.losses;
    }
    if (all.losses > 0) std::exit(EXIT_FAILURE);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures how an engine answers, and whether it keeps to its clock");
    app.set_version_flag("--version",
                         std::string("veltramox-protocol-bench ") + kVersion);
    app.require_subcommand(1);
    std::string engine;
    int trials = 200, games = 67;
    const auto add = [&](const char* name, const char* help, const char* count,
                         int& number) {
        CLI::App* command = app.add_subcommand(name, help);
        command->add_option("ENGINE", engine, "The program")->required();
        command->add_option(count, number, "How many")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
        return command;
    };
    add("latency", "Time to the answer while it thinks", "TRIALS", trials)->callback([&] {
        Latency(engine.c_str(), trials);
    });
    add("clock", "Games at short controls, for each so many", "GAMES", games)
        ->callback([&] { ClockGames(engine.c_str(), games); });
    if (!PrepareEngine()) return EXIT_FAILURE;
    CLI11_PARSE(app, argc, argv);
    return EXIT_SUCCESS;
}
