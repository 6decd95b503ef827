#include "bridge/session.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>

#include "bridge/cecp.h"
#include "bridge/engine.h"
#include "bridge/game.h"
#include "bridge/lines.h"
#include "bridge/options.h"
#include "bridge/setup.h"
#include "bridge/uci.h"
#include "platform/clock.h"
#include "platform/process.h"

Activity EngineActivity = Activity::Idle;
bool PonderWanted;
std::string PonderHint;
ThinkingReport LastReport;
bool QuitRequested;
long long InputReads;

namespace {

constexpr int kMostDeaths = 3;                 // in a row, before the bridge gives up
constexpr std::int64_t kNodePause = 5;         // ms between looks at the node count
constexpr std::int64_t kProgressPause = 1000;  // ms between words on the current move

const Protocol* Outside;
int ExitStatus = EXIT_SUCCESS;

// ---- What stands on the engine's board ----
struct EngineBoard {
    bool known = false;
    std::string start;               // the game's beginning
    int prelude = 0;                 // half-moves made to set it up
    std::vector<std::string> moves;  // of the game
};
EngineBoard OnBoard;

// ---- The last thinking line ----
// It names a promotion without its piece. Where the moves after it do not tell either, it
// is held back until the engine says the whole move: as its own, or when asked what it
// looks at. Held for too long, it is shown without its moves first.
constexpr std::int64_t kLongestHold = 500;    // ms
constexpr std::int64_t kPromotionPause = 20;  // ms between questions
std::string LastLine;
std::int64_t HeldUntil;  // 0: it has been shown

// ---- The search under way ----
SearchLimits Limits;
std::int64_t SearchBegan;
TimePlan Plan;
int LastScore;  // of the engine's last move, centipawns, if there is one
bool ScoreKnown;
bool Heard;                // the engine has shown that it searches
std::int64_t ProgressDue;  // when the current move is of interest next
std::int64_t StatusDue;    // when the engine's status is asked for next; 0: never
bool Resigning;            // "resign" came, its move has not yet
bool StatusWanted;         // the outside has asked
bool StatusAsked;          // the engine has been, and has not answered yet
bool MoveAsked;            // it has been told to move now
bool AnalysisEnded;        // it had nothing left to search when it was asked
int Refusals;              // searches of this position that gave no usable move
int Deaths;                // of the engine since it last ended a search
bool HasSearched;          // since its start
bool PonderGranted;        // the engine has been told "hard"
bool Harvesting;           // what it says while it settles still counts
std::string HarvestedMove;

int EnginePly() { return OnBoard.prelude + static_cast<int>(OnBoard.moves.size()); }

bool Thinking() {
    return EngineActivity == Activity::Searching || EngineActivity == Activity::Analysing;
}

std::string SetUpCommands(const std::string& fen) {
    const SetUpPlan plan = PlanSetUp(fen);
    ReplayGame();
    if (!plan.remark.empty()) Outside->onNotice(plan.remark);
    OnBoard = {true, fen, plan.plies, {}};
    return plan.commands;
}

// The commands that bring the idle engine from where it is to the game's position.
std::string CatchUp() {
    std::string text = "force\n";
    if (!OnBoard.known || OnBoard.start != Game.start) text += SetUpCommands(Game.start);
    std::vector<std::string>& moves = OnBoard.moves;
    const auto fork =
        std::mismatch(moves.begin(), moves.end(), Game.moves.begin(), Game.moves.end());
    for (auto i = fork.first; i != moves.end(); ++i) text += "undo\n";
    for (auto i = fork.second; i != Game.moves.end(); ++i) text += *i + '\n';
    moves = Game.moves;
    return text;
}

// The position alone, without the moves that led to it: the engine has seen an end of the
// game in them that the rules do not.
std::string SetUpAlone() {
    std::string text = "force\n" + SetUpCommands(WriteFen());
    OnBoard.known = false;
    return text;
}

void StartClock() {
    SearchBegan = ClockMilliseconds();
    Plan = PlanTime(Limits, MoveNumber(), MoveOverhead());
    ProgressDue = SearchBegan + kProgressPause;
    if (Limits.nodes > 0)
        StatusDue = SearchBegan + kNodePause;
    else
        StatusDue = Outside->onProgress != nullptr ? ProgressDue : 0;
}

// When "?" is due; 0: never. A search of which nothing has been heard has hardly begun,
// the machine being busy with other things: it may go on to the hard limit.
std::int64_t MoveDeadline() {
    if (Plan.soft == 0) return 0;
    if (!Heard) return SearchBegan + Plan.hard;
    const bool comparable = ScoreKnown && !LastReport.moves.empty();
    const int fall = comparable ? LastScore - LastReport.score : 0;
    return SearchBegan + StretchedLimit(Plan, fall);
}

void ForgetSearch() {
    Plan = TimePlan{};
    StatusDue = HeldUntil = 0;
    Heard = Resigning = StatusWanted = StatusAsked = MoveAsked = AnalysisEnded = false;
    PonderHint.clear();
}

void Search(const std::string& position) {
    HasSearched = true;
    LastReport = ThinkingReport{};
    ForgetSearch();
    StartClock();
    if (Limits.endless) {
        EngineActivity = Activity::Analysing;
        TellEngine(position + "analyze\n");
        return;
    }
    EngineActivity = Activity::Searching;
    PonderGranted =
        PonderWanted && OptionValue("Ponder") == "true" && TimeToPonder(Limits);
    TellEngine(position + (PonderGranted ? "hard\n" : "easy\n") +
               LimitCommands(Limits, Plan, EnginePly(), PonderGranted) + "go\n");
}

void Lessen(SearchLimits& limits, std::int64_t spent) {
    for (std::int64_t* left : {&limits.moveTime, &limits.clock})
        if (*left > 0) *left = std::max(*left - spent, std::int64_t{1});
}

// The engine is gone: a new one takes over what it was doing, with the time that is left.
void Revive() {
    const Activity interrupted = EngineActivity;
    EngineActivity = Activity::Idle;
    if (TerminationRequested()) {
        QuitRequested = true;
        return;
    }
    Outside->onNotice("the engine ended unexpectedly; it is started anew");
    if (++Deaths >= kMostDeaths) {
        Outside->onNotice("the engine keeps ending; giving up");
        ExitStatus = EXIT_FAILURE;
        QuitRequested = true;
        return;
    }
    if (!RestartEngine() || interrupted == Activity::Idle ||
        interrupted == Activity::Pondering)
        return;
    Lessen(Limits, SearchTime());
    Search(CatchUp());
}

// ---- What the engine says ----

// It has played the move on its own board, whatever became of the search.
void NoteEngineMove(const std::string& move) {
    if (OnBoard.known) OnBoard.moves.push_back(move);
}

void AcceptMove(const std::string& move) {
    if (!PlayMove(move)) {
        Outside->onNotice("the engine made an illegal move: " + move);
        EngineOutput.ended = true;  // out of step beyond repair: as if it had died
        return;
    }
    const bool resigns = Resigning;
    LastScore = LastReport.score;
    ScoreKnown = !LastReport.moves.empty();
    EngineActivity = PonderGranted ? Activity::Pondering : Activity::Idle;
    ForgetSearch();
    Refusals = Deaths = 0;
    if (PonderGranted && (!PonderWanted || resigns)) EndActivity();
    Outside->onMove(move, resigns);
}

// A result instead of a move. The bridge has looked whether the game is over, so this is
// a repetition by the engine's own coarser measure, or there is nothing left to search.
void AcceptRefusal(const std::string& result) {
    if (AllLegalMoves().empty() && Limits.endless) return;  // nothing to analyse
    if (Refusals++ == 0) {
        const SearchLimits limits = Limits;
        EndActivity();
        Limits = limits;
        Search(SetUpAlone());
        return;
    }
    Refusals = 0;
    if (Limits.endless) return;
    EngineActivity = Activity::Idle;
    ForgetSearch();
    Outside->onNoMove(result);
}

// The engine looks at its input only now and then, and takes one question at each look:
// more of them would pile up, until neither side could write any more.
void AskEngineStatus() {
    if (StatusAsked) return;
    StatusAsked = true;
    TellEngine(".\n");
}

void ShowThoughtWithoutMoves() {
    if (HeldUntil == 0) return;
    HeldUntil = 0;
    ThinkingReport report = LastReport;
    report.moves.clear();
    Outside->onThinking(report);
}

// The last line was about this move; it is shown, once more if need be, when it did not
// tell so.
void SettleThought(const std::string& move) {
    if (LastReport.moves.empty() || !SameSquares(LastReport.moves[0], move))
        return ShowThoughtWithoutMoves();
    if (LastReport.moves[0] == move && !LastReport.unsure) return;
    HeldUntil = 0;
    ReadThinkingLine(LastLine, move, LastReport);
    Outside->onThinking(LastReport);
}

// The first line of an iteration is about the move that the last one before was about.
bool SameMoveAsLast(const ThinkingReport& report) {
    return !report.moves.empty() && !LastReport.moves.empty() &&
           report.depth > LastReport.depth &&
           SameSquares(report.moves[0], LastReport.moves[0]);
}

// An analysis that has come to its end would begin again with a question.
bool MayAsk() {
    return EngineActivity == Activity::Searching ||
           (!AnalysisEnded && MovesToMate(LastReport.score) == 0);
}

void HandleThinking(const std::string& line) {
    ThinkingReport report;
    if (!ReadThinkingLine(line, "", report)) return;
    Heard = true;
    if (SameMoveAsLast(report)) {
        if (!LastReport.unsure) ReadThinkingLine(line, LastReport.moves[0], report);
        if (!report.unsure) SettleThought(report.moves[0]);
    }
    ShowThoughtWithoutMoves();
    LastReport = report;
    LastLine = line;
    if (!report.unsure) return Outside->onThinking(LastReport);
    HeldUntil = ClockMilliseconds() + kLongestHold;
    if (MayAsk()) StatusDue = ClockMilliseconds();
}

// False for the status of an engine that does not search.
bool ReadStatus(std::string_view line, EngineStatus& status) {
    TakeWord(line);
    for (long long* number : {&status.centiseconds, &status.nodes, &status.depth,
                              &status.movesLeft, &status.movesAndOne})
        if (!ToNumber(TakeWord(line), *number)) return false;
    status.move = TakeWord(line);
    return LegalMove(status.move) != NO_MOVE;
}

// The engine looks at its best move first.
bool IsBestMove(const EngineStatus& status) {
    return status.movesLeft + 1 == status.movesAndOne;
}

void ShowProgress(const EngineStatus& status) {
    if (Outside->onProgress == nullptr || ClockMilliseconds() < ProgressDue) return;
    ProgressDue = ClockMilliseconds() + kProgressPause;
    Outside->onProgress(status);
}

void AcceptStatus(const std::string& line) {
    StatusAsked = false;
    if (StatusWanted) Outside->onStatus(line);
    StatusWanted = false;
    EngineStatus status;
    if (!ReadStatus(line, status)) {
        AnalysisEnded = true;
        StatusDue = 0;
        return ShowThoughtWithoutMoves();
    }
    if (LastReport.unsure && IsBestMove(status)) SettleThought(status.move);
    ShowProgress(status);
    if (EngineActivity == Activity::Searching && Limits.nodes > 0 &&
        status.nodes >= Limits.nodes)
        MoveNow();
}

bool Begins(const std::string& line, std::string_view prefix) {
    return std::string_view(line).substr(0, prefix.size()) == prefix;
}

bool IsResult(const std::string& line) {
    return Begins(line, "1-0 {") || Begins(line, "0-1 {") || Begins(line, "1/2-1/2 {");
}

bool IsThinking(const std::string& line) {
    return !line.empty() && line[0] >= '0' && line[0] <= '9';
}

void HandleEngineLine(const std::string& line) {
    const bool busy = Thinking();
    if (Begins(line, "move ")) {
        const std::string move(Trimmed(std::string_view(line).substr(5)));
        if (EngineActivity == Activity::Searching) SettleThought(move);
        NoteEngineMove(move);
        if (EngineActivity == Activity::Searching) AcceptMove(move);
    } else if (Begins(line, "Hint: ")) {
        if (EngineActivity == Activity::Pondering) PonderHint = line.substr(6);
    } else if (Begins(line, "resign")) {
        Resigning = true;
    } else if (Begins(line, "stat01:")) {
        if (busy) AcceptStatus(line);
    } else if (Begins(line, "Illegal move: ")) {
        Outside->onNotice("out of step with the engine (" + line + ')');
        EngineOutput.ended = true;
    } else if (busy && IsResult(line)) {
        AcceptRefusal(line);
    } else if (busy && IsThinking(line)) {
        HandleThinking(line);
    }
}

void Settled(const std::string& line) {
    if (Begins(line, "move ")) {
        HarvestedMove = Trimmed(std::string_view(line).substr(5));
        if (Harvesting) SettleThought(HarvestedMove);
        NoteEngineMove(HarvestedMove);
    } else if (Harvesting && IsThinking(line)) {
        HandleThinking(line);
    }
}

// ---- The loop ----

void HandleEngine() {
    for (std::string line; TakeLine(EngineOutput, line);) {
        HandleEngineLine(line);
        if (EngineOutput.ended) break;
    }
    if (EngineOutput.ended && EngineOutput.descriptor >= 0) Revive();
}

// When the engine is to be asked again, after having been asked now.
std::int64_t NextStatus(std::int64_t now) {
    if (EngineActivity == Activity::Searching && Limits.nodes > 0)
        return now + kNodePause;
    if (!MayAsk()) return 0;
    if (LastReport.unsure) return now + kPromotionPause;
    return Outside->onProgress != nullptr ? now + kProgressPause : 0;
}

void HandleTimers() {
    if (!Thinking()) return;
    const std::int64_t now = ClockMilliseconds();
    const std::int64_t deadline = MoveDeadline();
    if (deadline != 0 && now >= deadline) MoveNow();
    if (HeldUntil != 0 && now >= HeldUntil) ShowThoughtWithoutMoves();
    if (StatusDue == 0 || now < StatusDue) return;
    StatusDue = NextStatus(now);
    AskEngineStatus();
}

// Milliseconds to the next timer, -1 when none runs.
int Pause() {
    std::int64_t next = 0;
    for (const std::int64_t timer : {MoveDeadline(), HeldUntil, StatusDue})
        if (timer != 0 && (next == 0 || timer < next)) next = timer;
    if (next == 0 || !Thinking()) return -1;
    return static_cast<int>(std::max(next - ClockMilliseconds(), std::int64_t{0}));
}

// Sleeps until either side has something to say, the outside does not listen any more, or
// a timer is due. A request to end the program that comes while it is awake still ends
// the sleep.
void Listen(LineReader& outside) {
    sigset_t terminate, before;
    sigemptyset(&terminate);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&terminate, signal);
    sigprocmask(SIG_BLOCK, &terminate, &before);
    pollfd waiting[] = {{outside.ended ? -1 : outside.descriptor, POLLIN, 0},
                        {EngineOutput.descriptor, POLLIN, 0},
                        {STDOUT_FILENO, 0, 0}};
    int ready = 0;
    if (!TerminationRequested()) {
        const int pause = Pause();
        const timespec limit = {pause / 1000, pause % 1000 * 1000000L};
        ready = ppoll(waiting, std::size(waiting), pause < 0 ? nullptr : &limit, &before);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (TerminationRequested()) QuitRequested = true;
    if (ready <= 0) return;
    if (waiting[2].revents != 0) OutsideGone = true;
    if (waiting[1].revents != 0) ReadSome(EngineOutput);
    if (waiting[0].revents == 0) return;
    ReadSome(outside);
    ++InputReads;
}

int RunLoop(LineReader& outside) {
    while (!QuitRequested && !OutsideGone) {
        HandleEngine();
        HandleTimers();
        const bool more = Outside->goOn(outside.ended);
        std::string line;
        if (!QuitRequested && TakeLine(outside, line)) {
            Outside->onLine(line);
            continue;
        }
        if (outside.ended && !more) break;
        if (!QuitRequested) Listen(outside);
    }
    StopEngine();
    return ExitStatus;
}

LineReader& StandardInput() {
    static LineReader reader;
    reader.descriptor = STDIN_FILENO;
    return reader;
}

}  // namespace

