#include "bench/matchengine.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "bridge/lines.h"

namespace {

constexpr int kStartPatience = 10000;   // ms, until the engine is ready
constexpr int kFeaturePatience = 2000;  // ms, for an xboard engine that says no "done"
constexpr int kTimersError = 10;        // ms that waiting may end early
constexpr int kLatePatience = 1000;     // ms beyond its clock, to tell late from deaf
constexpr int kSilentPatience = 60000;  // ms for a move without a clock
constexpr int kEndPatience = 1000;      // ms

std::string LowerCase(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The next line that says something, without a carriage return; empty when none came in
// time or none will come.
std::string NextLine(MatchEngine& engine, int milliseconds) {
    for (;;) {
        std::string line = WaitForLine(engine.process, "", milliseconds);
        if (line.empty()) return line;
        if (line.back() == '\r') line.pop_back();
        if (!line.empty()) return line;
    }
}

bool Send(MatchEngine& engine, const std::string& text) {
    const std::string line = text + '\n';
    return write(engine.process.child.input, line.data(), line.size()) ==
           static_cast<ssize_t>(line.size());
}

bool Offers(const MatchEngine& engine, const std::string& option) {
    return std::find(engine.offered.begin(), engine.offered.end(), LowerCase(option)) !=
           engine.offered.end();
}

void Kill(MatchEngine& engine) {
    KillChild(engine.process.child);
    engine.process.buffer.clear();
    engine.running = false;
}

// ---- Starting ----

// "option name OwnBook type check default true"
void NoteUciOption(MatchEngine& engine, const std::string& line) {
    constexpr std::string_view kBefore = "option name ", kBehind = " type ";
    const std::size_t end = line.find(kBehind);
    if (!line.starts_with(kBefore) || end == std::string::npos) return;
    engine.offered.push_back(
        LowerCase(line.substr(kBefore.size(), end - kBefore.size())));
}

// feature ping=1 option="OwnBook -check 1" myname="Some Engine"
void NoteXboardFeatures(MatchEngine& engine, const std::string& line, bool& done,
                        bool& wait) {
    std::size_t at = 7;  // behind "feature"
    while (at < line.size()) {
        const std::size_t equals = line.find('=', at);
        if (equals == std::string::npos) return;
        const std::string name(Trimmed(std::string_view(line).substr(at, equals - at)));
        const bool quoted = equals + 1 < line.size() && line[equals + 1] == '"';
        const std::size_t begin = equals + (quoted ? 2 : 1);
        std::size_t end = begin <= line.size() ? line.find(quoted ? '"' : ' ', begin)
                                               : std::string::npos;
        if (end == std::string::npos) end = line.size();
        const std::string value = line.substr(std::min(begin, line.size()), end - begin);
        if (name == "ping") engine.ping = value == "1";
        if (name == "setboard") engine.setboard = value == "1";
        if (name == "usermove") engine.usermove = value == "1";
        if (name == "memory") engine.memory = value == "1";
        if (name == "option")
            engine.offered.push_back(LowerCase(value.substr(0, value.find(" -"))));
        if (name == "done") (value == "1" ? done : wait) = true;
        Send(engine, "accepted " + name);
        at = end + 1;
    }
}

// Reads what the engine offers.
bool GreetUci(MatchEngine& engine) {
    if (!Send(engine, "uci")) return false;
    for (;;) {
        const std::string line = NextLine(engine, kStartPatience);
        if (line.empty()) return false;
        if (line == "uciok") return true;
        NoteUciOption(engine, line);
    }
}

bool GreetXboard(MatchEngine& engine) {
    if (!Send(engine, "xboard\nprotover 2")) return false;
    bool done = false, wait = false;
    while (!done) {
        const int patience = wait ? kStartPatience : kFeaturePatience;
        const auto start = BenchClock::now();
        const std::string line = NextLine(engine, patience);
        // An old engine knows no features; one that has ended keeps nobody waiting.
        if (line.empty())
            return BenchClock::now() - start >=
                   std::chrono::milliseconds(patience - kTimersError);
        if (line.starts_with("feature ")) NoteXboardFeatures(engine, line, done, wait);
    }
    return true;
}

void SetOption(MatchEngine& engine, const std::string& name, const std::string& value) {
    if (engine.spec.protocol == Protocol::Uci)
        Send(engine, "setoption name " + name + " value " + value);
    else
        Send(engine, "option " + name + '=' + value);
}

// Own books off, no thinking on the opponent's time, one thread; then what was asked for.
bool SetOptions(MatchEngine& engine, std::string& fault) {
    const bool uci = engine.spec.protocol == Protocol::Uci;
    if (Offers(engine, "OwnBook")) SetOption(engine, "OwnBook", uci ? "false" : "0");
    if (Offers(engine, "Ponder")) SetOption(engine, "Ponder", uci ? "false" : "0");
    if (Offers(engine, "Threads")) SetOption(engine, "Threads", "1");
    if (engine.spec.hash > 0) {
        const std::string megabytes = std::to_string(engine.spec.hash);
        if (engine.memory)
            Send(engine, "memory " + megabytes);
        else if (Offers(engine, "Hash"))
            SetOption(engine, "Hash", megabytes);
    }
    for (const auto& [name, value] : engine.spec.options) {
        if (!Offers(engine, name)) {
            fault = "no option " + name;
            return false;
        }
        SetOption(engine, name, value);
    }
    return true;
}

bool Start(MatchEngine& engine, std::string& fault) {
    engine.process = {};
    engine.offered.clear();
    engine.ping = engine.setboard = engine.usermove = engine.memory = false;
    ChildStart start;
    start.program = engine.spec.command.front();
    start.arguments.assign(engine.spec.command.begin() + 1, engine.spec.command.end());
    start.folder = std::filesystem::current_path().string();
    start.heedsInterrupts = false;
    start.diesWithParent = true;
    if (!StartChild(start, engine.process.child)) {
        fault = "no process";
        return false;
    }
    engine.running = true;
    const bool greeted =
        engine.spec.protocol == Protocol::Uci ? GreetUci(engine) : GreetXboard(engine);
    if (greeted && SetOptions(engine, fault)) return true;
    if (fault.empty()) fault = "does not start";
    Kill(engine);
    return false;
}

// ---- A new game ----

std::string SecondsText(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", milliseconds / 1000);
    std::string result = text;
    while (result.back() == '0') result.pop_back();
    if (result.back() == '.') result.pop_back();
    return result;
}

// Minutes and seconds; a fraction only where it is needed, for few engines know such.
std::string LevelCommand(const TimeControl& control) {
    const double minutes = std::floor(control.base / 60000);
    const double rest = control.base - minutes * 60000;
    return "level " + std::to_string(control.moves) + ' ' +
           std::to_string(static_cast<int>(minutes)) + ':' + (rest < 10000 ? "0" : "") +
           SecondsText(rest) + ' ' + SecondsText(control.increment);
}

bool XboardNewGame(MatchEngine& engine, const TimeControl& control,
                   const std::string& fen, std::string& fault) {
    if (control.nodes > 0) {
        fault = "the xboard protocol has no limit of nodes";
        return false;
    }
    if (!fen.empty() && !engine.setboard) {
        fault = "cannot be given a position";
        return false;
    }
    std::string text = "new\neasy\npost\nforce";
    if (control.base > 0) text += '\n' + LevelCommand(control);
    if (control.depth > 0) text += "\nsd " + std::to_string(control.depth);
    if (!fen.empty()) text += "\nsetboard " + fen;
    engine.told = 0;
    engine.thinks = false;
    if (!Send(engine, text)) return false;
    if (!engine.ping) return true;
    return Send(engine, "ping 1") &&
           !WaitForLine(engine.process, "pong 1", kStartPatience).empty();
}

bool UciNewGame(MatchEngine& engine) {
    return Send(engine, "ucinewgame\nisready") &&
           !WaitForLine(engine.process, "readyok", kStartPatience).empty();
}

// ---- Moves ----

std::string UciRequest(const GameSoFar& game, const TimeControl& control,
                       const MatchClock& own, const MatchClock& other) {
    std::string text =
        game.fen.empty() ? "position startpos" : "position fen " + game.fen;
    if (!game.moves.empty()) text += " moves";
    for (const std::string& move : game.moves) text += ' ' + move;
    text += "\ngo";
    if (control.base > 0) {
        const auto whole = [](double ms) {
            return std::to_string(std::max(1, static_cast<int>(ms)));
        };
        const MatchClock& white = game.whiteToMove ? own : other;
        const MatchClock& black = game.whiteToMove ? other : own;
        text += " wtime " + whole(white.left) + " btime " + whole(black.left);
        if (control.increment > 0)
            text +=
                " winc " + whole(control.increment) + " binc " + whole(control.increment);
        if (own.movesToGo > 0) text += " movestogo " + std::to_string(own.movesToGo);
    }
    if (control.nodes > 0) text += " nodes " + std::to_string(control.nodes);
    if (control.depth > 0) text += " depth " + std::to_string(control.depth);
    return text;
}

// Tells the moves that the engine does not know; the last one, once it plays, is what it
// answers.
std::string XboardRequest(MatchEngine& engine, const GameSoFar& game,
                          const TimeControl& control, const MatchClock& own,
                          const MatchClock& other) {
    const std::string prefix = engine.usermove ? "usermove " : "";
    std::string text, clocks;
    if (control.base > 0)
        clocks = "time " + std::to_string(static_cast<int>(own.left / 10)) + "\notim " +
                 std::to_string(static_cast<int>(other.left / 10)) + '\n';
    while (!engine.thinks && engine.told < game.moves.size())
        text += prefix + game.moves[engine.told++] + '\n';
    text += clocks;
    if (engine.thinks)
        text += prefix + game.moves.back();
    else
        text += "go";
    engine.thinks = true;
    engine.told = game.moves.size() + 1;  // with its own answer
    return text;
}

void NoteUciThinking(const std::string& line, MoveAnswer& answer) {
    if (!line.starts_with("info ")) return;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (word == "string" || word == "pv") return;
        if (word == "depth") words >> answer.depth;
        if (word == "cp" && words >> answer.score) answer.hasScore = true;
        if (word == "mate" && words >> answer.score) {
            answer.hasScore = true;
            answer.score = answer.score > 0 ? kMateScore + 1 : -kMateScore - 1;
        }
    }
}

void NoteXboardThinking(const std::string& line, MoveAnswer& answer) {
    int depth = 0, score = 0;
    long long time = 0, nodes = 0;
    if (std::sscanf(line.c_str(), " %d%*[^-+0-9 ] %d %lld %lld", &depth, &score, &time,
                    &nodes) != 4 &&
        std::sscanf(line.c_str(), " %d %d %lld %lld", &depth, &score, &time, &nodes) != 4)
        return;
    answer.hasScore = true;
    answer.depth = depth;
    answer.score = score;
}

// True when the line answers the request.
bool ReadUciLine(const std::string& line, MoveAnswer& answer) {
    NoteUciThinking(line, answer);
    if (!line.starts_with("bestmove")) return false;
    std::istringstream words(line);
    std::string ignored;
    words >> ignored >> answer.move;
    answer.resigned = answer.move == "resign";
    return true;
}

bool ReadXboardLine(const std::string& line, MoveAnswer& answer) {
    NoteXboardThinking(line, answer);
    const std::string lower = LowerCase(line);
    for (const char* before : {"move ", "my move is: ", "my move is : ", "my move is "})
        if (lower.starts_with(before)) {
            std::istringstream(line.substr(std::string_view(before).size())) >>
                answer.move;
            return true;
        }
    if (lower.starts_with("resign") || lower.starts_with("tellics resign")) {
        answer.resigned = true;
        return true;
    }
    // A claim: its own loss is a resignation, anything else the rules would have said.
    const bool claim = lower.starts_with("1-0") || lower.starts_with("0-1") ||
                       lower.starts_with("1/2-1/2");
    if (!claim && !lower.starts_with("illegal move") && !lower.starts_with("error"))
        return false;
    answer.resigned = claim && lower.find("resign") != std::string::npos;
    if (!answer.resigned) {
        answer.fault = Fault::Illegal;
        answer.move = line;
    }
    return true;
}

int PatienceFor(const TimeControl& control, const MatchClock& own, double margin) {
    if (control.base <= 0) return kSilentPatience;
    return static_cast<int>(std::max(own.left, 0.0) + margin) + kLatePatience;
}

// Nothing came: what has become of the engine?
Fault WhySilent(MatchEngine& engine, bool clock, double left) {
    const bool gone = left > 0 || ChildEnded(engine.process.child, 0);
    Kill(engine);
    if (gone) return Fault::Crash;
    return clock ? Fault::Time : Fault::Silent;
}

}  // namespace

