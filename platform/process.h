// The program's life as the operating system sees it.
#pragma once

// Front ends interrupt an engine before commands: SIGINT is ignored unless standard input
// is a terminal. Writing to a closed pipe must not kill the program. SIGTERM ends it
// cleanly, as does the end of input: see TerminationRequested.
void PrepareSignals();
// A request to end has come from the operating system. Read at poll points and while
// waiting for input, where ReadInput then reports the end of input.
bool TerminationRequested();
