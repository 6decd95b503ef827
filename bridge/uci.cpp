// UCI is stateless but for the position: each "position" replaces the whole game. The
// session finds what it has in common with the last one, so that the engine's tables and
// learning see one game.
#include "bridge/uci.h"

#include <algorithm>
#include <deque>
#include <iterator>

#include "board/notation.h"
#include "bridge/game.h"
#include "bridge/lines.h"
#include "bridge/options.h"
#include "bridge/shell.h"
#include "platform/version.h"

namespace {

constexpr std::size_t kMostWaiting = std::size_t{1} << 26;  // bytes

// What the front end is owed, and what waits for it.
struct {
    // ---- The search that a "bestmove" is owed for ----
    bool move = false;
    bool awaitingHit = false;  // "go ponder": its clock starts at "ponderhit"
    SearchLimits hitLimits;    // and these hold from then on
    long long readsAtGo = 0;   // InputReads at the last "go"
    // Why the last "position" was refused; empty: it was not. There is then nothing to
    // search: the position before it is not what the front end has on its board.
    std::string refusal;
    // Lines that wait for the end of a search. "position" and "go" do, as with other
    // engines: so a batch of them is worked off.
    std::deque<std::string> waiting;
    std::size_t waitingBytes = 0;
} Owed;

void CarryOutNext();

void Complain(const std::string& text) { Say("info string error: %s", text.c_str()); }

void GiveMove(const std::string& move, const std::string& reply) {
    Owed.move = Owed.awaitingHit = false;
    if (reply.empty())
        Say("bestmove %s", move.c_str());
    else
        Say("bestmove %s ponder %s", move.c_str(), reply.c_str());
}

bool NothingToSearch() { return !Owed.refusal.empty() || AllLegalMoves().empty(); }

// "(none)" at mate and stalemate, the null move when there is no position to search.
void GiveNoMove() { GiveMove(Owed.refusal.empty() ? "(none)" : "0000", ""); }

// The move after `move` in the last line of thought.
std::string Reply(const std::string& move) {
    const std::vector<std::string>& line = Session.LastReport.moves;
    return line.size() > 1 && line[0] == move ? line[1] : "";
}

// ---- Commands ----

// Each word behind the separator.
std::string Listed(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) text += separator + word;
    return text;
}

void Identify(std::string_view) {
    Say("id name Veltramox %s", kVersion);
    Say("id author the Veltramox developers");
    for (const BridgeOption& option : kOptions) {
        const std::string& value = OptionValue(option.name);
        switch (option.kind) {
            case OptionKind::Number:
                Say("option name %s type spin default %s min %lld max %lld", option.name,
                    value.c_str(), option.lowest, option.highest);
                break;
            case OptionKind::Switch:
                Say("option name %s type check default %s", option.name, value.c_str());
                break;
            case OptionKind::Choice:
                Say("option name %s type combo default %s%s", option.name, value.c_str(),
                    Listed(option.words, " var ").c_str());
                break;
            case OptionKind::Button:
                Say("option name %s type button", option.name);
                break;
            case OptionKind::Text:
                Say("option name %s type string default %s", option.name,
                    value.empty() ? "<empty>" : value.c_str());
                break;
        }
    }
    Say("uciok");
}

// Options wait until the search is over; a program without a search is ready at once.
void IsReady(std::string_view) {
    if (Session.EngineActivity == Activity::Idle) ApplyOptions();
    if (!Session.QuitRequested) Say("readyok");
}

// "name NAME... value VALUE...": both may hold blanks.
void ChangeOption(std::string_view rest) {
    rest = Trimmed(rest);
    if (TakeWord(rest) != "name") return Complain("setoption needs a name");
    rest = Trimmed(rest);
    const std::size_t value = rest.find(" value");
    const std::string_view name = Trimmed(rest.substr(0, value));
    std::string_view text;
    if (value != std::string_view::npos) text = Trimmed(rest.substr(value + 6));
    std::string remark;
    if (!SetOption(name, text, remark)) return Complain(remark);
    if (!remark.empty()) Say("info string %s", remark.c_str());
}

