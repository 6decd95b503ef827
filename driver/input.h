// Standard input as lines: the command loop waits for them, the search looks whether any
// have come. Both take them from one buffer, in the order of arrival.
#pragma once

// Lines for the command loop: at most 255 characters, the rest of a longer one is
// dropped.
inline constexpr int kInputLineSize = 256;
extern char InputLine[kInputLineSize];

// Raw input that was read but not yet consumed.
inline constexpr int kPendingInputSize = 512;
extern char PendingInput[kPendingInputSize];

// Fills InputLine with the next line, waiting for it; the line end is cut off, a carriage
// return before it too. At the end of input the program ends as by "quit".
void ReadCommandLine();
// The next character, waiting for it; ends the program at the end of input.
char ReadInputCharacter();
// The next complete line that has arrived, if any; never waits.
bool ReadPendingLine(char (&line)[kPendingInputSize]);

// For programs without a front end (benchmarks, tests): the search leaves standard input
// alone from now on.
void IgnoreInput();
