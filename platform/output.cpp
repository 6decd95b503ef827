// The buffer in front of standard output. It is the program's own, not the library's: a
// write that the system takes only in part loses nothing, and nothing is ever allocated.
#include "platform/output.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// Far above the longest line (an echoed input line or a full thinking line).
constexpr std::size_t kBufferSize = 16384;

char Buffer[kBufferSize];
std::size_t Filled = 0;

// What was written just before the program ends still goes out.
struct FlushAtExit {
    ~FlushAtExit() { SendOutput(Buffer, Filled); }
} const AtExit;

}  // namespace

void Write(const char* format, ...) {
    std::va_list arguments;
    // First into the space left; when that is too small, again into the emptied buffer,
    // where only a text longer than the whole of it would be cut.
    for (int attempt = 0; attempt < 2; attempt++) {
        const std::size_t space = kBufferSize - Filled;
        va_start(arguments, format);
        const int length = std::vsnprintf(Buffer + Filled, space, format, arguments);
        va_end(arguments);
        if (length < 0) return;
        if (static_cast<std::size_t>(length) < space) {
            Filled += static_cast<std::size_t>(length);
            return;
        }
        if (attempt == 0) FlushOutput();
    }
    Filled = kBufferSize - 1;
}

void FlushOutput() {
    const std::size_t size = Filled;
    Filled = 0;
    if (size > 0 && !SendOutput(Buffer, size)) std::exit(EXIT_SUCCESS);
}