const char* FaultName(Fault fault) {
    constexpr const char* kNames[kFaults] = {"-", "time", "illegal", "crash", "silent"};
    return kNames[static_cast<int>(fault)];
}

bool ReadEngineSpec(const std::string& text, EngineSpec& spec) {
    const std::size_t colon = text.find(':');
    const std::string protocol = text.substr(0, colon);
    if (colon == std::string::npos || (protocol != "uci" && protocol != "xboard"))
        return false;
    spec.protocol = protocol == "uci" ? Protocol::Uci : Protocol::Xboard;
    std::istringstream words(text.substr(colon + 1));
    spec.command.clear();
    for (std::string word; words >> word;) spec.command.push_back(word);
    return !spec.command.empty();
}

bool ReadTimeControl(const std::string& text, TimeControl& control) {
    char* end = nullptr;
    const char* at = text.c_str();
    const std::size_t slash = text.find('/');
    control.moves = 0;
    if (slash != std::string::npos) {
        const long moves = std::strtol(at, &end, 10);
        if (end != text.c_str() + slash || moves < 1 || moves > 1000) return false;
        control.moves = static_cast<int>(moves);
        at = end + 1;
    }
    control.base = 1000 * std::strtod(at, &end);
    if (end == at) return false;
    control.increment = 0;
    if (*end == '+') {
        at = end + 1;
        control.increment = 1000 * std::strtod(at, &end);
        if (end == at) return false;
    }
    return *end == '\0' && control.base > 0 && control.base <= 1e8 &&
           control.increment >= 0 && control.increment <= 1e7;
}

