#include "bridge/cecp.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "bridge/game.h"
#include "bridge/lines.h"
#include "bridge/options.h"
#include "platform/version.h"

namespace {

// ---- Modes ----
bool Force;  // the engine moves for neither side
int EngineColour = BLACK;
bool Analysis;
bool Post;                           // thinking lines are wanted
bool Hard;                           // pondering is wanted
std::string Expected;                // the reply that the engine expects to its last move
std::vector<std::string> OwedPongs;  // answers that wait for the engine's move

// ---- Clock ----
constexpr std::int64_t kMinute = 60000, kSecond = 1000;
struct TimeControl {
    int moves = 40;  // 0: one period for the whole game
    std::int64_t base = 5 * kMinute, increment = 0;
};
TimeControl Control;
std::int64_t MoveTime;                // ms, by "st"; 0: the control counts
int Depth;                            // by "sd"; 0: none
std::int64_t OwnClock = 5 * kMinute;  // ms; the front end's "time" corrects it

void Refuse(const char* reason, const std::string& line) {
    Say("Error (%s): %s", reason, line.c_str());
}
constexpr char kNotNow[] = "command not legal now";
constexpr char kUnknown[] = "unknown command";
constexpr char kBadValue[] = "bad argument";

int MovesMade(int colour) {
    const int plies = static_cast<int>(Game.moves.size());
    const bool last = ChangeSide(Board.SideToMove) == colour;
    return last ? (plies + 1) / 2 : plies / 2;
}

SearchLimits Limits() {
    SearchLimits limits;
    limits.depth = Depth;
    limits.moveTime = MoveTime;
    if (MoveTime > 0) return limits;
    limits.clock = OwnClock;
    limits.increment = Control.increment;
    if (Control.moves > 0)
        limits.movesToGo = Control.moves - MovesMade(Board.SideToMove) % Control.moves;
    return limits;
}

// The engine's clock after its move, until the front end says better.
void PunchClock() {
    OwnClock += Control.increment - SearchTime();
    if (Control.moves > 0 && MovesMade(EngineColour) % Control.moves == 0)
        OwnClock += Control.base;
    OwnClock = std::max(OwnClock, std::int64_t{0});
}

// Announces the end of the game if it has come.
bool Announced() {
    const char* result = GameResult();
    if (result == nullptr) return false;
    EndActivity();
    Say("%s", result);
    return true;
}

// The position has changed, by a move or otherwise: whatever the modes ask for begins.
void GoOn() {
    if (Analysis) return BeginAnalysis();
    if (Force || Board.SideToMove != EngineColour || Announced()) return;
    PonderWanted = Hard;
    const SearchLimits limits = Limits();
    if (!TurnPonderHit(limits)) BeginSearch(limits);
}

// ---- Commands; `line` is the whole one, `rest` what follows its first word ----

void AnnounceOption(const BridgeOption& option) {
    const std::string& value = OptionValue(option.name);
    switch (option.kind) {
        case OptionKind::Number:
            return Say("feature option=\"%s -spin %s %lld %lld\"", option.name,
                       value.c_str(), option.lowest, option.highest);
        case OptionKind::Switch:
            return Say("feature option=\"%s -check %d\"", option.name, value == "true");
        case OptionKind::Button:
            return Say("feature option=\"%s -button\"", option.name);
        case OptionKind::Text:
            return Say("feature option=\"%s -string %s\"", option.name, value.c_str());
    }
}

void Protover(const std::string&, std::string_view rest) {
    long long version = 0;
    if (!ToNumber(TakeWord(rest), version) || version < 2) return;
    Say("feature done=0");
    Say("feature ping=1 setboard=1 usermove=1 colors=0 sigint=0 sigterm=0 reuse=1");
    Say("feature analyze=1 time=1 draw=0 playother=1 debug=1 "
        "myname=\"Veltramox %s\" variants=\"normal\"",
        kVersion);
    // Analysis is a mode of its own here.
    for (const BridgeOption& option : kOptions)
        if (std::string_view(option.name) != "UCI_AnalyseMode") AnnounceOption(option);
    Say("feature done=1");
}

void NewGame(const std::string&, std::string_view) {
    LeaveGame();
    StartGame();
    Force = false;
    EngineColour = BLACK;
    Depth = 0;
    OwnClock = Control.base;
    Expected.clear();
    if (Analysis) BeginAnalysis();
}

void UserMove(const std::string& line, std::string_view rest) {
    const std::string_view move = TakeWord(rest);
    if (EngineActivity == Activity::Searching) return Refuse(kNotNow, line);
    if (!PlayMove(move)) return Say("Illegal move: %s", std::string(move).c_str());
    Expected.clear();
    // In force mode, pondering that still goes on is of no use.
    if (Force && !Analysis) EndActivity();
    if (!Force && !Analysis && Board.SideToMove != EngineColour && Announced()) return;
    GoOn();
}

// Changes of the game that are no moves.
void Rebuilt() {
    Expected.clear();
    if (Analysis) BeginAnalysis();
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
    if (Analysis) return Refuse(kNotNow, line);
    if (EngineActivity == Activity::Searching) return;
    Force = false;
    EngineColour = Board.SideToMove;
    GoOn();
}

void PlayOther(const std::string&, std::string_view) {
    EndActivity();
    Force = false;
    EngineColour = ChangeSide(Board.SideToMove);
}

void PutInForce(const std::string&, std::string_view) {
    if (!Analysis) EndActivity();
    Force = true;
}

void Analyze(const std::string&, std::string_view) {
    Analysis = Force = true;
    BeginAnalysis();
}

void ExitAnalysis(const std::string&, std::string_view) {
    if (!Analysis) return;
    EndActivity();
    Analysis = false;
}

void Status(const std::string&, std::string_view) {
    if (EngineActivity == Activity::Analysing) AskStatus();
}

void MoveAtOnce(const std::string&, std::string_view) { MoveNow(); }

// Before an answer all that came earlier has been done; but a search for a move is not
// waited for here, its move comes first and then the answer.
void Ping(const std::string&, std::string_view rest) {
    const std::string number(TakeWord(rest));
    if (EngineActivity == Activity::Searching) {
        OwedPongs.push_back(number);
        return;
    }
    ApplyOptions();
    Say("pong %s", number.c_str());
}

void SendPongs() {
    for (const std::string& number : OwedPongs) Say("pong %s", number.c_str());
    OwedPongs.clear();
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

void Level(const std::string& line, std::string_view rest) {
    long long moves = 0;
    const bool good = ToNumber(TakeWord(rest), moves) && moves >= 0 && moves < 100000;
    const std::int64_t base = BaseTime(TakeWord(rest));
    const std::int64_t increment = Seconds(TakeWord(rest));
    if (!good || base < 0 || increment < 0) return Refuse(kBadValue, line);
    Control = {static_cast<int>(moves), base, increment};
    OwnClock = base;
    MoveTime = 0;
}

void SecondsPerMove(const std::string& line, std::string_view rest) {
    const std::int64_t time = Seconds(TakeWord(rest));
    if (time <= 0) return Refuse(kBadValue, line);
    MoveTime = time;
}

void SearchDepth(const std::string& line, std::string_view rest) {
    long long depth = 0;
    if (!ToNumber(TakeWord(rest), depth) || depth < 0) return Refuse(kBadValue, line);
    Depth = static_cast<int>(std::min(depth, 1000LL));
}

void Time(const std::string& line, std::string_view rest) {
    long long centiseconds = 0;
    if (!ToNumber(TakeWord(rest), centiseconds)) return Refuse(kBadValue, line);
    constexpr long long kMost = 100000000;
    OwnClock = std::clamp(centiseconds, 0LL, kMost) * 10;
}

void SetHard(const std::string&, std::string_view) { Hard = true; }

void SetEasy(const std::string&, std::string_view) {
    Hard = PonderWanted = false;
    if (EngineActivity == Activity::Pondering) EndActivity();
}

void SetPost(const std::string&, std::string_view) { Post = true; }
void SetNoPost(const std::string&, std::string_view) { Post = false; }

void Result(const std::string&, std::string_view) {
    EndActivity();
    Force = true;
}

void Hint(const std::string&, std::string_view) {
    const std::string& hint = PonderHint.empty() ? Expected : PonderHint;
    if (!hint.empty()) Say("Hint: %s", hint.c_str());
}

void Book(const std::string&, std::string_view) { Say("%s", ""); }

// Options wait for the end of a search.
void ChangeOption(const std::string& line, std::string_view rest) {
    rest = Trimmed(rest);
    const std::size_t equals = std::min(rest.find('='), rest.size());
    std::string_view value = rest.substr(equals);
    if (!value.empty()) value.remove_prefix(1);
    std::string remark;
    if (!SetOption(Trimmed(rest.substr(0, equals)), value, remark))
        return Refuse(remark.c_str(), line);
    if (!remark.empty()) Say("# %s", remark.c_str());
    if (EngineActivity == Activity::Analysing) ApplyOptions();
}

void Variant(const std::string& line, std::string_view rest) {
    if (TakeWord(rest) != "normal") Refuse("unsupported variant", line);
}

void Quit(const std::string&, std::string_view) { QuitRequested = true; }
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
    if (EngineActivity != Activity::Searching) SendPongs();
}

// Mates are 100000 and the moves to it.
int ShownScore(int score) {
    constexpr int kMate = 100000;
    const int mate = MovesToMate(score);
    if (mate == 0) return score;
    return mate > 0 ? kMate + mate : mate - kMate;
}

void OnThinking(const ThinkingReport& report) {
    if (!Post) return;
    std::string text;
    for (const std::string& move : report.moves) text += ' ' + move;
    Say("%d %d %lld %lld%s", report.depth, ShownScore(report.score), report.centiseconds,
        report.nodes, text.c_str());
}

// A front end ends the game at "resign": the move that goes with it is not played.
void OnMove(const std::string& move, bool resigns) {
    PunchClock();
    const std::vector<std::string>& line = LastReport.moves;
    Expected = line.size() > 1 && line[0] == move ? line[1] : "";
    if (resigns) {
        Say("resign");
        TakeBackMove();
        Force = true;
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

bool ToMove(bool) { return EngineActivity == Activity::Searching; }

}  // namespace

const Protocol kCecp = {OnLine,   OnThinking, OnMove,  OnNoMove,
                        OnStatus, OnNotice,   nullptr, ToMove};
