// The program's life as the operating system sees it.
#pragma once

// Front ends interrupt an engine before commands: SIGINT is ignored unless standard input
// is a terminal. Writing to a closed pipe, or to a file that may not grow, must not kill
// the program: the write fails. SIGTERM ends it cleanly, as does the end of input: see
// TerminationRequested. Called once, before any input.
void PrepareSignals();
// A request to end has come from the operating system. InputWaiting, ReadInput and
// ReadNext heed it (the first reports input, the others its end), so callers need not
// ask.
bool TerminationRequested();