bool PrepareForGame(MatchEngine& engine, const TimeControl& control,
                    const std::string& fen, std::string& fault) {
    fault.clear();
    // What an engine without "ping" still says would be taken for an answer.
    if (engine.running && engine.spec.protocol == Protocol::Xboard && !engine.ping)
        EndEngine(engine);
    if (!engine.running && !Start(engine, fault)) return false;
    const bool ready = engine.spec.protocol == Protocol::Uci
                           ? UciNewGame(engine)
                           : XboardNewGame(engine, control, fen, fault);
    if (ready) return true;
    if (fault.empty()) fault = "does not get ready";
    Kill(engine);
    return false;
}

MoveAnswer AskForMove(MatchEngine& engine, const GameSoFar& game,
                      const TimeControl& control, const MatchClock& own,
                      const MatchClock& other, double margin) {
    const bool uci = engine.spec.protocol == Protocol::Uci;
    const std::string request = uci ? UciRequest(game, control, own, other)
                                    : XboardRequest(engine, game, control, own, other);
    MoveAnswer answer;
    const auto start = BenchClock::now();
    const auto used = [&] {
        return std::chrono::duration<double, std::milli>(BenchClock::now() - start)
            .count();
    };
    const int patience = PatienceFor(control, own, margin);
    Send(engine, request);
    for (;;) {
        const int left = patience - static_cast<int>(used());
        const std::string line = left > 0 ? NextLine(engine, left) : "";
        answer.used = used();
        if (line.empty()) {
            answer.fault =
                WhySilent(engine, control.base > 0, patience - 1 - answer.used);
            return answer;
        }
        if (uci ? ReadUciLine(line, answer) : ReadXboardLine(line, answer)) break;
    }
    if (control.base > 0 && answer.used > own.left + margin) answer.fault = Fault::Time;
    return answer;
}

void LeaveGame(MatchEngine& engine) {
    if (engine.running && engine.spec.protocol == Protocol::Xboard) Send(engine, "force");
}

void EndEngine(MatchEngine& engine) {
    if (!engine.running) return;
    Send(engine, "quit");
    CloseChildInput(engine.process.child);
    ChildEnded(engine.process.child, kEndPatience);
    Kill(engine);
}
