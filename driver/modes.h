// The engine's modes and the front end's clock, which commands set: typed between
// searches or during one, they do the same.
#pragma once

// Written by driver/modes.cpp and by commands of the command loop.
struct EngineModes {
    int ForceMode;     // the engine never moves on its own
    int PostThinking;  // thinking lines are written during the search
    int FullThinking;  // in full, where the search knows more
    int MaxDepth;      // iteration limit of searches without a clock, set by "sd"
};
extern EngineModes Modes;

inline constexpr int kMaxDepthDefault = 998;

// As in a program just started: thinking lines off, no limit.
void ResetModes();
void Post();
void NoPost();
void Force();
void Easy();
// Thinking on the opponent's time is allowed, if the setting Pondering allows it.
void Hard();
// "time N": the remaining time in centiseconds, from the sixth character on; a number
// that no clock can have is narrowed.
void SetEngineClock(const char* line);
// "level MOVES BASE INCREMENT".
void SetLevel(const char* line);