// Every "go" is owed a "bestmove", before anything else is done.
void EndSearch() {
    if (!Owed.move) return;
    if (NothingToSearch()) return GiveNoMove();
    // On a short clock nothing has been thought before the hit, and the front end plays
    // no such move: no time is spent on it.
    const bool held = Owed.awaitingHit && !TimeToPonder(Owed.hitLimits);
    std::string move = EndWithMove();
    if (move.empty() && !held) {
        SearchLimits quick;
        quick.depth = kQuickDepth;
        BeginSearch(quick);
        move = EndWithMove();
    }
    if (move.empty()) move = MoveText(AllLegalMoves().front());
    GiveMove(move, Reply(move));
}

void NewGame(std::string_view) {
    EndSearch();
    ForgetGames();
    StartGame();
    Owed.refusal.clear();
}

// Reads "startpos" or "fen FEN", then "moves MOVE..."; false with the reason in `fault`.
bool ReadPosition(std::string_view rest, std::string& fault) {
    const std::string_view kind = TakeWord(rest);
    std::string fen = kStartFen;
    std::string_view word;
    if (kind == "fen") {
        fen.clear();
        while (!(word = TakeWord(rest)).empty() && word != "moves")
            fen.append(word).append(1, ' ');
        if (!fen.empty()) fen.pop_back();
    } else if (kind == "startpos") {
        word = TakeWord(rest);
    } else {
        fault = "position needs startpos or fen";
        return false;
    }
    if (!word.empty() && word != "moves") {
        fault = "unknown word " + std::string(word);
        return false;
    }
    std::vector<std::string> moves;
    while (!(word = TakeWord(rest)).empty()) moves.emplace_back(word);
    return ReplaceGame(fen, moves, fault);
}

void SetPosition(std::string_view rest) {
    EndSearch();
    Owed.refusal.clear();
    if (!ReadPosition(rest, Owed.refusal)) Complain(Owed.refusal);
}

// Plies that are searched for a mate in so many moves. The strong search leaves out what
// looks hopeless, sacrifices among it, and sees a mate many plies late; it ends by itself
// when it has one.
int MateDepth(int moves) {
    constexpr int kMostMoves = 40, kLate = 12;
    const int least = 2 * std::min(moves, kMostMoves) + 1;
    return PlaysStrong() ? 2 * least + kLate : least;
}

// A move's form, "e2e4" or "e7e8q", whatever the position.
bool LooksLikeMove(std::string_view word) {
    const auto isSquare = [](std::string_view text) {
        return SquareOf(text[0], text[1]) != kNoSquare;
    };
    return (word.size() == 4 || word.size() == 5) && isSquare(word) &&
           isSquare(word.substr(2));
}

// The limit that the word names is read into `limits`; false with a complaint when its
// number is missing.
bool ReadLimit(std::string_view word, std::string_view& rest, SearchLimits& limits) {
    const bool white = Board.SideToMove == WHITE;
    long long number = 0;
    if (!ToNumber(TakeWord(rest), number)) {
        Complain("go: " + std::string(word) + " needs a number");
        return false;
    }
    constexpr long long kMost = 1000000;
    const long long positive = std::max(number, 1LL);
    const int small = static_cast<int>(std::min(positive, kMost));
    const std::int64_t time = std::clamp<std::int64_t>(number, 0, kLongestTime);
    if (word == (white ? "wtime" : "btime")) limits.clock = time;
    if (word == (white ? "winc" : "binc")) limits.increment = time;
    if (word == "movestogo") limits.movesToGo = small;
    if (word == "depth") limits.depth = small;
    if (word == "mate") limits.depth = MateDepth(small);
    if (word == "nodes") limits.nodes = positive;
    if (word == "movetime") limits.moveTime = std::max<std::int64_t>(time, 1);
    return true;
}

// The words of "go" that a number follows.
bool IsNumberedLimit(std::string_view word) {
    for (const char* known : {"wtime", "btime", "winc", "binc", "movestogo", "depth",
                              "mate", "nodes", "movetime"})
        if (word == known) return true;
    return false;
}

// Reads the moves behind "searchmoves"; the first word that has not the form of a move
// ends them. Illegal ones are named; without any other the search is of all moves.
void ReadMoves(std::string_view& rest, std::vector<std::string>& moves) {
    std::string illegal;
    std::string_view after = rest;
    for (std::string_view word; LooksLikeMove(word = TakeWord(after)); rest = after) {
        const Move m = LegalMove(word);
        if (m == NO_MOVE)
            illegal += ' ' + std::string(word);
        else
            moves.push_back(MoveText(m));
    }
    if (!illegal.empty())
        Say("info string searchmoves: not legal here:%s", illegal.c_str());
    if (moves.empty()) Say("info string searchmoves: no move is left, all are searched");
}

