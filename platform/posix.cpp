// The platform layer for POSIX systems: poll, read and write on descriptors 0 and 1.
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/input.h"
#include "platform/memory.h"
#include "platform/output.h"
#include "platform/process.h"

namespace {

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;

volatile std::sig_atomic_t Terminating = 0;

void OnTerminate(int) { Terminating = 1; }

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);  // no SA_RESTART: waiting calls must wake up
}

// Sleeps until the descriptor is ready or has failed (the caller's read or write tells).
// Once the program is asked to end it no longer sleeps: false then means "not ready".
// The signals that may ask for that are held back from before the flag is tested until
// ppoll sleeps, so there is no instant at which they could arrive unseen.
bool WaitUntilReady(int descriptor, short events) {
    constexpr timespec kAtOnce = {0, 0};
    sigset_t terminate;
    sigset_t before;
    sigemptyset(&terminate);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&terminate, signal);
    sigprocmask(SIG_BLOCK, &terminate, &before);
    pollfd waiting = {descriptor, events, 0};
    int ready;
    do {
        const timespec* const limit = TerminationRequested() ? &kAtOnce : nullptr;
        ready = ppoll(&waiting, 1, limit, &before);
    } while (ready < 0 && errno == EINTR);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return ready != 0;
}

// 2 MB, the size on x86-64 and usual elsewhere; another one costs only speed.
constexpr std::size_t kHugePage = std::size_t{1} << 21;

std::size_t InHugePages(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

// Fresh pages are zero. Whole huge pages are mapped, and what the alignment leaves over
// at both ends goes back. The system is asked for all pages now: found and cleared one by
// one at the first access they would take 10 to 50 ms from the first search.
void* MapTable(std::size_t bytes, int sharing) {
    const std::size_t size = InHugePages(bytes);
    if (size < bytes) return nullptr;
    void* const mapped = mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE,
                              sharing | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    const auto start = reinterpret_cast<std::uintptr_t>(mapped);
    const std::size_t before = (kHugePage - start % kHugePage) % kHugePage;
    char* const table = static_cast<char*>(mapped) + before;
    if (before > 0) munmap(mapped, before);
    munmap(table + size, kHugePage - before);
    // Only advice: without it all works as well.
#ifdef MADV_HUGEPAGE
    madvise(table, size, MADV_HUGEPAGE);
#endif
#ifdef MADV_POPULATE_WRITE
    madvise(table, size, MADV_POPULATE_WRITE);
#endif
    return table;
}

bool IsTemporary(int error) {
    return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

// A program started without one of its three standard descriptors would get it for the
// first file it opens, and read its own book as commands.
void PrepareInput() {
    static bool prepared = false;
    if (prepared) return;
    prepared = true;
    for (int descriptor = 0; descriptor <= 2; descriptor++) {
        if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDWR);
    }
}

bool InputIsConsole() {
    PrepareInput();
    return isatty(kStandardInput) != 0;
}

// At the end of input poll reports it ready and FIONREAD says 0 bytes: hence the 1.
int InputWaiting() {
    PrepareInput();
    if (TerminationRequested()) return 1;
    pollfd descriptor = {kStandardInput, POLLIN, 0};
    if (poll(&descriptor, 1, 0) <= 0) return 0;
    int bytes = 0;
    if (ioctl(kStandardInput, FIONREAD, &bytes) != 0 || bytes < 1) return 1;
    return bytes;
}

int ReadInput(char* buffer, int size) {
    PrepareInput();
    for (;;) {
        WaitUntilReady(kStandardInput, POLLIN);
        if (TerminationRequested()) return 0;
        const ssize_t got = read(kStandardInput, buffer, static_cast<std::size_t>(size));
        if (got >= 0) return static_cast<int>(got);
        // Interrupted, or a user of the same descriptor made it non-blocking and was
        // faster.
        if (!IsTemporary(errno)) return -1;
    }
}

bool SendOutput(const char* bytes, std::size_t size) {
    while (size > 0) {
        if (!WaitUntilReady(kStandardOutput, POLLOUT)) return false;
        // A ready pipe takes this much without blocking.
        const std::size_t part = std::min<std::size_t>(size, PIPE_BUF);
        const ssize_t sent = write(kStandardOutput, bytes, part);
        if (sent >= 0) {
            bytes += sent;
            size -= static_cast<std::size_t>(sent);
        } else if (!IsTemporary(errno)) {
            return false;
        }
    }
    return true;
}

// A pipe may stay silent for ever: the wait heeds the request to end.
std::size_t ReadNext(FileHandle file, void* buffer, std::size_t size) {
    const int descriptor = fileno(file);
    for (;;) {
        WaitUntilReady(descriptor, POLLIN);
        if (TerminationRequested()) return 0;
        const ssize_t got = read(descriptor, buffer, size);
        if (got >= 0) return static_cast<std::size_t>(got);
        if (!IsTemporary(errno)) return 0;
    }
}

double UserSeconds() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

// What a helper does not inherit it need not copy, and the parent keeps its huge pages.
void* AllocateTable(std::size_t bytes) {
    void* const table = MapTable(bytes, MAP_PRIVATE);
#ifdef MADV_WIPEONFORK
    if (table != nullptr) madvise(table, InHugePages(bytes), MADV_WIPEONFORK);
#endif
    return table;
}

void* AllocateSharedTable(std::size_t bytes) { return MapTable(bytes, MAP_SHARED); }

void FreeTable(void* table, std::size_t bytes) {
    if (table != nullptr) munmap(table, InHugePages(bytes));
}

// SIGXFSZ comes with a write beyond the user's limit for files, SIGPIPE with one that
// nobody reads.
void PrepareSignals() {
    Handle(SIGPIPE, SIG_IGN);
    Handle(SIGXFSZ, SIG_IGN);
    if (!InputIsConsole()) Handle(SIGINT, SIG_IGN);
    Handle(SIGTERM, OnTerminate);
}

bool TerminationRequested() { return Terminating != 0; }
