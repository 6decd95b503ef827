// Games through the bridge in both protocols, on a clock that is kept here: illegal
// moves, time losses and processes left behind are counted, and how much the engine
// searches of what its clock allows. And the time that the bridge adds to a move.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "bench/engineprocess.h"
#include "bench/enginestate.h"
#include "board/notation.h"
#include "bridge/clock.h"
#include "bridge/game.h"
#include "platform/version.h"
#include "search/control.h"
#include "search/history.h"
#include "search/root.h"
#include "search/rootmoves.h"

namespace {

constexpr int kPatience = 20000;  // ms to wait for an answer before it counts as lost
constexpr int kMostPlies = 240;
constexpr int kRandomPlies = 6;    // openings differ
constexpr int kOpponentDepth = 4;  // plies, exclusive

constexpr int kOverhead = 50;  // ms, the bridge's own default
// The engine's speed is measured once in so many of its moves, by a search of so many ms.
constexpr int kReferenceEvery = 10, kReferenceTime = 200;

struct Conditions {
    int games = 200;
    int base = 1000, increment = 10;  // ms
    bool rebased = false;  // each position as a FEN of its own, without the moves before
    std::string search = "classic";
};
Conditions Given;

struct Tally {
    int games = 0, moves = 0, illegal = 0, timeLosses = 0, loadLosses = 0, leftBehind = 0,
        hits = 0;
    double leastLeft = 1e9;            // ms on the clock after a move
    std::vector<double> shares;        // nodes, as parts of what the planned time allows
    std::vector<double> nodes, times;  // times as parts of the planned one
};

double Milliseconds(BenchClock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

// ---- The two protocols ----

struct Player {
    EngineProcess process;
    int engine = 0;  // the process that the bridge has started
    bool ponder = false;
    std::string expected = {};  // UCI: the reply it ponders on; empty: it does not
    double nodes = 0;           // of the last search, as shown last
};

// What the processes have waited for a processor until now, in ms: what is lost so is the
// machine's fault.
double ProcessorWaits(const Player& player) {
    double total = 0;
    for (const int pid : {player.process.child.pid, player.engine, getpid()}) {
        std::ifstream file("/proc/" + std::to_string(pid) + "/schedstat");
        double ran = 0, waited = 0;
        if (file >> ran >> waited) total += waited / 1e6;
    }
    return total;
}

// The game's position with the number of the move to come.
std::string NumberedFen() {
    const std::string fen = WriteFen();
    return fen.substr(0, fen.rfind(' ') + 1) + std::to_string(MoveNumber());
}

// Waits for a line that begins so, and notes the nodes of the thinking lines before it.
std::string WaitForMove(Player& player, const std::string& prefix) {
    player.nodes = 0;
    for (;;) {
        const std::string line = WaitForLine(player.process, "", kPatience);
        if (line.empty() || line.starts_with(prefix) || line.starts_with("resign") ||
            line.find('{') != std::string::npos)
            return line;
        const std::size_t uci = line.find(" nodes ");
        if (line.starts_with("info ") && uci != std::string::npos)
            player.nodes = std::atof(line.c_str() + uci + 7);
        std::sscanf(line.c_str(), "%*d %*d %*d %lf", &player.nodes);
    }
}

std::string Fields(const std::string& line, int number) {
    std::size_t begin = 0;
    for (; number > 0 && begin != std::string::npos; --number)
        begin = line.find_first_not_of(' ', line.find(' ', begin));
    if (begin == std::string::npos) return "";
    return line.substr(begin, line.find(' ', begin) - begin);
}

std::string PositionCommand(const std::string& more) {
    if (Given.rebased)
        return "position fen " + NumberedFen() + (more.empty() ? "" : " moves " + more) +
               '\n';
    std::string text = "position startpos moves";
    for (const std::string& move : Game.moves) text += ' ' + move;
    return text + (more.empty() ? "" : ' ' + more) + '\n';
}

std::string UciClock(int colour, double clock) {
    const std::string own = std::to_string(static_cast<int>(clock));
    const char* side = colour == WHITE ? "w" : "b";
    const char* other = colour == WHITE ? "b" : "w";
    const std::string increment = std::to_string(Given.increment);
    return std::string(" ") + side + "time " + own + " " + other + "time 60000 " + side +
           "inc " + increment + " " + other + "inc " + increment + '\n';
}

void UciNewGame(Player& player) {
    SendText(player.process, "ucinewgame\nisready\n");
    WaitForLine(player.process, "readyok", kPatience);
    player.expected.clear();
}

// Asks for a move; the position's last move has been played by the opponent.
std::string UciMove(Player& player, int colour, double clock, Tally& tally) {
    if (!player.expected.empty() && player.expected == Game.moves.back()) {
        ++tally.hits;
        SendText(player.process, "ponderhit\n");
    } else {
        if (!player.expected.empty()) {
            SendText(player.process, "stop\n");
            if (WaitForLine(player.process, "bestmove ", kPatience).empty()) return "";
        }
        SendText(player.process, PositionCommand("") + "go" + UciClock(colour, clock));
    }
    const std::string line = WaitForMove(player, "bestmove ");
    player.expected = player.ponder ? Fields(line, 3) : "";
    return Fields(line, 1);
}

// Its move has been played: it may go on thinking.
void UciPonder(Player& player, int colour, double clock) {
    if (player.expected.empty()) return;
    SendText(player.process,
             PositionCommand(player.expected) + "go ponder" + UciClock(colour, clock));
}

void UciEndGame(Player& player) {
    if (player.expected.empty()) return;
    SendText(player.process, "stop\n");
    WaitForLine(player.process, "bestmove ", kPatience);
}

void CecpNewGame(Player& player) {
    char level[64];
    std::snprintf(level, sizeof level, "level 0 0:%.3f %.3f\n", Given.base / 1000.0,
                  Given.increment / 1000.0);
    SendText(player.process, "new\n" + std::string(level) + "post\n" +
                                 std::string(player.ponder ? "hard" : "easy") +
                                 "\nping 1\n");
    WaitForLine(player.process, "pong 1", kPatience);
}

// Up to a move or what ends the game.
std::string CecpMove(Player& player, int, double clock, Tally&) {
    std::string text = "time " + std::to_string(static_cast<int>(clock / 10)) + "\n";
    if (Given.rebased)
        text += "force\nsetboard " + NumberedFen() + "\ngo\n";
    else
        text += Game.moves.empty() ? "go\n" : "usermove " + Game.moves.back() + '\n';
    SendText(player.process, text);
    const std::string line = WaitForMove(player, "move ");
    return line.starts_with("move ") ? line.substr(5) : line;
}

void CecpPonder(Player&, int, double) {}

void CecpEndGame(Player& player) {
    SendText(player.process, "force\nping 2\n");
    WaitForLine(player.process, "pong 2", kPatience);
}

struct Dialect {
    const char* name;
    const char *greeting, *ready;
    const char* searchOption;  // what sets it, up to its value
    void (*newGame)(Player&);
    std::string (*move)(Player&, int colour, double clock, Tally&);
    void (*ponder)(Player&, int colour, double clock);
    void (*endGame)(Player&);
};
constexpr Dialect kDialects[] = {
    {"uci", "uci\n", "uciok", "setoption name Search value ", UciNewGame, UciMove,
     UciPonder, UciEndGame},
    {"xboard", "xboard\nprotover 2\n", "feature done=1", "option Search=", CecpNewGame,
     CecpMove, CecpPonder, CecpEndGame},
};

// The plans of time are those of the classic search, as is the engine alone.
EngineProcess StartBridge(const std::string& program, const Dialect& dialect) {
    EngineProcess process = StartEngine(program, dialect.greeting, dialect.ready);
    SendText(process, dialect.searchOption + Given.search + '\n');
    return process;
}

// ---- Games ----

std::string OpponentMove(std::mt19937& random, int ply) {
    const std::vector<Move> moves = AllLegalMoves();
    if (ply < kRandomPlies) return MoveText(moves[random() % moves.size()]);
    AgeHistoryAndKillers();
    Control.StopSearch = 0;
    return MoveText(Search(kOpponentDepth, false) ? moves[0] : RootMoves[0]);
}

// The engine's nodes a millisecond in the game's position, by a search without a clock in
// a process of its own.
double Speed(EngineProcess& reference) {
    Player player{reference};
    SendText(player.process, PositionCommand("") + "go movetime " +
                                 std::to_string(kReferenceTime) + '\n');
    const auto start = BenchClock::now();
    WaitForMove(player, "bestmove ");
    const double time = Milliseconds(BenchClock::now() - start);
    reference.buffer = player.process.buffer;
    return player.nodes / time;
}

// What the clock allows: the planned time, soft limit, at the measured speed.
void NoteMove(const Player& player, double clock, double used, double speed,
              Tally& tally) {
    SearchLimits limits;
    limits.clock = static_cast<std::int64_t>(clock);
    limits.increment = Given.increment;
    const TimePlan plan = PlanTime(limits, MoveNumber(), kOverhead);
    tally.nodes.push_back(player.nodes);
    tally.times.push_back(used / static_cast<double>(plan.soft));
    tally.shares.push_back(player.nodes / (static_cast<double>(plan.soft) * speed));
}

// False when the game cannot go on.
bool PlayEngineMove(const Dialect& dialect, Player& player, int colour, double& clock,
                    double speed, Tally& tally) {
    const double waited = ProcessorWaits(player);
    const auto start = BenchClock::now();
    const double before = clock;
    const std::string move = dialect.move(player, colour, clock, tally);
    clock -= Milliseconds(BenchClock::now() - start);
    if (move.starts_with("resign")) return false;
    ++tally.moves;
    tally.leastLeft = std::min(tally.leastLeft, clock);
    if (clock < 0 || move.empty()) {
        const double wait = ProcessorWaits(player) - waited;
        ++(wait > -clock ? tally.loadLosses : tally.timeLosses);
        std::printf(
            "%s: %.1f ms of %.1f used, %.1f of them waiting for a processor, %s\n",
            dialect.name, before - clock, before, wait,
            player.ponder ? "pondering" : "not pondering");
        return false;
    }
    if (!player.ponder && AllLegalMoves().size() > 1)
        NoteMove(player, before, before - clock, speed, tally);
    if (!PlayMove(move)) {
        ++tally.illegal;
        std::printf("%s: \"%s\" at %s\n", dialect.name, move.c_str(), WriteFen().c_str());
        return false;
    }
    clock += Given.increment;
    if (GameResult() == nullptr) dialect.ponder(player, colour, clock);
    return true;
}

void PlayGame(const Dialect& dialect, Player& player, EngineProcess& reference,
              int number, Tally& tally) {
    std::mt19937 random(static_cast<unsigned>(number) + 1);
    const int engineSide = number & 1;
    player.ponder = (number & 2) != 0;
    double clock = Given.base, speed = 0;
    StartGame();
    ClearHistoryAndKillers();
    dialect.newGame(player);
    for (int ply = 0; ply < kMostPlies && GameResult() == nullptr; ++ply) {
        if (ply % 2 == engineSide) {
            if (ply / 2 % kReferenceEvery == 0 && !player.ponder)
                speed = Speed(reference);
            if (!PlayEngineMove(dialect, player, engineSide, clock, speed, tally)) break;
        } else {
            PlayMove(OpponentMove(random, ply));
        }
    }
    ++tally.games;
    dialect.endGame(player);
}

// Processes that the bridge has started and that still run.
std::vector<int> Children(pid_t parent) {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line == "PPid:\t" + std::to_string(parent))
                found.push_back(std::atoi(entry.path().filename().c_str()));
    }
    return found;
}