// Reads what follows "go"; without any limit the search is endless. Unknown words are
// passed over, as UCI wants it, and the first of them is said. False after a complaint.
bool ReadLimits(std::string_view rest, SearchLimits& limits, bool& ponder) {
    bool endless = false, unknown = false;
    for (std::string_view word; !(word = TakeWord(rest)).empty();) {
        if (word == "infinite") {
            endless = true;
        } else if (word == "ponder") {
            ponder = true;
        } else if (word == "searchmoves") {
            ReadMoves(rest, limits.moves);
        } else if (IsNumberedLimit(word)) {
            if (!ReadLimit(word, rest, limits)) return false;
        } else if (!unknown) {
            unknown = true;
            Say("info string go: unknown word %s", std::string(word).c_str());
        }
    }
    const bool limited =
        limits.depth > 0 || limits.nodes > 0 || limits.moveTime > 0 || limits.clock >= 0;
    limits.endless = endless || !limited;
    return true;
}

// A "go" that cannot be read is refused before the search under way is ended: it then
// begins nothing and ends nothing.
void Go(std::string_view rest) {
    SearchLimits limits;
    bool ponder = false;
    if (!ReadLimits(rest, limits, ponder)) return;
    EndSearch();
    Session.LastReport = ThinkingReport{};
    Owed.readsAtGo = Session.InputReads;
    Owed.move = true;
    Owed.awaitingHit = ponder;
    Owed.hitLimits = limits;
    if (ponder) limits.endless = true;
    if (!NothingToSearch()) {
        if (ponder && !TimeToPonder(Owed.hitLimits)) return;  // the hit begins it
        Session.PonderWanted = false;
        BeginSearch(limits);
        return;
    }
    if (!Owed.refusal.empty())
        Complain("no position to search: " + Owed.refusal);
    else
        Say("info depth 0 score %s", InCheck(Board.SideToMove) ? "mate 0" : "cp 0");
    if (!limits.endless) GiveNoMove();
}

// The search for a move starts over, with all that pondering has left in the tables.
void PonderHit(std::string_view) {
    if (!Owed.awaitingHit) return;
    Owed.awaitingHit = false;
    if (Owed.hitLimits.endless) return;
    if (NothingToSearch()) return GiveNoMove();
    BeginSearch(Owed.hitLimits);
}

// What waits was asked for before: it is begun and ended, so that nothing is owed.
void Stop(std::string_view) {
    EndSearch();
    while (!Owed.waiting.empty() && !Session.QuitRequested) {
        CarryOutNext();
        EndSearch();
    }
}

void Quit(std::string_view) {
    EndSearch();
    Session.QuitRequested = true;
}
void Draw(std::string_view) {
    if (!Owed.refusal.empty()) return Complain("no position: " + Owed.refusal);
    DrawBoard();
}
void Help(std::string_view) { ShowHelp(); }
void Nothing(std::string_view) {}

// What a command does while a search that will end of itself goes on.
enum class Turn {
    AtOnce,
    InOrder,  // waits when others wait
    After,    // waits
    Last,     // the same, if it belongs to a batch: it came in one piece with "go"
};

constexpr struct {
    std::string_view name;
    void (*run)(std::string_view rest);
    Turn turn;
} kCommands[] = {
    {"uci", Identify, Turn::AtOnce},
    {"isready", IsReady, Turn::AtOnce},
    {"setoption", ChangeOption, Turn::InOrder},
    {"ucinewgame", NewGame, Turn::After},
    {"position", SetPosition, Turn::After},
    {"go", Go, Turn::After},
    {"stop", Stop, Turn::AtOnce},
    {"ponderhit", PonderHit, Turn::InOrder},
    {"quit", Quit, Turn::Last},
    {"d", Draw, Turn::InOrder},
    {"help", Help, Turn::AtOnce},
    {"debug", Nothing, Turn::AtOnce},
    {"register", Nothing, Turn::AtOnce},
};

// ---- What happens ----

void CarryOut(const std::string& line) {
    std::string_view rest = line;
    const std::string_view word = TakeWord(rest);
    if (word.empty()) return;
    for (const auto& command : kCommands)
        if (word == command.name) return command.run(rest);
    Complain("unknown command " + std::string(word));
}