long long SearchTime() { return ClockMilliseconds() - SearchBegan; }

void BeginSearch(const SearchLimits& limits) {
    const std::int64_t asked = ClockMilliseconds();
    EndActivity();
    ApplyOptions();
    if (QuitRequested) return;
    Limits = limits;
    Lessen(Limits, ClockMilliseconds() - asked);  // the search's own clock starts now
    Refusals = 0;
    Search(CatchUp());
}

void BeginAnalysis() {
    SearchLimits limits;
    limits.endless = true;
    BeginSearch(limits);
}

void EndActivity() {
    if (EngineActivity == Activity::Idle) return;
    EngineActivity = Activity::Idle;
    ForgetSearch();
    if (SettleEngine(Settled)) {
        Deaths = 0;
        return;
    }
    EngineOutput.ended = true;
    Revive();
}

void MoveNow() {
    if (EngineActivity != Activity::Searching || MoveAsked) return;
    MoveAsked = true;
    Plan = TimePlan{};
    if (Limits.nodes > 0) StatusDue = 0;
    TellEngine("?\n");
}

bool TurnPonderHit(const SearchLimits& limits) {
    if (EngineActivity != Activity::Pondering || !OnBoard.known || !EngineRuns() ||
        OptionsChanged || Game.moves.back() != PonderHint ||
        (limits.clock < 0) != (Limits.clock < 0) || limits.moveTime != Limits.moveTime ||
        limits.depth != Limits.depth || !TimeToPonder(limits))
        return false;
    Limits = limits;
    const std::string text = Game.moves.back() + '\n';
    OnBoard.moves.push_back(Game.moves.back());
    EngineActivity = Activity::Searching;
    LastReport = ThinkingReport{};
    ForgetSearch();
    StartClock();
    Heard = true;
    Refusals = 0;
    TellEngine(text);
    return true;
}