double Median(std::vector<double> times) {
    if (times.empty()) return 0;
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// True when something went wrong.
bool PlayGames(const std::string& program, const Dialect& dialect) {
    Tally tally;
    Player player{StartBridge(program, dialect)};
    EngineProcess reference = StartBridge(program, kDialects[0]);
    const std::vector<int> children = Children(player.process.child.pid);
    if (!children.empty()) player.engine = children.front();
    for (int i = 0; i < Given.games; ++i) PlayGame(dialect, player, reference, i, tally);
    StopEngine(reference);
    if (!StopEngine(player.process)) ++tally.leftBehind;
    for (const int child : children)
        if (kill(child, 0) == 0) ++tally.leftBehind;
    std::printf(
        "%s, %d ms + %d ms, %s: %d games, %d moves, %d ponder hits told, %d illegal "
        "moves, "
        "%d time losses and %d by waiting for a processor, %d of %zu processes left "
        "behind, least left %.1f ms\n",
        dialect.name, Given.base, Given.increment,
        Given.rebased ? "positions by FEN" : "whole games", tally.games, tally.moves,
        tally.hits, tally.illegal, tally.timeLosses, tally.loadLosses, tally.leftBehind,
        children.size() + 1, tally.leastLeft);
    std::printf(
        "not pondering: %zu moves, median %.0f nodes, %.0f %% of what the planned "
        "time "
        "allows, in %.0f %% of that time\n",
        tally.nodes.size(), Median(tally.nodes), 100 * Median(tally.shares),
        100 * Median(tally.times));
    std::fflush(stdout);
    return tally.illegal + tally.timeLosses + tally.leftBehind > 0 || children.empty();
}

// ---- The bridge's own time ----

double TimeOf(EngineProcess& process, const std::string& text, const char* answer) {
    const auto start = BenchClock::now();
    SendText(process, text);
    if (WaitForLine(process, answer, kPatience).empty()) std::exit(EXIT_FAILURE);
    return Milliseconds(BenchClock::now() - start);
}

// The same shallow searches in one long game, by the engine alone and through the
// bridge, in turn. What a move takes more there is the bridge's.
void MeasureLatency(const std::string& bridge, const std::string& engine, int trials) {
    EngineProcess direct = StartEngine(engine);
    EngineProcess uci = StartBridge(bridge, kDialects[0]);
    EngineProcess cecp = StartBridge(bridge, kDialects[1]);
    SendText(direct, "new\neasy\nnopost\nforce\n");
    SendText(cecp, "new\neasy\nnopost\nforce\nsd 3\n");
    std::mt19937 random(1);
    std::vector<double> alone, byUci, byCecp;
    for (int i = 0; i < trials; ++i) {
        if (i % 100 == 0) {
            StartGame();
            SendText(direct, "new\nforce\nsd 3\n");
            SendText(cecp, "new\nforce\nsd 3\n");
        }
        std::string move = OpponentMove(random, 0);
        PlayMove(move);
        if (GameResult() != nullptr) {
            TakeBackMove();
            continue;
        }
        // Whoever comes first finds the caches cold: in turn.
        for (int k = 0; k < 3; ++k) {
            const int who = (i + k) % 3;
            if (who == 0)
                alone.push_back(TimeOf(direct, move + "\ntime -1\ngo\n", "move "));
            else if (who == 1)
                byUci.push_back(
                    TimeOf(uci, PositionCommand("") + "go depth 3\n", "bestmove "));
            else
                byCecp.push_back(TimeOf(cecp, "usermove " + move + "\ngo\n", "move "));
        }
        SendText(direct, "force\nundo\n");
        SendText(cecp, "force\nundo\n");
    }
    std::printf("%zu moves, medians: alone %.3f ms, uci %.3f ms, xboard %.3f ms\n",
                alone.size(), Median(alone), Median(byUci), Median(byCecp));
    std::printf("added: uci %.3f ms, xboard %.3f ms\n", Median(byUci) - Median(alone),
                Median(byCecp) - Median(alone));
    StopEngine(direct);
    StopEngine(uci);
    StopEngine(cecp);
}

}  // namespace

