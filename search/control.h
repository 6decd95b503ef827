// What the driver and the search tell each other: requests from the input, pondering, the
// clock and the limits of the running search. Plain data, each struct with the one file
// that writes it; all others read.
#pragma once

#include <cstdint>

#include "board/types.h"

// ---- Requests: lines that came during a search. Written by search/control.cpp ----
struct InputRequests {
    Move PendingMove;      // a move typed during the search, NO_MOVE if none
    int NewGameRequested;  // "new"
    int ExitAnalysis;      // "exit"
    int UndoRequested;     // "undo"
    int QuitRequested;     // "quit" or the end of input: for good, no search follows
};
extern InputRequests Request;

// Requests and pondering as in a program just started.
void ResetControl();
// Before every search: no requests, and nothing stops it.
void ClearRequests();
void RequestNewGame();
void RequestExit();
void RequestUndo();
// The search unwinds, nothing more is written, and the program ends.
void RequestQuit();

// ---- Pondering. Written by search/control.cpp ----
struct PonderState {
    int PonderAllowed;  // "hard" and "easy"; "hard" needs the setting Pondering
    int PonderSearch;   // the search runs on the predicted move, on the opponent's time
    Move PonderMove;    // the predicted move
    int PonderMiss;     // the ponder search was ended by anything but that move
    int PonderProbe;    // a short search only looks for a move to ponder on
    int ProbeTimeUp;    // that search has had its time
};
extern PonderState Ponder;

void AllowPondering(bool allowed);
// A ponder search begins; `predicted` is NO_MOVE as long as no move is known.
void BeginPondering(Move predicted);
// The short search for a move to ponder on.
void BeginPonderProbe();
void EndPonderProbe();
// The search at hand is no ponder search, or no longer.
void LeavePondering();
// A ponder search, if one runs, has missed: what ends it is not the predicted move.
void MissPondering();
// A move was typed during the search, NO_MOVE for an illegal one. The predicted move
// turns the ponder search into the engine's own; any other ends the search.
void MeetTypedMove(Move m);

// ---- Clock, as the front end gave it. Written by driver/commands.cpp ----
struct ClockState {
    int EngineClock;      // remaining time in centiseconds; -1: no clock given
    int MovesPerControl;  // 0: the whole game
    int Increment;        // seconds per move
};
extern ClockState GameClock;

// ---- Limits of the running search. Written by search/timing.cpp, StopSearch by
// whatever ends the search ----
struct SearchControl {
    int StopSearch;     // unwind: the search returns and its last values are void
    int DepthLimit;     // plies; kTimedDepthLimit for a search by the clock
    int TimeBudget;     // milliseconds
    int PollInterval;   // nodes between looks at input and clock
    int PollCountdown;  // nodes left until the next look; counted down by the search
    std::int64_t SearchStartTime;  // on the millisecond clock
    int LearnedScoresUsed;  // stored results of positions are consulted; set at start-up
};
extern SearchControl Control;

inline constexpr int kUnlimitedBudget = 9999999;
inline constexpr int kLongPollInterval = 20000;
inline constexpr int kShortPollInterval = 300;
inline constexpr int kTimedDepthLimit = 999;  // as depth limit: the clock ends the search

// No clock is known, no search limited.
void ResetClock();
// The clock of a search starts to run.
void StartSearchClock();
// TimeBudget and PollInterval of a search that the clock does not limit.
void SetUnlimitedBudget();
// Sets TimeBudget and PollInterval from the clock and the position.
void ComputeTimeBudget();
// Milliseconds since SearchStartTime.
std::int64_t ElapsedMilliseconds();
// At a poll point: resets PollCountdown and says whether time is up (StopSearch is then
// set).
bool CheckClock();

// ---- What a search leaves beside the root list. Written by search/root.cpp ----
struct SearchResult {
    std::int64_t NodeCount;  // counted up by every search routine
    // Of other processes that search along, as last counted; by search/strong/helpers.
    std::int64_t HelperNodes;
    int BookMovePlayed;  // the move came from the opening book
    int ForGame;         // the search with the book allowed: for a game, no analysis
    // RootScore of the last completed search that was no ponder search; written by the
    // driver.
    int PreviousScore;
};
extern SearchResult Result;

// As they are reported.
inline std::int64_t NodesInAll() { return Result.NodeCount + Result.HelperNodes; }
