// The parent hands out games through one pipe a process and hears of them through
// another. The games' processes are forked before anything is played: each has a board,
// and two engines that stay for all its games.
#include "bench/matchrunner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <vector>

#include "bridge/lines.h"
#include "platform/files.h"

namespace {

constexpr char kEndOfMoves[] = "end";
constexpr char kTrouble[] = "trouble ";
constexpr int kEndPatience = 5000;  // ms, for a process to end its engines

// Set by a signal: games are broken off.
volatile int Broken = 0;

void Break(int) { Broken = 1; }

// Not restarted: whatever waits for a line then looks at Broken.
void CatchSignals() {
    struct sigaction action = {};
    action.sa_handler = Break;
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

struct Worker {
    pid_t pid = -1;
    int input = -1;  // games to play
    LineReader output;
    bool busy = false;
    std::vector<std::string> lines;  // of a game's report, as far as it has come
};

bool WriteAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t wrote = write(descriptor, text.data() + done, text.size() - done);
        if (wrote < 0 && errno != EINTR) return false;
        if (wrote > 0) done += static_cast<std::size_t>(wrote);
    }
    return true;
}

// ---- In the processes that play ----

// "7 A" and the opening: moves, or a FEN behind "fen".
std::string TaskLine(std::int64_t number, const Opening& opening) {
    std::string text = std::to_string(number);
    for (const std::string& move : opening.moves) text += ' ' + move;
    return text + (opening.fen.empty() ? "" : " fen " + opening.fen) + '\n';
}

std::int64_t ReadTask(const std::string& line, Opening& opening) {
    std::istringstream words(line);
    std::int64_t number = 0;
    words >> number;
    for (std::string word; words >> word;) {
        if (word == "fen") {
            std::getline(words >> std::ws, opening.fen);
            break;
        }
        opening.moves.push_back(word);
    }
    return number;
}

std::string Today() {
    const std::time_t now = std::time(nullptr);
    char text[16] = "????.??.??";
    if (const std::tm* date = std::localtime(&now))
        std::strftime(text, sizeof text, "%Y.%m.%d", date);
    return text;
}

std::string Tag(const char* name, const std::string& value) {
    return std::string("[") + name + " \"" + value + "\"]\n";
}

std::string WithBrokenLines(const std::string& moves) {
    constexpr std::size_t kLineLength = 79;
    std::string text, line;
    std::istringstream words(moves);
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + 1 + word.size() > kLineLength) {
            text += line + '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return text + line + '\n';
}

std::string PgnText(const EngineSpec& white, const EngineSpec& black,
                    const GameLine& game, const Opening& opening,
                    const GameOutcome& outcome) {
    std::string text = Tag("Event", "Match") + Tag("Site", "?") + Tag("Date", Today()) +
                       Tag("Round", std::to_string(game.number)) +
                       Tag("White", white.name) + Tag("Black", black.name) +
                       Tag("Result", game.result);
    if (!opening.fen.empty()) text += Tag("SetUp", "1") + Tag("FEN", opening.fen);
    if (game.fault == Fault::None)
        text += Tag("Termination", outcome.reason);
    else
        text += Tag("Termination", FaultName(game.fault));
    return text + '\n' + WithBrokenLines(outcome.moves);
}

// The game's line, its PGN, and the line that ends both.
std::string Report(const MatchPlan& plan, std::int64_t number, const Opening& opening,
                   const GameOutcome& outcome) {
    if (!outcome.trouble.empty())
        return kTrouble + outcome.trouble + '\n' + kEndOfMoves + '\n';
    GameLine game;
    game.number = number;
    game.firstIsWhite = number % 2 == 1;
    game.result = outcome.result;
    game.plies = outcome.plies;
    game.fault = outcome.fault;
    game.faultOfFirst = (outcome.loser == 0) == game.firstIsWhite;
    game.reason = outcome.reason;
    const EngineSpec& white = plan.engines[game.firstIsWhite ? 0 : 1];
    const EngineSpec& black = plan.engines[game.firstIsWhite ? 1 : 0];
    return WriteGameLine(game) + '\n' + PgnText(white, black, game, opening, outcome) +
           kEndOfMoves + '\n';
}

