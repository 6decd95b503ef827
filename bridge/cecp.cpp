// The protocol as a table of commands over a few modes. Here the program keeps the game's
// state itself (whose turn, the clock, the end of the game); the session knows only
// searches.
#include "bridge/cecp.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "bridge/game.h"
#include "bridge/lines.h"
#include "bridge/options.h"
#include "platform/version.h"

namespace {

constexpr std::int64_t kMinute = 60000, kSecond = 1000;
struct TimeControl {
    int moves = 40;  // 0: one period for the whole game
    std::int64_t base = 5 * kMinute, increment = 0;
};

// The protocol's modes and clock.
struct {
    bool force = false;  // the engine moves for neither side
    int engineColour = BLACK;
    bool analysis = false;
    bool post = false;                   // thinking lines are wanted
    bool hard = false;                   // pondering is wanted
    std::vector<std::string> excluded;   // from the analysis of the game's position
    std::string expected;                // the reply that the engine expects
    std::vector<std::string> owedPongs;  // answers that wait for the engine's move

    TimeControl control;
    std::int64_t moveTime = 0;            // ms, by "st"; 0: the control counts
    int depth = 0;                        // by "sd"; 0: none
    std::int64_t ownClock = 5 * kMinute;  // ms; the front end's "time" corrects it
} Mode;

void Refuse(const char* reason, const std::string& line) {
    Say("Error (%s): %s", reason, line.c_str());
}
constexpr char kNotNow[] = "command not legal now";
constexpr char kUnknown[] = "unknown command";
constexpr char kBadValue[] = "bad argument";

// How many of the game's half-moves are this side's, from who made the last one: the
// start may have had either side to move.
int MovesMade(int colour) {
    const int plies = static_cast<int>(Game.moves.size());
    const bool last = ChangeSide(Board.SideToMove) == colour;
    return last ? (plies + 1) / 2 : plies / 2;
}

// What is in force for the next move: "st" replaces the clock until a "level" does away
// with it; "sd" holds beside either.
SearchLimits Limits() {
    SearchLimits limits;
    limits.depth = Mode.depth;
    limits.moveTime = Mode.moveTime;
    if (Mode.moveTime > 0) return limits;
    limits.clock = Mode.ownClock;
    limits.increment = Mode.control.increment;
    if (Mode.control.moves > 0)
        limits.movesToGo =
            Mode.control.moves - MovesMade(Board.SideToMove) % Mode.control.moves;
    return limits;
}

// The engine's clock after its move, until the front end says better.
void PunchClock() {
    Mode.ownClock += Mode.control.increment - SearchTime();
    if (Mode.control.moves > 0 && MovesMade(Mode.engineColour) % Mode.control.moves == 0)
        Mode.ownClock += Mode.control.base;
    Mode.ownClock = std::max(Mode.ownClock, std::int64_t{0});
}

// Announces the end of the game if it has come.
bool Announced() {
    const char* result = GameResult();
    if (result == nullptr) return false;
    EndActivity();
    Say("%s", result);
    return true;
}

// The position's moves but those that are excluded; with none of them left nothing is
// analysed.
void Analyse() {
    if (Mode.excluded.empty()) return BeginAnalysis();
    std::vector<std::string> moves;
    for (const Move m : AllLegalMoves()) {
        const auto& out = Mode.excluded;
        if (std::find(out.begin(), out.end(), MoveText(m)) == out.end())
            moves.push_back(MoveText(m));
    }
    if (moves.empty()) return EndActivity();
    BeginAnalysis(moves);
}

// The position has changed, by a move or otherwise: whatever the modes ask for begins.
void GoOn() {
    Mode.excluded.clear();  // what was said of another position holds no more
    if (Mode.analysis) return Analyse();
    if (Mode.force || Board.SideToMove != Mode.engineColour || Announced()) return;
    Session.PonderWanted = Mode.hard;
    const SearchLimits limits = Limits();
    if (!TurnPonderHit(limits)) BeginSearch(limits);
}

// ---- Commands; `line` is the whole one, `rest` what follows its first word ----

// The words with " /// " between, the one in force behind a star.
std::string Listed(const std::vector<std::string>& words, const std::string& chosen) {
    std::string text;
    for (const std::string& word : words)
        text +=
            (text.empty() ? "" : " /// ") + std::string(word == chosen ? "*" : "") + word;
    return text;
}

void AnnounceOption(const BridgeOption& option) {
    const std::string& value = OptionValue(option.name);
    switch (option.kind) {
        case OptionKind::Number:
            return Say("feature option=\"%s -spin %s %lld %lld\"", option.name,
                       value.c_str(), option.lowest, option.highest);
        case OptionKind::Switch:
            return Say("feature option=\"%s -check %d\"", option.name, value == "true");
        case OptionKind::Choice:
            return Say("feature option=\"%s -combo %s\"", option.name,
                       Listed(option.words, value).c_str());
        case OptionKind::Button:
            return Say("feature option=\"%s -button\"", option.name);
        case OptionKind::Text:
            return Say("feature option=\"%s -string %s\"", option.name, value.c_str());
    }
}

// "done=0" stops the front end's patience, which is two seconds otherwise, and "done=1"
// ends the list. Version 1 knows no features.
void Protover(const std::string&, std::string_view rest) {
    long long version = 0;
    if (!ToNumber(TakeWord(rest), version) || version < 2) return;
    Say("feature done=0");
    Say("feature ping=1 setboard=1 usermove=1 colors=0 sigint=0 sigterm=1 reuse=1");
    Say("feature analyze=1 time=1 draw=0 playother=1 exclude=1 debug=1 "
        "myname=\"Veltramox %s\" variants=\"normal\"",
        kVersion);
    Say("feature smp=1");
    // Analysis is a mode of its own here.
    for (const BridgeOption& option : kOptions)
        if (std::string_view(option.name) != "UCI_AnalyseMode") AnnounceOption(option);
    Say("feature done=1");
}

void NewGame(const std::string&, std::string_view) {
    LeaveGame();
    StartGame();
    Mode.force = false;
    Mode.engineColour = BLACK;
    Mode.depth = 0;
    Mode.ownClock = Mode.control.base;
    Mode.expected.clear();
    Mode.excluded.clear();
    if (Mode.analysis) Analyse();
}

// Also a move without "usermove" in front, as older front ends send it.
void UserMove(const std::string& line, std::string_view rest) {
    const std::string_view move = TakeWord(rest);
    if (Session.EngineActivity == Activity::Searching) return Refuse(kNotNow, line);
    if (!PlayMove(move)) return Say("Illegal move: %s", std::string(move).c_str());
    Mode.expected.clear();
    // In force mode, pondering that still goes on is of no use.
    if (Mode.force && !Mode.analysis) EndActivity();
    if (!Mode.force && !Mode.analysis && Board.SideToMove != Mode.engineColour &&
        Announced())
        return;
    GoOn();
}

// Changes of the game that are no moves.
void Rebuilt() {
    Mode.expected.clear();
    Mode.excluded.clear();
    if (Mode.analysis) Analyse();
}

void SetBoard(const std::string&, std::string_view rest) {
    if (!StartGame(Trimmed(rest))) {
        Say("tellusererror Illegal position");
        return;
    }
    EndActivity();  // what the engine still does concerns the position before
    Rebuilt();
}

void TakeBack(const std::string& line, std::size_t count) {
    if (Game.moves.size() < count) return Refuse(kNotNow, line);
    EndActivity();
    for (; count > 0; --count) TakeBackMove();
    Rebuilt();
}
void Undo(const std::string& line, std::string_view) { TakeBack(line, 1); }
void Remove(const std::string& line, std::string_view) { TakeBack(line, 2); }

void Go(const std::string& line, std::string_view) {
    if (Mode.analysis) return Refuse(kNotNow, line);
    if (Session.EngineActivity == Activity::Searching) return;
    Mode.force = false;
    Mode.engineColour = Board.SideToMove;
    GoOn();
}

// The engine takes the side that is not to move, and so does not begin.
void PlayOther(const std::string&, std::string_view) {
    EndActivity();
    Mode.force = false;
    Mode.engineColour = ChangeSide(Board.SideToMove);
}

void PutInForce(const std::string&, std::string_view) {
    if (!Mode.analysis) EndActivity();
    Mode.force = true;
}

// "exit" leaves the engine in force mode: the front end says how to go on.
void Analyze(const std::string&, std::string_view) {
    Mode.analysis = Mode.force = true;
    Analyse();
}

// "exclude" and "include" take a move or "all"; they may come before "analyze".
void ChangeExcluded(std::string_view rest, bool exclude) {
    const std::string_view word = TakeWord(rest);
    std::vector<std::string> moves;
    for (const Move m : AllLegalMoves())
        if (word == "all" || m == LegalMove(word)) moves.push_back(MoveText(m));
    if (moves.empty()) return Say("Illegal move: %s", std::string(word).c_str());
    for (const std::string& move : moves) std::erase(Mode.excluded, move);
    if (exclude) Mode.excluded.insert(Mode.excluded.end(), moves.begin(), moves.end());
    if (Mode.analysis) Analyse();
}
void Exclude(const std::string&, std::string_view rest) { ChangeExcluded(rest, true); }
void Include(const std::string&, std::string_view rest) { ChangeExcluded(rest, false); }

void ExitAnalysis(const std::string&, std::string_view) {
    if (!Mode.analysis) return;
    EndActivity();
    Mode.analysis = false;
}

void Status(const std::string&, std::string_view) {
    if (Session.EngineActivity == Activity::Analysing) AskStatus();
}

void MoveAtOnce(const std::string&, std::string_view) { MoveNow(); }

// Before an answer all that came earlier has been done; but a search for a move is not
// waited for here, its move comes first and then the answer.
void Ping(const std::string&, std::string_view rest) {
    const std::string number(TakeWord(rest));
    if (Session.EngineActivity == Activity::Searching) {
        Mode.owedPongs.push_back(number);
        return;
    }
    ApplyOptions();
    Say("pong %s", number.c_str());
}

void SendPongs() {
    for (const std::string& number : Mode.owedPongs) Say("pong %s", number.c_str());
    Mode.owedPongs.clear();
}

// Seconds, with or without a fraction, as ms; -1 when the text is none.
std::int64_t Seconds(std::string_view text) {
    const std::string copy(text);
    char* end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    constexpr double kMost = 1e6;
    if (copy.empty() || *end != '\0' || !(value >= 0) || value > kMost) return -1;
    return std::llround(value * static_cast<double>(kSecond));
}

// "MINUTES" or "MINUTES:SECONDS" as ms; -1 when the text is neither.
std::int64_t BaseTime(std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::int64_t minutes = Seconds(text.substr(0, colon));
    const std::int64_t seconds =
        colon == std::string_view::npos ? 0 : Seconds(text.substr(colon + 1));
    return minutes < 0 || seconds < 0 ? -1 : minutes * 60 + seconds;
}

// "level MOVES BASE INCREMENT". A fixed time for the move ends with it.
void Level(const std::string& line, std::string_view rest) {
    long long moves = 0;
    const bool good = ToNumber(TakeWord(rest), moves) && moves >= 0 && moves < 100000;
    const std::int64_t base = BaseTime(TakeWord(rest));
    const std::int64_t increment = Seconds(TakeWord(rest));
    if (!good || base < 0 || increment < 0) return Refuse(kBadValue, line);
    Mode.control = {static_cast<int>(moves), base, increment};
    Mode.ownClock = base;
    Mode.moveTime = 0;
}

void SecondsPerMove(const std::string& line, std::string_view rest) {
    const std::int64_t time = Seconds(TakeWord(rest));
    if (time <= 0) return Refuse(kBadValue, line);
    Mode.moveTime = time;
}

void SearchDepth(const std::string& line, std::string_view rest) {
    long long depth = 0;
    if (!ToNumber(TakeWord(rest), depth) || depth < 0) return Refuse(kBadValue, line);
    Mode.depth = static_cast<int>(std::min(depth, 1000LL));
}

// The engine's clock in centiseconds; it may be overdrawn, which counts as none left.
void Time(const std::string& line, std::string_view rest) {
    long long centiseconds = 0;
    if (!ToNumber(TakeWord(rest), centiseconds)) return Refuse(kBadValue, line);
    constexpr long long kMost = 100000000;
    Mode.ownClock = std::clamp(centiseconds, 0LL, kMost) * 10;
}

void SetHard(const std::string&, std::string_view) { Mode.hard = true; }

void SetEasy(const std::string&, std::string_view) {
    Mode.hard = Session.PonderWanted = false;
    if (Session.EngineActivity == Activity::Pondering) EndActivity();
}

void SetPost(const std::string&, std::string_view) { Mode.post = true; }
void SetNoPost(const std::string&, std::string_view) { Mode.post = false; }

void Result(const std::string&, std::string_view) {
    EndActivity();
    Mode.force = true;
}

// While the engine ponders its prediction, otherwise the second move of its last line.
void Hint(const std::string&, std::string_view) {
    const std::string& hint =
        Session.PonderHint.empty() ? Mode.expected : Session.PonderHint;
    if (!hint.empty()) Say("Hint: %s", hint.c_str());
}

// The answer to "bk" ends with an empty line; of the book there is nothing to be shown.
void Book(const std::string&, std::string_view) { Say("%s", ""); }

// Options wait for the end of a search.
void GiveOption(const std::string& line, std::string_view name, std::string_view value) {
    std::string remark;
    if (!SetOption(name, value, remark)) return Refuse(remark.c_str(), line);
    if (!remark.empty()) Say("# %s", remark.c_str());
    if (Session.EngineActivity != Activity::Analysing) return;
    // Some options the engine is told with each search.
    if (OptionsChanged)
        ApplyOptions();
    else
        Analyse();
}

void ChangeOption(const std::string& line, std::string_view rest) {
    rest = Trimmed(rest);
    const std::size_t equals = std::min(rest.find('='), rest.size());
    std::string_view value = rest.substr(equals);
    if (!value.empty()) value.remove_prefix(1);
    GiveOption(line, Trimmed(rest.substr(0, equals)), value);
}

void Cores(const std::string& line, std::string_view rest) {
    GiveOption(line, "Threads", TakeWord(rest));
}

void Variant(const std::string& line, std::string_view rest) {
    if (TakeWord(rest) != "normal") Refuse("unsupported variant", line);
}

void Quit(const std::string&, std::string_view) { Session.QuitRequested = true; }
void Nothing(const std::string&, std::string_view) {}

constexpr struct {
    std::string_view name;
    void (*run)(const std::string& line, std::string_view rest);
} kCommands[] = {
    {"xboard", Nothing},
    {"protover", Protover},
    {"accepted", Nothing},
    {"rejected", Nothing},
    {"new", NewGame},
    {"variant", Variant},
    {"usermove", UserMove},
    {"setboard", SetBoard},
    {"undo", Undo},
    {"remove", Remove},
    {"go", Go},
    {"playother", PlayOther},
    {"force", PutInForce},
    {"analyze", Analyze},
    {"exclude", Exclude},
    {"include", Include},
    {"exit", ExitAnalysis},
    {".", Status},
    {"?", MoveAtOnce},
    {"ping", Ping},
    {"level", Level},
    {"st", SecondsPerMove},
    {"sd", SearchDepth},
    {"time", Time},
    {"otim", Nothing},
    {"hard", SetHard},
    {"easy", SetEasy},
    {"post", SetPost},
    {"nopost", SetNoPost},
    {"result", Result},
    {"hint", Hint},
    {"bk", Book},
    {"option", ChangeOption},
    {"cores", Cores},
    {"draw", Nothing},
    {"random", Nothing},
    {"computer", Nothing},
    {"name", Nothing},
    {"rating", Nothing},
    {"ics", Nothing},
    {"quit", Quit},
};

bool LooksLikeMove(std::string_view word) {
    return (word.size() == 4 || word.size() == 5) && word[1] >= '1' && word[1] <= '8' &&
           word[3] >= '1' && word[3] <= '8';
}

void CarryOut(std::string_view word, const std::string& line, std::string_view rest) {
    for (const auto& command : kCommands)
        if (word == command.name) return command.run(line, rest);
    if (LooksLikeMove(word)) return UserMove(line, word);
    Refuse(kUnknown, line);
}

// ---- What happens ----

void OnLine(const std::string& line) {
    std::string_view rest = line;
    const std::string_view word = TakeWord(rest);
    if (word.empty()) return;
    CarryOut(word, line, rest);
    // The command may have ended the search whose move the answers waited for.
    if (Session.EngineActivity != Activity::Searching) SendPongs();
}

// Mates are 100000 and the moves to it.
int ShownScore(int score) {
    constexpr int kMate = 100000;
    const int mate = MateInMoves(score);
    if (mate == 0) return score;
    return mate > 0 ? kMate + mate : mate - kMate;
}

void OnThinking(const ThinkingReport& report) {
    if (!Mode.post || report.bound != Bound::Exact) return;
    std::string text;
    for (const std::string& move : report.moves) text += ' ' + move;
    Say("%d %d %lld %lld%s", report.depth, ShownScore(report.score), report.centiseconds,
        report.nodes, text.c_str());
}

// A front end ends the game at "resign": the move that goes with it is not played.
void OnMove(const std::string& move, bool resigns) {
    PunchClock();
    const std::vector<std::string>& line = Session.LastReport.moves;
    Mode.expected = line.size() > 1 && line[0] == move ? line[1] : "";
    if (resigns) {
        Say("resign");
        TakeBackMove();
        Mode.force = true;
    } else {
        Say("move %s", move.c_str());
        Announced();
    }
    SendPongs();
}

void OnNoMove(const std::string& result) {
    Say("%s", result.c_str());
    SendPongs();
}

void OnStatus(const std::string& line) { Say("%s", line.c_str()); }
void OnNotice(const std::string& text) { Say("# %s", text.c_str()); }

// The protocol's goOn: nothing is ever put off here, so that after the input's end only
// the move of a search under way is still to come.
bool ToMove(bool) { return Session.EngineActivity == Activity::Searching; }

}  // namespace

const Protocol kCecp = {OnLine,   OnThinking, OnMove,  OnNoMove,
                        OnStatus, OnNotice,   nullptr, ToMove};
