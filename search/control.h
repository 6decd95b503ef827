// What the driver and the search tell each other: plain flags, limits and results. The
// driver sets limits and clears the flags before a search; the input handler, which runs
// at the search's poll points, sets flags; both read the results afterwards.
#pragma once

#include <cstdint>

#include "board/types.h"

// ---- Flags, 0 or 1 unless stated ----
extern int StopSearch;        // unwind: the search returns and its last values are void
extern Move PendingMove;      // a move typed during the search, NO_MOVE if none
extern int NewGameRequested;  // "new" during the search
extern int ExitAnalysis;      // "exit" during the search
extern int UndoRequested;     // "undo" during the search
extern int PonderSearch;  // the search runs on the predicted move, on the opponent's time
extern Move PonderMove;   // the predicted move
extern int PonderMiss;    // the ponder search was ended by anything but that move
extern int PonderProbe;   // a short search only looks for a move to ponder on

// 1: stored results of positions are consulted; their file is open.
extern int LearnedScoresUsed;

// ---- Clock, as the front end gave it ----
extern int EngineClock;      // remaining time in centiseconds; -1: no clock given
extern int MovesPerControl;  // 0: the whole game
extern int Increment;        // seconds per move
extern int PonderAllowed;

// ---- Limits of the running search ----
extern int TimeBudget;                // milliseconds
extern int PollInterval;              // nodes between looks at input and clock
extern int PollCountdown;             // nodes left until the next look
extern std::int64_t SearchStartTime;  // on the millisecond clock
inline constexpr int kUnlimitedBudget = 9999999;
inline constexpr int kLongPollInterval = 20000;
inline constexpr int kShortPollInterval = 300;
inline constexpr int kTimedDepthLimit = 999;  // as depth limit: the clock ends the search

// Milliseconds since SearchStartTime.
std::int64_t ElapsedMilliseconds();

// Sets TimeBudget and PollInterval from the clock and the position.
void ComputeTimeBudget();
// At a poll point: resets PollCountdown and says whether time is up (StopSearch is then
// set).
bool CheckClock();
