// Reading lines, and the commands that act while the engine thinks.
#include "driver/input.h"

#include <algorithm>
#include <cstring>

#include "board/generate.h"
#include "board/notation.h"
#include "driver/commands.h"
#include "driver/settings.h"
#include "driver/state.h"
#include "driver/usermove.h"
#include "platform/input.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/root.h"

char InputLine[kInputLineSize];
char PendingInput[kPendingInputSize];

namespace {

int PendingLength;      // bytes in PendingInput; a NUL follows them
bool Ignored;           // see IgnoreInput
bool DroppingLongLine;  // the head of an over-long line was taken, its rest is not wanted

char* PendingLineEnd() {
    return static_cast<char*>(
        std::memchr(PendingInput, '\n', static_cast<std::size_t>(PendingLength)));
}

void RemovePending(int count) {
    PendingLength -= count;
    std::memmove(PendingInput, PendingInput + count,
                 static_cast<std::size_t>(PendingLength));
    PendingInput[PendingLength] = '\0';
}

// Forgets what belongs to a line whose head was already taken.
void DropRestOfLongLine() {
    if (!DroppingLongLine) return;
    const char* lineEnd = PendingLineEnd();
    DroppingLongLine = lineEnd == nullptr;
    RemovePending(lineEnd == nullptr ? PendingLength
                                     : static_cast<int>(lineEnd - PendingInput) + 1);
}

// One read, as much as there is room for. At the end of the input, or when there is no
// way to read on, what came before it still counts: the last line needs no line end.
void ReadMore() {
    const int room = kPendingInputSize - 1 - PendingLength;
    const int got = ReadInput(PendingInput + PendingLength, room);
    if (got <= 0) {
        if (PendingLength == 0 || DroppingLongLine) Quit();
        PendingInput[PendingLength++] = '\n';
    } else {
        PendingLength += got;
        DropRestOfLongLine();
    }
    PendingInput[PendingLength] = '\0';
}

// The same for readers of lines: a line longer than the buffer is cut.
void ReadMoreOfLine() {
    ReadMore();
    if (PendingLength < kPendingInputSize - 1 || PendingLineEnd() != nullptr) return;
    PendingInput[kInputLineSize - 1] = '\n';
    PendingLength = kInputLineSize;
    PendingInput[PendingLength] = '\0';
    DroppingLongLine = true;
}

// Moves the first line of PendingInput, which holds one, to `line`.
void TakeLine(char* line, int size) {
    char* lineEnd = PendingLineEnd();
    int length = static_cast<int>(lineEnd - PendingInput);
    const int whole = length + 1;
    if (length > 0 && PendingInput[length - 1] == '\r') --length;
    std::replace(PendingInput, PendingInput + length, '\r', ' ');
    std::replace(PendingInput, PendingInput + length, '\0', ' ');
    length = std::min(length, size - 1);
    std::memcpy(line, PendingInput, static_cast<std::size_t>(length));
    line[length] = '\0';
    RemovePending(whole);
}

}  // namespace

void ReadCommandLine() {
    while (PendingLineEnd() == nullptr) ReadMoreOfLine();
    TakeLine(InputLine, kInputLineSize);
}

char ReadInputCharacter() {
    while (PendingLength == 0) ReadMore();
    const char c = PendingInput[0];
    RemovePending(1);
    return c;
}

void IgnoreInput() { Ignored = true; }

bool InputAvailable() {
    if (Ignored) return false;
    return PendingLineEnd() != nullptr || InputWaiting() != 0;
}

bool ReadPendingLine(char (&line)[kPendingInputSize]) {
    if (PendingLineEnd() == nullptr) {
        if (InputWaiting() == 0) return false;
        ReadMoreOfLine();
        if (PendingLineEnd() == nullptr) return false;
    }
    TakeLine(line, kPendingInputSize);
    return true;
}

// ---- Commands during the search ----
// Each says whether the handling of input ends with it (the search goes on or unwinds) or
// the next line is looked at.
namespace {

enum class After { Return, NextLine };

After StopAndReturn() {
    MissPondering();
    Control.StopSearch = 1;
    return After::Return;
}

After MoveNow(const char*) { return StopAndReturn(); }

After AnalysisStatus(const char*) {
    char text[kMoveTextSize];
    MoveToText(text, Board.MoveHistory[Root.RootGamePly]);
    Write("stat01: %lld %lld %d %d %d %s\n",
          static_cast<long long>(ElapsedMilliseconds() / 10),
          static_cast<long long>(Result.NodeCount), Root.RootDepth + 1,
          Root.RootMoveCount - Root.RootMoveIndex, Root.RootMoveCount + 1, text);
    FlushOutput();
    return After::Return;
}

After Undo(const char*) {
    RequestUndo();
    Control.StopSearch = 1;
    return After::Return;
}

After Exit(const char*) {
    RequestExit();
    Control.StopSearch = 1;
    return After::Return;
}

After NewGameNow(const char*) {
    RequestNewGame();
    return StopAndReturn();
}

After GameResult(const char*) { return StopAndReturn(); }

After Post(const char*) {
    PostThinking = 1;
    return StopAndReturn();
}

After NoPost(const char*) {
    PostThinking = 0;
    return StopAndReturn();
}

After QuitNow(const char*) { Quit(); }

After Force(const char*) {
    ForceMode = 1;
    return StopAndReturn();
}

After Hard(const char*) {
    if (Settings.Pondering == 1) AllowPondering(true);
    return StopAndReturn();
}

After Easy(const char*) {
    AllowPondering(false);
    return StopAndReturn();
}

After Time(const char* line) {
    SetEngineClock(line);
    if (Ponder.PonderSearch != 0) return After::NextLine;
    Control.StopSearch = 1;
    return After::Return;
}

// A move of the match list, or an illegal one.
After TypedMove(char* line) {
    if (line[4] < 'a') line[4] = '\0';
    const Move m = MatchListMove(line);
    if (m == NO_MOVE) {
        Write("Illegal move: %s\n", line);
        FlushOutput();
    }
    MeetTypedMove(m);
    return After::Return;
}

struct SearchCommand {
    const char* prefix;
    After (*run)(const char* line);
};

// In this order; the first whose prefix begins the line acts.
constexpr SearchCommand kSearchCommands[] = {
    {"?", MoveNow},      {".", AnalysisStatus},  {"undo", Undo}, {"exit", Exit},
    {"new", NewGameNow}, {"result", GameResult}, {"post", Post}, {"nopost", NoPost},
    {"q", QuitNow},      {"force", Force},       {"hard", Hard}, {"easy", Easy},
    {"time", Time},
};

After HandleLine(char* line) {
    for (const SearchCommand& command : kSearchCommands)
        if (std::strncmp(line, command.prefix, std::strlen(command.prefix)) == 0)
            return command.run(line);
    if (LooksLikeMove(ToLower(line[0]), line[1], ToLower(line[2]), line[3]))
        return TypedMove(line);
    return After::NextLine;
}

}  // namespace

void CheckInput() {
    char line[kPendingInputSize] = {};
    while (ReadPendingLine(line))
        if (HandleLine(line) == After::Return) return;
}
