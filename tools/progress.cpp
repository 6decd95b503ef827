// A bar drawn over itself with a carriage return. It is shown at all only when standard
// error is a terminal.
#include "tools/progress.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdio>

#include "platform/clock.h"
#include "platform/output.h"

namespace {

// Characters of the bar, and the time between two drawings.
constexpr int kWidth = 30;
constexpr std::int64_t kInterval = 200;  // ms

// When the bar was last drawn (clock's milliseconds), and whether it stands there.
std::int64_t LastShown = 0;
bool Shown = false;

// In a file or a pipe the bar would only be in the way.
bool ErrorIsTerminal() {
#ifdef _WIN32
    return _isatty(2) != 0;
#else
    return isatty(2) != 0;
#endif
}

}  // namespace

// The clock is asked only when there is a terminal to write to.
void ShowProgress(const char* what, std::uint64_t done, std::uint64_t whole) {
    static const bool terminal = ErrorIsTerminal();
    const std::int64_t now = terminal ? ClockMilliseconds() : 0;
    if (!terminal || whole == 0 || now - LastShown < kInterval) return;
    LastShown = now;
    Shown = true;
    done = std::min(done, whole);
    const auto filled = static_cast<std::size_t>(done * kWidth / whole);
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %3d%%", what, bar.c_str(),
                 static_cast<int>(done * 100 / whole));
}

// Escape sequence: erase to the end of the line.
void EndProgress() {
    if (Shown) std::fprintf(stderr, "\r\x1B[K");
    Shown = false;
}

std::string DurationText(double seconds) {
    const auto whole = static_cast<long long>(seconds + 0.5);
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600,
                      whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

// The report so far comes out first, so that on a terminal both stand in the order in
// which they came about.
int Fail(const std::string& reason) {
    FlushOutput();
    EndProgress();
    std::fprintf(stderr, "veltramox-tool: %s\n", reason.c_str());
    return 1;
}
