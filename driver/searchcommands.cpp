// The commands that act while the engine thinks.
#include <cstring>

#include "board/notation.h"
#include "driver/input.h"
#include "driver/modes.h"
#include "driver/usermove.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/outward.h"
#include "search/rootmoves.h"
#include "search/searcher.h"

namespace {

// Whether the handling of input ends with a command (the search goes on or unwinds) or
// the next line is looked at.
enum class After { Return, NextLine };

// Ends the search; one on the predicted move has then missed.
After StopAndReturn() {
    MissPondering();
    Control.StopSearch = 1;
    return After::Return;
}

After MoveNow(const char*) { return StopAndReturn(); }

// Time in centiseconds, nodes, depth, moves left, the moves in all plus one, and the move
// being searched.
After AnalysisStatus(const char*) {
    char text[kMoveTextSize];
    MoveToText(text, Board.MoveHistory[Root.RootGamePly]);
    Write("stat01: %lld %lld %d %d %d %s\n",
          static_cast<long long>(ElapsedMilliseconds() / 10),
          static_cast<long long>(NodesInAll()), Root.RootDepth + 1,
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

// Commands of the command loop that end the search as well.
template <void (*command)()>
After CarryOutAndStop(const char*) {
    command();
    return StopAndReturn();
}

After QuitNow(const char*) {
    RequestQuit();
    return After::Return;
}

// While the engine thinks for itself a new clock would change the budget it works with,
// so the search ends; while pondering it only notes it.
After Time(const char* line) {
    SetEngineClock(line);
    if (Ponder.PonderSearch != 0) return After::NextLine;
    Control.StopSearch = 1;
    return After::Return;
}

// For the search on the predicted move, when that comes.
After Limits(const char* line) {
    ActiveSearch().askForLimits(line);
    return After::NextLine;
}

// A move of the match list, or an illegal one.
After TypedMove(char* line) {
    if (line[4] < 'a') line[4] = '\0';
    const Move m = MatchListMove(line);
    if (m == NO_MOVE) WriteIllegalMove(line);
    MeetTypedMove(m);
    return After::Return;
}

struct SearchCommand {
    const char* prefix;
    After (*run)(const char* line);
};

// In this order; the first whose prefix begins the line acts.
constexpr SearchCommand kSearchCommands[] = {
    {"?", MoveNow},
    {".", AnalysisStatus},
    {"undo", Undo},
    {"exit", Exit},
    {"new", CarryOutAndStop<RequestNewGame>},
    {"result", MoveNow},
    {"post", CarryOutAndStop<Post>},
    {"nopost", CarryOutAndStop<NoPost>},
    {"q", QuitNow},
    {"force", CarryOutAndStop<Force>},
    {"hard", CarryOutAndStop<Hard>},
    {"easy", CarryOutAndStop<Easy>},
    {"time", Time},
    {"limits", Limits},
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
    for (;;) {
        switch (ReadPendingLine(line)) {
            case Pending::Nothing:
                return;
            case Pending::End:
                RequestQuit();
                return;
            case Pending::Line:
                if (HandleLine(line) == After::Return) return;
        }
    }
}
