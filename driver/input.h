// Standard input as lines: the command loop waits for them, the search looks whether any
// have come. Both take them from one buffer, in the order of arrival. At the end of input
// every reader says so; what came before it is read first, with or without a line end.
#pragma once

// Lines for the command loop: at most 255 characters, the rest of a longer one is
// dropped. Written by ReadCommandLine; the command loop makes it lower-case.
inline constexpr int kInputLineSize = 256;
extern char InputLine[kInputLineSize];

// Fills InputLine with the next line, waiting for it; the line end is cut off, a carriage
// return before it too. False at the end of input.
bool ReadCommandLine();
// The next character, waiting for it; false at the end of input.
bool ReadInputCharacter(char& c);

// The size of a line read during a search, its NUL included.
inline constexpr int kPendingInputSize = 512;
enum class Pending { Nothing, Line, End };
// The next complete line that has arrived, if any; never waits.
Pending ReadPendingLine(char (&line)[kPendingInputSize]);

// For programs without a front end (benchmarks, tests): the search leaves standard input
// alone from now on.
void IgnoreInput();