namespace {

// The best move of the analysis that has just ended. Where a promotion's piece is not
// known, the engine, its tables full, is made to play the move.
std::string AnalysedMove() {
    if (LastReport.unsure) {
        const ThinkingReport report = LastReport;
        const std::string line = LastLine;
        Limits = SearchLimits{};
        Limits.depth = kQuickDepth;
        PonderWanted = false;
        HarvestedMove.clear();
        Search(CatchUp());
        EndActivity();
        LastReport = report;
        LastLine = line;
        if (SameSquares(report.moves[0], HarvestedMove)) SettleThought(HarvestedMove);
    }
    return LastReport.moves.empty() ? "" : LastReport.moves[0];
}

}  // namespace

std::string EndWithMove() {
    const bool analysing = EngineActivity == Activity::Analysing;
    HarvestedMove.clear();
    Harvesting = EngineActivity == Activity::Searching || analysing;
    EndActivity();
    Harvesting = false;
    if (analysing) return AnalysedMove();
    return LegalMove(HarvestedMove) == NO_MOVE ? "" : HarvestedMove;
}

void AskStatus() {
    StatusWanted = true;
    AskEngineStatus();
}

bool RestartEngine() {
    EngineActivity = Activity::Idle;
    OnBoard.known = HasSearched = ScoreKnown = false;
    OptionsChanged = false;
    ForgetSearch();
    std::string fault;
    const bool started = StartEngine(fault);
    if (!fault.empty()) Outside->onNotice(fault);
    if (started) return true;
    ExitStatus = EXIT_FAILURE;
    QuitRequested = true;
    return false;
}

