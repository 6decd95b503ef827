// One thread: a loop over poll that feeds lines to the protocol and the engine's words to
// the state below. Protocols ask for searches of the game's position; the commands that
// bring the engine there are derived from what stands on its board.
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

SessionState Session;

namespace {

constexpr int kMostDeaths = 3;                 // in a row, before the bridge gives up
constexpr std::int64_t kNodePause = 5;         // ms between looks at the node count
constexpr std::int64_t kProgressPause = 1000;  // ms between words on the current move

// What stands on the engine's board.
struct EngineBoard {
    bool known = false;
    std::string start;               // the game's beginning
    int prelude = 0;                 // half-moves made to set it up
    std::vector<std::string> moves;  // of the game
};

// A thinking line names a promotion without its piece. Where the moves after it do not
// tell either, it is held back until the engine says the whole move: as its own, or when
// asked what it looks at. Held for too long, it is shown without its moves first.
constexpr std::int64_t kLongestHold = 500;    // ms
constexpr std::int64_t kPromotionPause = 20;  // ms between questions

// What the session knows of the engine and of the search under way.
struct {
    const Protocol* outside = nullptr;
    int exitStatus = EXIT_SUCCESS;
    EngineBoard onBoard;

    // ---- The last thinking line ----
    std::string lastLine;
    std::int64_t heldUntil = 0;  // 0: it has been shown