void CarryOutNext() {
    const std::string line = std::move(Owed.waiting.front());
    Owed.waiting.pop_front();
    Owed.waitingBytes -= line.size();
    CarryOut(line);
}

bool SearchEndsOfItself() {
    return Owed.move && Session.EngineActivity == Activity::Searching;
}

// By the command's turn; see Turn.
bool MustWait(std::string_view word) {
    if (!SearchEndsOfItself() && Owed.waiting.empty()) return false;
    for (const auto& command : kCommands) {
        if (word != command.name) continue;
        if (command.turn == Turn::AtOnce || command.turn == Turn::After)
            return command.turn == Turn::After;
        return !Owed.waiting.empty() ||
               (command.turn == Turn::Last && Session.InputReads == Owed.readsAtGo);
    }
    return false;
}

void OnLine(const std::string& line) {
    std::string_view rest = line;
    if (!MustWait(TakeWord(rest))) return CarryOut(line);
    if (Owed.waitingBytes + line.size() > kMostWaiting)
        return Complain("too much waits for the end of the search");
    Owed.waitingBytes += line.size();
    Owed.waiting.push_back(line);
}

// At the input's end a search without an end of its own is ended, as "stop" would.
bool GoOn(bool inputEnded) {
    while (!Owed.waiting.empty() && !SearchEndsOfItself() && !Session.QuitRequested)
        CarryOutNext();
    if (inputEnded && !SearchEndsOfItself()) EndSearch();
    return Owed.move || !Owed.waiting.empty();
}

// A search of less than a millisecond has taken one.
std::string Effort(long long milliseconds, long long nodes) {
    return "time " + std::to_string(milliseconds) + " nodes " + std::to_string(nodes) +
           " nps " + std::to_string(nodes * 1000 / std::max(milliseconds, 1LL));
}

std::string Score(const ThinkingReport& report) {
    const int mate = MateInMoves(report.score);
    const std::string score = mate != 0 ? "score mate " + std::to_string(mate)
                                        : "score cp " + std::to_string(report.score);
    if (report.bound == Bound::Exact) return score;
    return score + (report.bound == Bound::Lower ? " lowerbound" : " upperbound");
}

// What has not been told is left out.
std::string Told(const char* name, long long value) {
    return value < 0 ? "" : std::string(name) + ' ' + std::to_string(value) + ' ';
}

void OnThinking(const ThinkingReport& report) {
    const long long time =
        report.milliseconds < 0 ? report.centiseconds * 10 : report.milliseconds;
    std::string text = "info " + Told("depth", report.depth) +
                       Told("seldepth", report.deepest) +
                       (report.deepest < 0 ? "" : Told("multipv", report.rank)) +
                       Score(report) + ' ' + Effort(time, report.nodes);
    if (report.deepest >= 0)
        text += " hashfull " + std::to_string(report.permille) + " tbhits " +
                std::to_string(report.tableHits);
    if (!report.moves.empty()) text += " pv";
    for (const std::string& move : report.moves) text += ' ' + move;
    Say("%s", text.c_str());
}

void OnProgress(const EngineStatus& status) {
    Say("info depth %lld %s currmove %s currmovenumber %lld", status.depth,
        Effort(status.centiseconds * 10, status.nodes).c_str(), status.move.c_str(),
        status.movesAndOne - status.movesLeft);
}

// The front end makes the move itself, in its next "position".
void OnMove(const std::string& move, bool) {
    TakeBackMove();
    GiveMove(move, Reply(move));
}

// The engine sees a draw that the rules do not; a "bestmove" is owed all the same.
void OnNoMove(const std::string& result) {
    Say("info string %s", result.c_str());
    GiveMove(MoveText(AllLegalMoves().front()), "");
}

void OnStatus(const std::string&) {}
void OnNotice(const std::string& text) { Say("info string %s", text.c_str()); }

}  // namespace

const Protocol kUci = {OnLine,   OnThinking, OnMove,     OnNoMove,
                       OnStatus, OnNotice,   OnProgress, GoOn};

bool IsUciCommand(std::string_view word) {
    return std::any_of(std::begin(kCommands), std::end(kCommands),
                       [word](const auto& command) { return command.name == word; });
}
