// Games through the bridge in both protocols, on a clock that is kept here: illegal
// moves, time losses and processes left behind are counted. And the time that the bridge
// adds to a move.
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
#include "bridge/game.h"
#include "search/control.h"
#include "search/history.h"
#include "search/root.h"

namespace {

constexpr int kPatience = 20000;  // ms to wait for an answer before it counts as lost
constexpr double kBase = 1000, kIncrement = 10;  // ms
constexpr int kMostPlies = 240;
constexpr int kRandomPlies = 6;    // openings differ
constexpr int kOpponentDepth = 4;  // plies, exclusive

struct Tally {
    int games = 0, moves = 0, illegal = 0, timeLosses = 0, leftBehind = 0, hits = 0;
    double leastLeft = kBase;  // ms on the clock after a move
};

double Milliseconds(BenchClock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

// ---- The two protocols ----

struct Player {
    EngineProcess process;
    bool ponder = false;
    std::string expected;  // UCI: the reply it ponders on; empty: it does not
};

std::string Fields(const std::string& line, int number) {
    std::size_t begin = 0;
    for (; number > 0 && begin != std::string::npos; --number)
        begin = line.find_first_not_of(' ', line.find(' ', begin));
    if (begin == std::string::npos) return "";
    return line.substr(begin, line.find(' ', begin) - begin);
}

std::string PositionCommand(const std::string& more) {
    std::string text = "position startpos moves";
    for (const std::string& move : Game.moves) text += ' ' + move;
    return text + (more.empty() ? "" : ' ' + more) + '\n';
}

std::string UciClock(int colour, double clock) {
    const std::string own = std::to_string(static_cast<int>(clock));
    const char* side = colour == WHITE ? "w" : "b";
    const char* other = colour == WHITE ? "b" : "w";
    return std::string(" ") + side + "time " + own + " " + other + "time 60000 " + side +
           "inc 10 " + other + "inc 10\n";
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
    const std::string line = WaitForLine(player.process, "bestmove ", kPatience);
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
    SendText(player.process, "new\nlevel 0 0:01 0.01\nnopost\n" +
                                 std::string(player.ponder ? "hard" : "easy") +
                                 "\nping 1\n");
    WaitForLine(player.process, "pong 1", kPatience);
}

// Up to a move or what ends the game.
std::string CecpMove(Player& player, int, double clock, Tally&) {
    std::string text = "time " + std::to_string(static_cast<int>(clock / 10)) + "\n";
    text += Game.moves.empty() ? "go\n" : "usermove " + Game.moves.back() + '\n';
    SendText(player.process, text);
    for (std::string line;;) {
        line = WaitForLine(player.process, "", kPatience);
        if (line.starts_with("move ")) return line.substr(5);
        if (line.empty() || line.starts_with("resign") || line.find('{') < line.size())
            return line;
    }
}

void CecpPonder(Player&, int, double) {}

void CecpEndGame(Player& player) {
    SendText(player.process, "force\nping 2\n");
    WaitForLine(player.process, "pong 2", kPatience);
}

struct Dialect {
    const char* name;
    const char *greeting, *ready;
    void (*newGame)(Player&);
    std::string (*move)(Player&, int colour, double clock, Tally&);
    void (*ponder)(Player&, int colour, double clock);
    void (*endGame)(Player&);
};
constexpr Dialect kDialects[] = {
    {"uci", "uci\n", "uciok", UciNewGame, UciMove, UciPonder, UciEndGame},
    {"xboard", "xboard\nprotover 2\n", "feature done=1", CecpNewGame, CecpMove,
     CecpPonder, CecpEndGame},
};

// ---- Games ----

std::string OpponentMove(std::mt19937& random, int ply) {
    const std::vector<Move> moves = AllLegalMoves();
    if (ply < kRandomPlies) return MoveText(moves[random() % moves.size()]);
    AgeHistoryAndKillers();
    Control.StopSearch = 0;
    return MoveText(Search(kOpponentDepth, false) ? moves[0] : RootMoves[0]);
}

// False when the game cannot go on.
bool PlayEngineMove(const Dialect& dialect, Player& player, int colour, double& clock,
                    Tally& tally) {
    const auto start = BenchClock::now();
    const double before = clock;
    const std::string move = dialect.move(player, colour, clock, tally);
    clock -= Milliseconds(BenchClock::now() - start);
    if (move.starts_with("resign")) return false;
    ++tally.moves;
    tally.leastLeft = std::min(tally.leastLeft, clock);
    if (clock < 0 || move.empty()) {
        ++tally.timeLosses;
        std::printf("%s: %.1f ms of %.1f used, %s\n", dialect.name, before - clock,
                    before, player.ponder ? "pondering" : "not pondering");
        return false;
    }
    if (!PlayMove(move)) {
        ++tally.illegal;
        std::printf("%s: \"%s\" at %s\n", dialect.name, move.c_str(), WriteFen().c_str());
        return false;
    }
    clock += kIncrement;
    if (GameResult() == nullptr) dialect.ponder(player, colour, clock);
    return true;
}

void PlayGame(const Dialect& dialect, Player& player, int number, Tally& tally) {
    std::mt19937 random(static_cast<unsigned>(number) + 1);
    const int engineSide = number & 1;
    player.ponder = (number & 2) != 0;
    double clock = kBase;
    StartGame();
    ClearHistoryAndKillers();
    dialect.newGame(player);
    for (int ply = 0; ply < kMostPlies && GameResult() == nullptr; ++ply) {
        if (ply % 2 == engineSide) {
            if (!PlayEngineMove(dialect, player, engineSide, clock, tally)) break;
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

// True when something went wrong.
bool PlayGames(const char* program, const Dialect& dialect, int games) {
    Tally tally;
    Player player{StartEngine(program, dialect.greeting, dialect.ready), false, ""};
    for (int i = 0; i < games; ++i) PlayGame(dialect, player, i, tally);
    const std::vector<int> children = Children(player.process.pid);
    if (!StopEngine(player.process)) ++tally.leftBehind;
    for (const int child : children)
        if (kill(child, 0) == 0) ++tally.leftBehind;
    std::printf(
        "%s: %d games, %d moves, %d ponder hits told, %d illegal moves, %d time "
        "losses, %d of %zu processes left behind, least left %.1f ms\n",
        dialect.name, tally.games, tally.moves, tally.hits, tally.illegal,
        tally.timeLosses, tally.leftBehind, children.size() + 1, tally.leastLeft);
    std::fflush(stdout);
    return tally.illegal + tally.timeLosses + tally.leftBehind > 0 || children.empty();
}

// ---- The bridge's own time ----

double Median(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

double TimeOf(EngineProcess& process, const std::string& text, const char* answer) {
    const auto start = BenchClock::now();
    SendText(process, text);
    if (WaitForLine(process, answer, kPatience).empty()) std::exit(EXIT_FAILURE);
    return Milliseconds(BenchClock::now() - start);
}

// The same shallow searches in one long game, by the engine alone and through the bridge,
// in turn. What a move takes more there is the bridge's.
void MeasureLatency(const char* bridge, const char* engine, int trials) {
    EngineProcess direct = StartEngine(engine);
    EngineProcess uci = StartEngine(bridge, "uci\n", "uciok");
    EngineProcess cecp = StartEngine(bridge, "xboard\nprotover 2\n", "feature done=1");
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

[[noreturn]] void Usage() {
    std::fputs(
        "usage: veltramox-bridge-games play BRIDGE [GAMES PER PROTOCOL [uci|xboard]]\n"
        "       veltramox-bridge-games latency BRIDGE ENGINE [MOVES]\n",
        stderr);
    std::exit(EXIT_FAILURE);
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 3) Usage();
    if (!PrepareEngine()) return EXIT_FAILURE;
    if (std::strcmp(arguments[1], "latency") == 0 && count > 3) {
        const int trials = count > 4 ? std::atoi(arguments[4]) : 0;
        MeasureLatency(arguments[2], arguments[3], trials > 0 ? trials : 1000);
        return EXIT_SUCCESS;
    }
    if (std::strcmp(arguments[1], "play") != 0) Usage();
    const int wanted = count > 3 ? std::atoi(arguments[3]) : 0;
    bool bad = false;
    for (const Dialect& dialect : kDialects)
        if (count < 5 || std::strcmp(arguments[4], dialect.name) == 0)
            bad |= PlayGames(arguments[2], dialect, wanted > 0 ? wanted : 200);
    return bad ? EXIT_FAILURE : EXIT_SUCCESS;
}
