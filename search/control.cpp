// The writers of requests and pondering state: the input handler and the driver go
// through them, so that what a command means for a running search stands in one place.
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

// Quitting stops the search at once; the other requests leave it to the caller, which may
// be between searches.
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

// PonderMove and PonderMiss stay: the driver still asks how the ponder search ended.
void LeavePondering() { Ponder.PonderSearch = 0; }

// A pending move would be played as the opponent's answer: one from before the miss is
// void.
void MissPondering() {
    if (Ponder.PonderSearch == 0) return;
    Request.PendingMove = NO_MOVE;
    Ponder.PonderMiss = 1;
}

void MeetTypedMove(Move m) {
    Request.PendingMove = m;
    // A ponder hit: the search goes on, from now on as one on the engine's own time.
    if (m != NO_MOVE && Ponder.PonderSearch != 0 && m == Ponder.PonderMove) {
        Ponder.PonderSearch = 0;
        return;
    }
    if (m == NO_MOVE || Ponder.PonderSearch != 0) Ponder.PonderMiss = 1;
    Control.StopSearch = 1;
}
