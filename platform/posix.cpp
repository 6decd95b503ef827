// The platform layer for POSIX systems: poll and read on descriptor 0.
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "platform/clock.h"
#include "platform/input.h"
#include "platform/output.h"
#include "platform/process.h"

namespace {

constexpr int kStandardInput = 0;

volatile std::sig_atomic_t Terminating = 0;

void OnTerminate(int) { Terminating = 1; }

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);  // no SA_RESTART: a waiting read must wake up
}

// Error or hang-up: nobody reads standard output any more.
[[noreturn]] void EndQuietly() { std::_Exit(EXIT_SUCCESS); }

}  // namespace

void PrepareInput() {}

bool InputIsConsole() { return isatty(kStandardInput) != 0; }

int InputWaiting() {
    if (TerminationRequested()) return 1;
    pollfd descriptor = {kStandardInput, POLLIN, 0};
    const int ready = poll(&descriptor, 1, 0);
    if (ready <= 0) return 0;
    int bytes = 0;
    if (ioctl(kStandardInput, FIONREAD, &bytes) != 0 || bytes < 1) return 1;
    return bytes;
}

int ReadInput(char* buffer, int size) {
    for (;;) {
        if (TerminationRequested()) return 0;
        const ssize_t got = read(kStandardInput, buffer, static_cast<std::size_t>(size));
        if (got >= 0) return static_cast<int>(got);
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            // A front end that made the pipe non-blocking: wait for it here.
            pollfd descriptor = {kStandardInput, POLLIN, 0};
            poll(&descriptor, 1, -1);
            continue;
        }
        if (errno != EINTR) return -1;
    }
}

std::int64_t ClockMilliseconds() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::uint32_t CalendarSeconds() { return static_cast<std::uint32_t>(std::time(nullptr)); }

void Write(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int written = std::vprintf(format, arguments);
    va_end(arguments);
    if (written < 0) EndQuietly();
}

void FlushOutput() {
    if (std::fflush(stdout) != 0) EndQuietly();
}

void PrepareSignals() {
    Handle(SIGPIPE, SIG_IGN);
    if (!InputIsConsole()) Handle(SIGINT, SIG_IGN);
    Handle(SIGTERM, OnTerminate);
}

bool TerminationRequested() { return Terminating != 0; }
