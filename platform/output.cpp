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

// What becomes of output that nobody takes: the program's end, or, once keepWorking is
// set, the note that some was lost.
struct Delivery {
    bool keepWorking = false;
    bool lost = false;
} Delivery;

// What was written just before the program ends still goes out.
struct FlushAtExit {
    ~FlushAtExit() { SendOutput(Buffer, Filled); }
} const AtExit;

// Appends the text if the space left holds it, and tells so.
bool Append(const char* format, std::va_list arguments) {
    const std::size_t space = kBufferSize - Filled;
    const int length = std::vsnprintf(Buffer + Filled, space, format, arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= space) return false;
    Filled += static_cast<std::size_t>(length);
    return true;
}

}  // namespace

// A text longer than the whole buffer is dropped; none is.
void Write(const char* format, ...) {
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    if (!Append(format, arguments)) {
        FlushOutput();
        Append(format, again);
    }
    va_end(again);
    va_end(arguments);
}

void WriteText(std::string_view text) {
    while (!text.empty()) {
        if (Filled == kBufferSize) FlushOutput();
        const std::size_t part = text.copy(Buffer + Filled, kBufferSize - Filled);
        Filled += part;
        text.remove_prefix(part);
    }
}

// Emptied before it is sent: the exit's own flush must not try the same bytes again.
void FlushOutput() {
    const std::size_t size = Filled;
    Filled = 0;
    if (size == 0 || Delivery.lost || SendOutput(Buffer, size)) return;
    if (!Delivery.keepWorking) std::exit(EXIT_SUCCESS);
    Delivery.lost = true;
}

void KeepWorkingWithoutOutput() { Delivery.keepWorking = true; }

bool OutputIsLost() { return Delivery.lost; }
