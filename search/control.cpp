#include "search/control.h"

InputRequests Request;
PonderState Ponder;

void ResetControl() {
    Request = {};
    Ponder = {};
    Ponder.PonderAllowed = 1;
}

void ClearRequests() {
    Request = {};
    Control.StopSearch = 0;
}

void RequestNewGame() { Request.NewGameRequested = 1; }

void RequestExit() { Request.ExitAnalysis = 1; }

void RequestUndo() { Request.UndoRequested = 1; }

void RequestQuit() {
    Request.QuitRequested = 1;
    Control.StopSearch = 1;
}

void AllowPondering(bool allowed) { Ponder.PonderAllowed = allowed ? 1 : 0; }

void BeginPondering(Move predicted) {
    Ponder.PonderMove = predicted;
    Ponder.PonderSearch = 1;
    Ponder.PonderMiss = 0;
}

void BeginPonderProbe() {
    Ponder.PonderProbe = 1;
    Ponder.ProbeTimeUp = 0;
}

void EndPonderProbe() { Ponder.PonderProbe = 0; }

void LeavePondering() { Ponder.PonderSearch = 0; }

void MissPondering() {
    if (Ponder.PonderSearch == 0) return;
    Request.PendingMove = NO_MOVE;
    Ponder.PonderMiss = 1;
}

void MeetTypedMove(Move m) {
    Request.PendingMove = m;
    if (m != NO_MOVE && Ponder.PonderSearch != 0 && m == Ponder.PonderMove) {
        Ponder.PonderSearch = 0;
        return;
    }
    if (m == NO_MOVE || Ponder.PonderSearch != 0) Ponder.PonderMiss = 1;
    Control.StopSearch = 1;
}
