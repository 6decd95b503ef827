// Standard output: the one place where lines for the front end are written.
#pragma once

// Formatted like printf. Buffered until FlushOutput.
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void Write(const char* format, ...);
// Hands everything written to the front end. When nobody reads any more, the program ends
// quietly with status 0: there is no game left to play.
void FlushOutput();
