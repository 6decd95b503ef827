#include "bridge/uci.h"

#include <algorithm>

#include "board/notation.h"
#include "bridge/game.h"
#include "bridge/lines.h"
#include "bridge/options.h"

namespace {

// ---- The search that a "bestmove" is owed for ----
bool MoveOwed;
bool AwaitingHit;        // "go ponder": its clock starts at "ponderhit"
SearchLimits HitLimits;  // and these hold from then on

// Why the last "position" was refused; empty: it was not. There is then nothing to
// search: the position before it is not what the front end has on its board.
std::string Refusal;

void Complain(const std::string& text) { Say("info string error: %s", text.c_str()); }

void GiveMove(const std::string& move, const std::string& reply) {
    MoveOwed = AwaitingHit = false;
    if (reply.empty())
        Say("bestmove %s", move.c_str());
    else
        Say("bestmove %s ponder %s", move.c_str(), reply.c_str());
}

bool NothingToSearch() { return !Refusal.empty() || AllLegalMoves().empty(); }

void GiveNoMove() { GiveMove(Refusal.empty() ? "(none)" : "0000", ""); }

// The move after `move` in the last line of thought.
std::string Reply(const std::string& move) {
    const std::vector<std::string>& line = LastReport.moves;
    return line.size() > 1 && line[0] == move ? line[1] : "";
}

// ---- Commands ----

void Identify(std::string_view) {
    Say("id name Veltramox 0.16");
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
    if (EngineActivity == Activity::Idle) ApplyOptions();
    if (!QuitRequested) Say("readyok");
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
    std::string fault;
    if (!SetOption(name, text, fault)) Complain(fault);
}

// Every "go" is owed a "bestmove", before anything else is done.
void Stop(std::string_view) {
    if (!MoveOwed) return;
    if (NothingToSearch()) return GiveNoMove();
    std::string move = EndWithMove();
    if (move.empty()) {
        SearchLimits quick;
        quick.depth = kQuickDepth;
        BeginSearch(quick);
        move = EndWithMove();
    }
    if (move.empty()) move = MoveText(AllLegalMoves().front());
    GiveMove(move, Reply(move));
}

void NewGame(std::string_view) {
    Stop({});
    ForgetGames();
    StartGame();
    Refusal.clear();
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
    Stop({});
    Refusal.clear();
    if (!ReadPosition(rest, Refusal)) Complain(Refusal);
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
    if (word == "mate") limits.depth = 2 * std::min(small, 40) + 1;
    if (word == "nodes") limits.nodes = positive;
    if (word == "movetime") limits.moveTime = std::max<std::int64_t>(time, 1);
    return true;
}

bool IsNumberedLimit(std::string_view word) {
    for (const char* known : {"wtime", "btime", "winc", "binc", "movestogo", "depth",
                              "mate", "nodes", "movetime"})
        if (word == known) return true;
    return false;
}

bool ReadLimits(std::string_view rest, SearchLimits& limits, bool& ponder) {
    bool endless = false;
    for (std::string_view word; !(word = TakeWord(rest)).empty();) {
        if (word == "infinite") {
            endless = true;
        } else if (word == "ponder") {
            ponder = true;
        } else if (word == "searchmoves") {
            Say("info string searchmoves is not supported: all moves are searched");
            std::string_view after = rest;
            while (LegalMove(TakeWord(after)) != NO_MOVE) rest = after;
        } else if (IsNumberedLimit(word)) {
            if (!ReadLimit(word, rest, limits)) return false;
        } else {
            Complain("go: unknown word " + std::string(word));
            return false;
        }
    }
    const bool limited =
        limits.depth > 0 || limits.nodes > 0 || limits.moveTime > 0 || limits.clock >= 0;
    limits.endless = endless || !limited;
    return true;
}

void Go(std::string_view rest) {
    SearchLimits limits;
    bool ponder = false;
    if (!ReadLimits(rest, limits, ponder)) return;
    Stop({});
    LastReport = ThinkingReport{};
    MoveOwed = true;
    AwaitingHit = ponder;
    HitLimits = limits;
    if (ponder) limits.endless = true;
    if (!NothingToSearch()) {
        PonderWanted = false;
        BeginSearch(limits);
        return;
    }
    if (!Refusal.empty()) Complain("no position to search: " + Refusal);
    if (!limits.endless) GiveNoMove();
}

// The search for a move starts over, with all that pondering has left in the tables.
void PonderHit(std::string_view) {
    if (!AwaitingHit) return;
    AwaitingHit = false;
    if (HitLimits.endless) return;
    if (NothingToSearch()) return GiveNoMove();
    BeginSearch(HitLimits);
}

void Quit(std::string_view) { QuitRequested = true; }
void Nothing(std::string_view) {}

constexpr struct {
    std::string_view name;
    void (*run)(std::string_view rest);
} kCommands[] = {
    {"uci", Identify},       {"isready", IsReady},      {"setoption", ChangeOption},
    {"ucinewgame", NewGame}, {"position", SetPosition}, {"go", Go},
    {"stop", Stop},          {"ponderhit", PonderHit},  {"quit", Quit},
    {"debug", Nothing},      {"register", Nothing},
};

// ---- What happens ----

void OnLine(const std::string& line) {
    std::string_view rest = line;
    const std::string_view word = TakeWord(rest);
    if (word.empty()) return;
    for (const auto& command : kCommands)
        if (word == command.name) return command.run(rest);
    Complain("unknown command " + std::string(word));
}

void OnThinking(const ThinkingReport& report) {
    const int mate = MovesToMate(report.score);
    const long long milliseconds = report.centiseconds * 10;
    std::string text = "info depth " + std::to_string(report.depth) +
                       (mate != 0 ? " score mate " + std::to_string(mate)
                                  : " score cp " + std::to_string(report.score)) +
                       " time " + std::to_string(milliseconds) + " nodes " +
                       std::to_string(report.nodes);
    if (milliseconds > 0)
        text += " nps " + std::to_string(report.nodes * 1000 / milliseconds);
    if (!report.moves.empty()) text += " pv";
    for (const std::string& move : report.moves) text += ' ' + move;
    Say("%s", text.c_str());
}

// The front end makes the move itself, in its next "position".
void OnMove(const std::string& move, bool) {
    TakeBackMove();
    GiveMove(move, Reply(move));
}

void OnNoMove(const std::string& result) {
    Say("info string %s", result.c_str());
    GiveMove(MoveText(AllLegalMoves().front()), "");
}

void OnStatus(const std::string&) {}
void OnNotice(const std::string& text) { Say("info string %s", text.c_str()); }

}  // namespace

const Protocol kUci = {OnLine, OnThinking, OnMove, OnNoMove, OnStatus, OnNotice};