// A folder of its own, and as home too, for engines write what they learn.
std::string EnterFolder() {
    std::string folder =
        (std::filesystem::temp_directory_path() / "veltramox-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr || chdir(folder.c_str()) != 0) _exit(1);
    setenv("HOME", folder.c_str(), 1);
    return folder;
}

// Plays what it is told until its input ends.
[[noreturn]] void Work(const MatchPlan& plan, int input, int output) {
    const std::string folder = EnterFolder();
    OpenTables(plan.rules.adjudication);
    MatchEngine engines[2];
    for (const int i : {0, 1}) engines[i].spec = plan.engines[i];
    LineReader tasks;
    tasks.descriptor = input;
    for (std::string line; Broken == 0;) {
        if (!TakeLine(tasks, line)) {
            if (tasks.ended) break;
            ReadSome(tasks);
            continue;
        }
        Opening opening;
        const std::int64_t number = ReadTask(line, opening);
        MatchEngine* const players[2] = {&engines[number % 2 == 1 ? 0 : 1],
                                         &engines[number % 2 == 1 ? 1 : 0]};
        const GameOutcome outcome = PlayMatchGame(players, opening, plan.rules, Broken);
        if (Broken != 0 || !WriteAll(output, Report(plan, number, opening, outcome)))
            break;
    }
    for (MatchEngine& engine : engines) EndEngine(engine);
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    _exit(0);
}

// ---- In the parent ----

bool StartWorker(const MatchPlan& plan, Worker& worker) {
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0) return false;
    if (pipe2(out, O_CLOEXEC) != 0) {
        close(in[0]);
        close(in[1]);
        return false;
    }
    worker.pid = fork();
    if (worker.pid == 0) {
        close(in[1]);
        close(out[0]);
        // Engines' complaints would mix with the report.
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nothing, STDERR_FILENO);
        Work(plan, in[0], out[1]);
    }
    close(in[0]);
    close(out[1]);
    worker.input = in[1];
    worker.output.descriptor = out[0];
    return worker.pid > 0;
}

void EndWorkers(std::vector<Worker>& workers) {
    for (Worker& worker : workers) {
        if (worker.pid > 0) kill(worker.pid, SIGTERM);
        close(worker.input);
    }
    for (Worker& worker : workers) {
        close(worker.output.descriptor);
        ChildProcess process;
        process.pid = worker.pid;
        if (worker.pid > 0 && !ChildEnded(process, kEndPatience)) KillChild(process);
    }
}

struct Progress {
    const MatchPlan& plan;
    const OpeningSource& nextOpening;
    const GameListener& heard;
    std::int64_t given = 0, finished = 0;
    Opening opening = {};  // of the pair at hand
    bool over = false;
    std::string trouble = {};
};

void GiveGame(Progress& progress, Worker& worker) {
    if (progress.given >= progress.plan.games) return;
    if (progress.given % 2 == 0) progress.opening = progress.nextOpening();
    worker.busy = WriteAll(worker.input, TaskLine(++progress.given, progress.opening));
    if (!worker.busy) progress.trouble = "a process of the match was lost";
}

// A whole report has come.
void TakeReport(Progress& progress, Worker& worker) {
    worker.busy = false;
    std::vector<std::string> lines;
    lines.swap(worker.lines);
    GameLine game;
    if (lines.empty() || lines[0].starts_with(kTrouble) ||
        !ReadGameLine(lines[0], game)) {
        progress.trouble =
            lines.empty() ? "an empty report" : lines[0].substr(sizeof kTrouble - 1);
        return;
    }
    if (!progress.plan.pgn.empty()) {
        std::string text;
        for (std::size_t i = 1; i < lines.size(); ++i) text += lines[i] + '\n';
        AppendText(progress.plan.pgn.c_str(), (text + '\n').c_str());
    }
    ++progress.finished;
    if (!progress.heard(game)) progress.over = true;
}

void Hear(Progress& progress, Worker& worker) {
    ReadSome(worker.output);
    for (std::string line; !progress.over && TakeLine(worker.output, line);) {
        if (line != kEndOfMoves)
            worker.lines.push_back(line);
        else
            TakeReport(progress, worker);
    }
    if (worker.output.ended && Broken == 0)
        progress.trouble = "a process of the match was lost";
}

void RunMatch(Progress& progress, std::vector<Worker>& workers) {
    while (Broken == 0 && !progress.over && progress.trouble.empty() &&
           progress.finished < progress.plan.games) {
        for (Worker& worker : workers)
            if (!worker.busy) GiveGame(progress, worker);
        std::vector<pollfd> waiting;
        for (const Worker& worker : workers)
            waiting.push_back({worker.output.descriptor, POLLIN, 0});
        if (poll(waiting.data(), waiting.size(), -1) <= 0) continue;
        for (std::size_t i = 0; i < workers.size(); ++i)
            if (waiting[i].revents != 0) Hear(progress, workers[i]);
    }
}

}  // namespace

bool PlayMatch(const MatchPlan& plan, const OpeningSource& nextOpening,
               const GameListener& heard, std::string& trouble) {
    CatchSignals();
    Progress progress{plan, nextOpening, heard};
    std::vector<Worker> workers(static_cast<std::size_t>(plan.jobs));
    for (Worker& worker : workers)
        if (!StartWorker(plan, worker)) progress.trouble = "no process for the match";
    RunMatch(progress, workers);
    EndWorkers(workers);
    trouble = progress.trouble;
    return trouble.empty();
}