int main(int count, char** arguments) {
    CLI::App app("Games through the bridge, and the time that it adds to a move");
    app.set_version_flag("--version", std::string("veltramox-bridge-games ") + kVersion);
    app.require_subcommand(1);
    std::string bridge, engine, protocol = "both";
    int trials = 1000;

    CLI::App& play = *app.add_subcommand("play", "plays against a weak opponent");
    play.add_option("BRIDGE", bridge)->required()->check(CLI::ExistingFile);
    play.add_option("--games", Given.games, "for each protocol")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    play.add_option("--protocol", protocol)
        ->capture_default_str()
        ->check(CLI::IsMember({"uci", "xboard", "both"}));
    play.add_option("--base", Given.base, "the engine's time for the game, ms")
        ->capture_default_str()
        ->check(CLI::Range(1, 60000));
    play.add_option("--increment", Given.increment, "ms a move")
        ->capture_default_str()
        ->check(CLI::Range(0, 60000));
    play.add_option("--search", Given.search)
        ->capture_default_str()
        ->check(CLI::IsMember({"classic", "strong"}));
    play.add_flag("--rebased", Given.rebased, "each position as a FEN of its own");

    CLI::App& latency =
        *app.add_subcommand("latency", "the same searches with and without");
    latency.add_option("BRIDGE", bridge)->required()->check(CLI::ExistingFile);
    latency.add_option("ENGINE", engine)->required()->check(CLI::ExistingFile);
    latency.add_option("--moves", trials)
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    CLI11_PARSE(app, count, arguments);

    if (!PrepareEngine()) return EXIT_FAILURE;
    if (latency.parsed()) {
        MeasureLatency(bridge, engine, trials);
        return EXIT_SUCCESS;
    }
    bool bad = false;
    for (const Dialect& dialect : kDialects)
        if (protocol == "both" || protocol == dialect.name)
            bad |= PlayGames(bridge, dialect);
    return bad ? EXIT_FAILURE : EXIT_SUCCESS;
}
