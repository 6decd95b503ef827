// Standard output: the one place where lines for the front end are written. Lines end in
// a bare line feed on every system.
#pragma once

#include <cstddef>
#include <string_view>

// Formatted like printf. Buffered until FlushOutput or the program's end.
#if defined(__MINGW32__)
__attribute__((format(gnu_printf, 1, 2)))
#elif defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void Write(const char* format, ...);
// Text of any length, as it stands.
void WriteText(std::string_view text);
// Hands everything written to the front end, waiting as long as it is slow to read. When
// nobody reads any more, the program ends quietly with status 0 (open files are closed):
// there is no game left to play.
void FlushOutput();

// For programs whose work counts more than what they say of it: from now on output that
// cannot be delivered is dropped, and the program goes on.
void KeepWorkingWithoutOutput();
// Some of it has been dropped since.
bool OutputIsLost();

// The operating system's part: sends all bytes to standard output; false when the other
// side is gone or the program has been asked to end while it waited.
bool SendOutput(const char* bytes, std::size_t size);
