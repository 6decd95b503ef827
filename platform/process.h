// The program's life as the operating system sees it.
#pragma once

// Front ends interrupt an engine before commands: SIGINT is ignored unless standard input
// is a terminal. Writing to a closed pipe must not kill the program. SIGTERM ends it
// cleanly, as does the end of input: see TerminationRequested. Called once, before any
// input.
void PrepareSignals();
// A request to end has come from the operating system. InputWaiting and ReadInput heed it
// (the first reports input, the second its end), so callers need not ask.
bool TerminationRequested();