void LeaveGame() {
    EndActivity();
    OnBoard.known = ScoreKnown = false;
}

void ForgetGames() {
    EndActivity();
    ScoreKnown = false;
    if (!HasSearched) return;
    TellEngine("new\n");  // the game it has played is credited to the book
    RestartEngine();
}

void ApplyOptions() {
    if (!OptionsChanged) return;
    const Activity interrupted = EngineActivity;
    EndActivity();
    if (RestartEngine() && interrupted == Activity::Analysing) Search(CatchUp());
}

namespace {

// The protocol that a line asks for; nullptr: it leaves that open.
const Protocol* AskedFor(std::string_view word) {
    if (word == "xboard" || word == "protover") return &kCecp;
    return word != "help" && word != "quit" && IsUciCommand(word) ? &kUci : nullptr;
}

}  // namespace

int RunSessionByFirstLine() {
    LineReader& input = StandardInput();
    for (std::string line;;) {
        while (TakeLine(input, line)) {
            std::string_view rest = line;
            const std::string_view word = TakeWord(rest);
            if (word == "quit") return EXIT_SUCCESS;
            Outside = AskedFor(word);
            if (Outside != nullptr) {
                if (!RestartEngine()) return ExitStatus;
                Outside->onLine(line);
                return RunLoop(input);
            }
            if (word == "help")
                kUci.onLine(line);
            else if (!word.empty())
                Say("Error (unknown command): %s", line.c_str());
        }
        if (input.ended) return EXIT_SUCCESS;
        Listen(input);
        if (QuitRequested || OutsideGone) return EXIT_SUCCESS;
    }
}