    // ---- The search under way ----
    SearchLimits limits;
    std::int64_t searchBegan = 0;
    TimePlan plan;
    int lastScore = 0;  // of the engine's last move, centipawns, if there is one
    bool scoreKnown = false;
    bool heard = false;            // the engine has shown that it searches
    std::int64_t progressDue = 0;  // when the current move is of interest next
    std::int64_t statusDue = 0;    // when the engine is asked for its status; 0: never
    bool resigning = false;        // "resign" came, its move has not yet
    bool statusWanted = false;     // the outside has asked
    bool statusAsked = false;      // the engine has been, and has not answered yet
    bool moveAsked = false;        // it has been told to move now
    std::int64_t moveDue = 0;      // when it then counts as hung; 0: not told
    bool analysisEnded = false;    // it had nothing left to search when it was asked
    int refusals = 0;              // searches of this position that gave no usable move
    int deaths = 0;                // of the engine since it last ended a search
    bool hasSearched = false;      // since its start
    bool ponderGranted = false;    // the engine has been told "hard"
    bool harvesting = false;       // what it says while it settles still counts
    std::string harvestedMove;
} Run;

int EnginePly() {
    return Run.onBoard.prelude + static_cast<int>(Run.onBoard.moves.size());
}

bool Thinking() {
    return Session.EngineActivity == Activity::Searching ||
           Session.EngineActivity == Activity::Analysing;
}

std::string SetUpCommands(const std::string& fen) {
    const SetUpPlan plan = PlanSetUp(fen);
    ReplayGame();
    if (!plan.remark.empty()) Run.outside->onNotice(plan.remark);
    Run.onBoard = {true, fen, plan.plies, {}};
    return plan.commands;
}

// The commands that bring the idle engine from where it is to the game's position.
std::string CatchUp() {
    std::string text = "force\n";
    if (!Run.onBoard.known || Run.onBoard.start != Game.start)
        text += SetUpCommands(Game.start);
    std::vector<std::string>& moves = Run.onBoard.moves;
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
    Run.onBoard.known = false;
    return text;
}

// The classic search's nodes are counted from here.
bool CountsNodes() { return Run.limits.nodes > 0 && !PlaysStrong(); }

void StartClock() {
    Run.searchBegan = ClockMilliseconds();
    Run.plan = PlaysStrong() ? PlanStrongTime(Run.limits, MoveNumber(), MoveOverhead(),
                                              Run.ponderGranted)
                             : PlanTime(Run.limits, MoveNumber(), MoveOverhead());
    Run.progressDue = Run.searchBegan + kProgressPause;
    if (CountsNodes())
        Run.statusDue = Run.searchBegan + kNodePause;
    else
        Run.statusDue = Run.outside->onProgress != nullptr ? Run.progressDue : 0;
}

// When "?" is due; 0: never. A search of which nothing has been heard has hardly begun,
// the machine being busy with other things: it may go on to the hard limit.
std::int64_t MoveDeadline() {
    if (Run.plan.soft == 0) return 0;
    if (PlaysStrong()) return Run.searchBegan + StrongDeadline(Run.plan);
    if (!Run.heard) return Run.searchBegan + Run.plan.hard;
    const bool comparable = Run.scoreKnown && !Session.LastReport.moves.empty();
    const int fall = comparable ? Run.lastScore - Session.LastReport.score : 0;
    return Run.searchBegan + StretchedLimit(Run.plan, fall);
}

void ForgetSearch() {
    Run.plan = TimePlan{};
    Run.statusDue = Run.heldUntil = Run.moveDue = 0;
    Run.heard = Run.resigning = Run.statusWanted = Run.statusAsked = Run.moveAsked =
        Run.analysisEnded = false;
    Session.PonderHint.clear();
}

std::string EngineLimits() {
    if (PlaysStrong()) return StrongLimitCommands(Run.limits, Run.plan);
    return LimitCommands(Run.limits, Run.plan, EnginePly(), Run.ponderGranted);
}

// The lines of the engine's input are short.
constexpr std::size_t kMovesPerLine = 40;

// What the strong search is asked for beside its limits.
std::string StrongWishes() {
    std::string text = "details\nlines " + OptionValue("MultiPV") + "\nstrength " +
                       (StrengthLimited() ? OptionValue("UCI_Elo") : "0") + ' ' +
                       OptionValue("Seed") + "\nsearchmoves\n";
    const std::vector<std::string>& moves = Run.limits.moves;
    for (std::size_t i = 0; i < moves.size(); ++i)
        text += (i % kMovesPerLine == 0 ? (i == 0 ? "searchmoves " : "\nsearchmoves ")
                                        : " ") +
                moves[i];
    return text + (moves.empty() ? "" : "\n");
}

// The classic search knows one line of all moves.
void TellWhatIsNotKnown() {
    std::string unknown;
    const auto add = [&](bool asked, const char* name) {
        if (asked) unknown += (unknown.empty() ? "" : ", ") + std::string(name);
    };
    add(OptionValue("MultiPV") != "1", "MultiPV");
    add(!Run.limits.moves.empty(), "searchmoves");
    add(StrengthLimited(), "UCI_LimitStrength");
    if (!unknown.empty())
        Run.outside->onNotice("the classic search does not know " + unknown);
}

// Begins the search that Limits describe, after the commands that bring the engine to the
// position. An endless one is an analysis: a search for a move would end by itself.
void Search(const std::string& position) {
    Run.hasSearched = true;
    Session.LastReport = ThinkingReport{};
    ForgetSearch();
    Run.ponderGranted = !Run.limits.endless && Session.PonderWanted &&
                        OptionValue("Ponder") == "true" && TimeToPonder(Run.limits) &&
                        !StrengthLimited();
    if (!PlaysStrong()) TellWhatIsNotKnown();
    const std::string wishes = PlaysStrong() ? StrongWishes() : "";
    StartClock();
    if (Run.limits.endless) {
        Session.EngineActivity = Activity::Analysing;
        TellEngine(position + wishes + "analyze\n");
        return;
    }
    Session.EngineActivity = Activity::Searching;
    TellEngine(position + wishes + (Run.ponderGranted ? "hard\n" : "easy\n") +
               EngineLimits() + "go\n");
}

// Never to 0, which would mean "no limit".
void Lessen(SearchLimits& limits, std::int64_t spent) {
    for (std::int64_t* left : {&limits.moveTime, &limits.clock})
        if (*left > 0) *left = std::max(*left - spent, std::int64_t{1});
}

// The engine is gone: a new one takes over what it was doing, with the time that is left.
void Revive() {
    const Activity interrupted = Session.EngineActivity;
    Session.EngineActivity = Activity::Idle;
    if (TerminationRequested()) {
        Session.QuitRequested = true;
        return;
    }
    Run.outside->onNotice("the engine ended unexpectedly; it is started anew");
    if (++Run.deaths >= kMostDeaths) {
        Run.outside->onNotice("the engine keeps ending; giving up");
        Run.exitStatus = EXIT_FAILURE;
        Session.QuitRequested = true;
        return;
    }
    if (!RestartEngine() || interrupted == Activity::Idle ||
        interrupted == Activity::Pondering)
        return;
    const std::string position = CatchUp();
    Lessen(Run.limits, SearchTime());
    Search(position);
}

// ---- What the engine says ----

// It has played the move on its own board, whatever became of the search.
void NoteEngineMove(const std::string& move) {
    if (Run.onBoard.known) Run.onBoard.moves.push_back(move);
}

// The move has come of the engine's own accord or after "?".
void AcceptMove(const std::string& move) {
    if (!PlayMove(move)) {
        Run.outside->onNotice("the engine made an illegal move: " + move);
        Engine.EngineOutput.ended = true;  // out of step beyond repair: as if it had died
        return;
    }
    const bool resigns = Run.resigning;
    Run.lastScore = Session.LastReport.score;
    Run.scoreKnown = !Session.LastReport.moves.empty();
    Session.EngineActivity = Run.ponderGranted ? Activity::Pondering : Activity::Idle;
    ForgetSearch();
    Run.refusals = Run.deaths = 0;
    if (Run.ponderGranted && (!Session.PonderWanted || resigns)) EndActivity();
    Run.outside->onMove(move, resigns);
}

// A result instead of a move. The bridge has looked whether the game is over, so this is
// a repetition by the engine's own coarser measure, or there is nothing left to search.
void AcceptRefusal(const std::string& result) {
    if (AllLegalMoves().empty() && Run.limits.endless) return;  // nothing to analyse
    if (Run.refusals++ == 0) {
        const SearchLimits limits = Run.limits;
        EndActivity();
        Run.limits = limits;
        const std::string position = SetUpAlone();
        Lessen(Run.limits, SearchTime());
        Search(position);
        return;
    }
    Run.refusals = 0;
    if (Run.limits.endless) return;
    Session.EngineActivity = Activity::Idle;
    ForgetSearch();
    Run.outside->onNoMove(result);
}

// The engine looks at its input only now and then, and takes one question at each look:
// more of them would pile up, until neither side could write any more.
void AskEngineStatus() {
    if (Run.statusAsked) return;
    Run.statusAsked = true;
    TellEngine(".\n");
}

// What is known of a line that is still held back: depth, score and effort.
void ShowThoughtWithoutMoves() {
    if (Run.heldUntil == 0) return;
    Run.heldUntil = 0;
    ThinkingReport report = Session.LastReport;
    report.moves.clear();
    Run.outside->onThinking(report);
}

// The last line was about this move; it is shown, once more if need be, when it did not
// tell so.
void SettleThought(const std::string& move) {
    if (Session.LastReport.moves.empty() ||
        !SameSquares(Session.LastReport.moves[0], move))
        return ShowThoughtWithoutMoves();
    if (Session.LastReport.moves[0] == move && !Session.LastReport.unsure) return;
    Run.heldUntil = 0;
    ReadThinkingLine(Run.lastLine, move, Session.LastReport);
    Run.outside->onThinking(Session.LastReport);
}

// The first line of an iteration is about the move that the last one before was about.
bool SameMoveAsLast(const ThinkingReport& report) {
    return !report.moves.empty() && !Session.LastReport.moves.empty() &&
           report.depth > Session.LastReport.depth &&
           SameSquares(report.moves[0], Session.LastReport.moves[0]);
}

// An analysis that has come to its end would begin again with a question.
bool MayAsk() {
    return Session.EngineActivity == Activity::Searching ||
           (!Run.analysisEnded && MateInMoves(Session.LastReport.score) == 0);
}

void HandleThinking(const std::string& line) {
    ThinkingReport report;
    if (!ReadThinkingLine(line, "", report)) return;
    Run.heard = true;
    if (SameMoveAsLast(report)) {
        if (!Session.LastReport.unsure)
            ReadThinkingLine(line, Session.LastReport.moves[0], report);
        if (!report.unsure) SettleThought(report.moves[0]);
    }
    ShowThoughtWithoutMoves();
    Session.LastReport = report;
    Run.lastLine = line;
    if (!report.unsure) return Run.outside->onThinking(Session.LastReport);
    Run.heldUntil = ClockMilliseconds() + kLongestHold;
    if (MayAsk()) Run.statusDue = ClockMilliseconds();
}

// Of several lines the best one is what the engine thinks.
void HandleFullLine(const std::string& line) {
    ThinkingReport report;
    if (!ReadFullLine(line, report)) return;
    Run.heard = true;
    if (report.rank == 1) Session.LastReport = report;
    Run.outside->onThinking(report);
}

// False for the status of an engine that does not search. "stat01: CENTISECONDS NODES
// DEPTH LEFT MOVES+1 MOVE".
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

// Once a second at most, however often the node count is asked for.
void ShowProgress(const EngineStatus& status) {
    if (Run.outside->onProgress == nullptr || ClockMilliseconds() < Run.progressDue)
        return;
    Run.progressDue = ClockMilliseconds() + kProgressPause;
    Run.outside->onProgress(status);
}

void AcceptStatus(const std::string& line) {
    Run.statusAsked = false;
    if (Run.statusWanted) Run.outside->onStatus(line);
    Run.statusWanted = false;
    EngineStatus status;
    if (!ReadStatus(line, status)) {
        Run.analysisEnded = true;
        Run.statusDue = 0;
        return ShowThoughtWithoutMoves();
    }
    if (Session.LastReport.unsure && IsBestMove(status)) SettleThought(status.move);
    ShowProgress(status);
    if (Session.EngineActivity == Activity::Searching && CountsNodes() &&
        status.nodes >= Run.limits.nodes)
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

// Dispatch on the engine's dialect. Lines of a search that is over are left unread, but
// for its moves: those have changed its board.
void HandleEngineLine(const std::string& line) {
    const bool busy = Thinking();
    if (Begins(line, "move ")) {
        const std::string move(Trimmed(std::string_view(line).substr(5)));
        if (Session.EngineActivity == Activity::Searching) SettleThought(move);
        NoteEngineMove(move);
        if (Session.EngineActivity == Activity::Searching) AcceptMove(move);
    } else if (Begins(line, "Hint: ")) {
        if (Session.EngineActivity == Activity::Pondering)
            Session.PonderHint = line.substr(6);
    } else if (Begins(line, "resign")) {
        Run.resigning = true;
    } else if (Begins(line, "stat01:")) {
        if (busy) AcceptStatus(line);
    } else if (Begins(line, "Illegal move: ")) {
        Run.outside->onNotice("out of step with the engine (" + line + ')');
        Engine.EngineOutput.ended = true;
    } else if (busy && IsResult(line)) {
        AcceptRefusal(line);
    } else if (busy && IsThinking(line)) {
        HandleThinking(line);
    } else if (busy && Begins(line, "line ")) {
        HandleFullLine(line);
    }
}

// What the engine still says while it is brought to rest. A move that it makes then is
// noted, so that it can be taken back.
void Settled(const std::string& line) {
    if (Begins(line, "move ")) {
        Run.harvestedMove = Trimmed(std::string_view(line).substr(5));
        if (Run.harvesting) SettleThought(Run.harvestedMove);
        NoteEngineMove(Run.harvestedMove);
    } else if (Run.harvesting && IsThinking(line)) {
        HandleThinking(line);
    } else if (Run.harvesting && Begins(line, "line ")) {
        HandleFullLine(line);
    }
}

// ---- The loop ----

void HandleEngine() {
    for (std::string line; TakeLine(Engine.EngineOutput, line);) {
        HandleEngineLine(line);
        if (Engine.EngineOutput.ended) break;
    }
    if (Engine.EngineOutput.ended && Engine.EngineOutput.descriptor >= 0) Revive();
}

// When the engine is to be asked again, after having been asked now.
std::int64_t NextStatus(std::int64_t now) {
    if (Session.EngineActivity == Activity::Searching && CountsNodes())
        return now + kNodePause;
    if (!MayAsk()) return 0;
    if (Session.LastReport.unsure) return now + kPromotionPause;
    return Run.outside->onProgress != nullptr ? now + kProgressPause : 0;
}

void HandleTimers() {
    if (!Thinking()) return;
    const std::int64_t now = ClockMilliseconds();
    const std::int64_t deadline = MoveDeadline();
    if (deadline != 0 && now >= deadline) MoveNow();
    if (Run.moveDue != 0 && now >= Run.moveDue) Engine.EngineOutput.ended = true;
    if (Run.heldUntil != 0 && now >= Run.heldUntil) ShowThoughtWithoutMoves();
    if (Run.statusDue == 0 || now < Run.statusDue) return;
    Run.statusDue = NextStatus(now);
    AskEngineStatus();
}

// Milliseconds to the next timer, -1 when none runs.
int Pause() {
    std::int64_t next = 0;
    for (const std::int64_t timer :
         {MoveDeadline(), Run.moveDue, Run.heldUntil, Run.statusDue})
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
                        {Engine.EngineOutput.descriptor, POLLIN, 0},
                        {STDOUT_FILENO, 0, 0}};
    int ready = 0;
    if (!TerminationRequested()) {
        const int pause = Pause();
        const timespec limit = {pause / 1000, pause % 1000 * 1000000L};
        ready = ppoll(waiting, std::size(waiting), pause < 0 ? nullptr : &limit, &before);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (TerminationRequested()) Session.QuitRequested = true;
    if (ready <= 0) return;
    if (waiting[2].revents != 0) OutsideGone = true;
    if (waiting[1].revents != 0) ReadSome(Engine.EngineOutput);
    if (waiting[0].revents == 0) return;
    ReadSome(outside);
    ++Session.InputReads;
}

// One line of the outside at a time, and the engine's before it: a command finds the
// state that the engine's words up to now have made. Sleeps only when no line is left.
int RunLoop(LineReader& outside) {
    while (!Session.QuitRequested && !OutsideGone) {
        HandleEngine();
        HandleTimers();
        const bool more = Run.outside->goOn(outside.ended);
        std::string line;
        if (!Session.QuitRequested && TakeLine(outside, line)) {
            Run.outside->onLine(line);
            continue;
        }
        if (outside.ended && !more) break;
        // One that a timer has found hung is not to be slept over.
        if (Engine.EngineOutput.ended && Engine.EngineOutput.descriptor >= 0) continue;
        if (!Session.QuitRequested) Listen(outside);
    }
    StopEngine();
    return Run.exitStatus;
}

LineReader& StandardInput() {
    static LineReader reader;
    reader.descriptor = STDIN_FILENO;
    return reader;
}

}  // namespace

long long SearchTime() { return ClockMilliseconds() - Run.searchBegan; }

void BeginSearch(const SearchLimits& limits) {
    const std::int64_t asked = ClockMilliseconds();
    EndActivity();
    ApplyOptions();
    if (Session.QuitRequested) return;
    Run.limits = limits;
    Run.refusals = 0;
    const std::string position = CatchUp();
    Lessen(Run.limits, ClockMilliseconds() - asked);  // the search's own clock starts now
    Search(position);
}

void BeginAnalysis(const std::vector<std::string>& moves) {
    SearchLimits limits;
    limits.moves = moves;
    limits.endless = true;
    BeginSearch(limits);
}

void EndActivity() {
    if (Session.EngineActivity == Activity::Idle) return;
    Session.EngineActivity = Activity::Idle;
    ForgetSearch();
    if (SettleEngine(Settled)) {
        Run.deaths = 0;
        return;
    }
    Engine.EngineOutput.ended = true;
    Revive();
}

// "?" but once: a second one would reach the engine after its move. The plan is dropped,
// so that no timer comes back to it.
void MoveNow() {
    if (Session.EngineActivity != Activity::Searching || Run.moveAsked) return;
    Run.moveAsked = true;
    Run.moveDue = ClockMilliseconds() + Engine.Patience;
    Run.plan = TimePlan{};
    if (CountsNodes()) Run.statusDue = 0;
    TellEngine("?\n");
}

// The limits must be of the kind that the engine was given with "go", for it cannot be
// told others while it thinks; how much time there is the bridge decides in any case.
bool TurnPonderHit(const SearchLimits& limits) {
    if (Session.EngineActivity != Activity::Pondering || !Run.onBoard.known ||
        !EngineRuns() || OptionsChanged || Game.moves.back() != Session.PonderHint ||
        (limits.clock < 0) != (Run.limits.clock < 0) ||
        (limits.moveTime > 0) != (Run.limits.moveTime > 0) ||
        limits.depth != Run.limits.depth || !limits.moves.empty() ||
        !TimeToPonder(limits))
        return false;
    Run.limits = limits;
    Run.onBoard.moves.push_back(Game.moves.back());
    Session.EngineActivity = Activity::Searching;
    Session.LastReport = ThinkingReport{};
    ForgetSearch();
    StartClock();
    Run.heard = true;
    Run.refusals = 0;
    TellEngine((PlaysStrong() ? StrongLimits(Run.limits, Run.plan) : "") +
               Game.moves.back() + '\n');
    return true;
}

namespace {

// The best move of the analysis that has just ended. Where a promotion's piece is not
// known, the engine, its tables full, is made to play the move.
std::string AnalysedMove() {
    if (Session.LastReport.unsure && EngineRuns()) {
        const ThinkingReport report = Session.LastReport;
        const std::string line = Run.lastLine;
        Run.limits = SearchLimits{};
        Run.limits.depth = kQuickDepth;
        Session.PonderWanted = false;
        Run.harvestedMove.clear();
        Search(CatchUp());
        EndActivity();
        Session.LastReport = report;
        Run.lastLine = line;
        if (SameSquares(report.moves[0], Run.harvestedMove))
            SettleThought(Run.harvestedMove);
    }
    return Session.LastReport.moves.empty() ? "" : Session.LastReport.moves[0];
}

}  // namespace

std::string EndWithMove() {
    const bool analysing = Session.EngineActivity == Activity::Analysing;
    Run.harvestedMove.clear();
    Run.harvesting = Session.EngineActivity == Activity::Searching || analysing;
    EndActivity();
    Run.harvesting = false;
    if (analysing) return AnalysedMove();
    return LegalMove(Run.harvestedMove) == NO_MOVE ? "" : Run.harvestedMove;
}

void AskStatus() {
    Run.statusWanted = true;
    AskEngineStatus();
}

bool RestartEngine() {
    Session.EngineActivity = Activity::Idle;
    Run.onBoard.known = Run.hasSearched = Run.scoreKnown = false;
    OptionsChanged = false;
    ForgetSearch();
    std::string fault;
    const bool started = StartEngine(fault);
    if (!fault.empty()) Run.outside->onNotice(fault);
    if (started) return true;
    Run.exitStatus = EXIT_FAILURE;
    Session.QuitRequested = true;
    return false;
}

void LeaveGame() {
    EndActivity();
    Run.onBoard.known = Run.scoreKnown = false;
}

// "new" and then a restart: what the engine has learned of the game is written first, and
// hash tables and history begin empty.
void ForgetGames() {
    EndActivity();
    Run.scoreKnown = false;
    if (!Run.hasSearched) return;
    TellEngine("new\n");  // the game it has played is credited to the book
    RestartEngine();
}

void ApplyOptions() {
    if (!OptionsChanged) return;
    const Activity interrupted = Session.EngineActivity;
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

// Until a protocol is chosen no engine runs: "help" and "quit" work without one.
int RunSessionByFirstLine() {
    LineReader& input = StandardInput();
    for (std::string line;;) {
        while (TakeLine(input, line)) {
            std::string_view rest = line;
            const std::string_view word = TakeWord(rest);
            if (word == "quit") return EXIT_SUCCESS;
            Run.outside = AskedFor(word);
            if (Run.outside != nullptr) {
                if (!RestartEngine()) return Run.exitStatus;
                Run.outside->onLine(line);
                return RunLoop(input);
            }
            if (word == "help")
                kUci.onLine(line);
            else if (!word.empty())
                Say("Error (unknown command): %s", line.c_str());
        }
        if (input.ended) return EXIT_SUCCESS;
        Listen(input);
        if (Session.QuitRequested || OutsideGone) return EXIT_SUCCESS;
    }
}
