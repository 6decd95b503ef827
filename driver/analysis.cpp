// A loop of unlimited searches: whatever ends one is carried out, then the next begins.
#include "driver/analysis.h"

#include <cstring>

#include "board/board.h"
#include "board/notation.h"
#include "driver/input.h"
#include "driver/newgame.h"
#include "driver/usermove.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/root.h"

namespace {

// Plies, beyond the last iteration that a search runs.
constexpr int kAnalysisDepth = 100;

void SearchWithoutLimit() {
    StartSearchClock();
    SetUnlimitedBudget();
    ClearRequests();
    BuildMatchList();
    Search(kAnalysisDepth, false);
}

bool Begins(const char* prefix) {
    return std::strncmp(InputLine, prefix, std::strlen(prefix)) == 0;
}

// A move typed while no search runs; it is tested against the position itself.
void PlayTypedMove() {
    const Move m = ParseCoordinateMove(InputLine, InputLine[4]);
    if (!IsLegalUserMove(m)) {
        WriteIllegalMove(InputLine);
        return;
    }
    Write("move maked...\n");
    FlushOutput();
    PlayGameMove(m);
}

// The search found nothing more to do (mate, stalemate, depth limit) or a command ended
// it that asks for nothing: the next line is waited for. What leaves or changes the
// analysis during a search does so here too.
void WaitForLine() {
    if (!ReadCommandLine()) {
        RequestQuit();
        return;
    }
    if (Begins(".")) {
        Write("stat01: 0 0 0 0 0\n");
        FlushOutput();
    } else if (LooksLikeMove(ToLower(InputLine[0]), InputLine[1], ToLower(InputLine[2]),
                             InputLine[3])) {
        PlayTypedMove();
    } else if (Begins("exit")) {
        RequestExit();
    } else if (Begins("new")) {
        NewGame();
    } else if (Begins("undo")) {
        if (Board.GamePly > 0) TakeBackGameMove();
    } else if (Begins("q")) {
        RequestQuit();
    }
}

// A move that ended the search. The match list may be of an earlier position, so it is
// tested again.
void PlayPendingMove() {
    if (IsLegalUserMove(Request.PendingMove)) {
        PlayGameMove(Request.PendingMove);
        return;
    }
    char text[kMoveTextSize];
    MoveToText(text, Request.PendingMove);
    WriteIllegalMove(text);
}

}  // namespace

// A quit goes before everything else, a move or a new game before a take-back.
void Analyze() {
    do {
        SearchWithoutLimit();
        if (Request.QuitRequested != 0) return;
        if (Request.PendingMove != NO_MOVE)
            PlayPendingMove();
        else if (Request.NewGameRequested != 0)
            NewGame();
        else if (Request.ExitAnalysis == 0 && Request.UndoRequested != 0 &&
                 Board.GamePly > 0)
            TakeBackGameMove();
        else if (Request.ExitAnalysis == 0)
            WaitForLine();
    } while (Request.ExitAnalysis == 0 && Request.QuitRequested == 0);
}
