// The platform layer for Windows: console and pipe functions on the standard handles.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdlib>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/helper.h"
#include "platform/input.h"
#include "platform/memory.h"
#include "platform/output.h"
#include "platform/process.h"

namespace {

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;
constexpr char kEndOfFileKey = 0x1A;  // Ctrl-Z, typed at a console

// Set by the handler, read everywhere.
volatile std::sig_atomic_t Terminating = 0;

bool Prepared = false;
bool IsConsole = false;
HANDLE Input = INVALID_HANDLE_VALUE;

void OnTerminate(int) { Terminating = 1; }

}  // namespace

void PrepareInput() {
    if (Prepared) return;
    Prepared = true;
    // Text mode would wait for the byte after a carriage return, and end lines in two
    // bytes.
    _setmode(kStandardInput, _O_BINARY);
    _setmode(kStandardOutput, _O_BINARY);
    Input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    IsConsole = GetConsoleMode(Input, &mode) != 0;
    if (!IsConsole) return;
    // Mouse moves and size changes are not input.
    const DWORD unwanted = ENABLE_WINDOW_INPUT | ENABLE_MOUSE_INPUT;
    SetConsoleMode(Input, mode & ~unwanted);
    FlushConsoleInputBuffer(Input);
}

bool InputIsConsole() {
    PrepareInput();
    return IsConsole;
}

int InputWaiting() {
    PrepareInput();
    if (TerminationRequested()) return 1;
    DWORD count = 0;
    if (!IsConsole) {
        // Fails on a broken pipe and on a file: the read sees the end or the data.
        if (!PeekNamedPipe(Input, nullptr, 0, nullptr, &count, nullptr)) return 1;
    } else if (!GetNumberOfConsoleInputEvents(Input, &count) || count <= 1) {
        // One event is the release of the key that ended the last line.
        return 0;
    }
    return static_cast<int>(std::min<DWORD>(count, INT_MAX));
}

int ReadInput(char* buffer, int size) {
    PrepareInput();
    for (;;) {
        if (TerminationRequested()) return 0;
        const int got = _read(kStandardInput, buffer, static_cast<unsigned>(size));
        if (got > 0 && IsConsole && buffer[0] == kEndOfFileKey) return 0;
        if (got >= 0) return got;
        if (errno != EINTR) return -1;
    }
}

bool SendOutput(const char* bytes, std::size_t size) {
    PrepareInput();
    while (size > 0) {
        const unsigned part = static_cast<unsigned>(std::min<std::size_t>(size, INT_MAX));
        const int sent = _write(kStandardOutput, bytes, part);
        if (sent <= 0) return false;
        bytes += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

// Committed memory comes zeroed and aligned to 64 KB. Large pages would need a privilege
// that users rarely have.
void* AllocateTable(std::size_t bytes) {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

// There are no helpers.
void* AllocateSharedTable(std::size_t bytes) { return AllocateTable(bytes); }

void FreeTable(void* table, std::size_t) {
    if (table != nullptr) VirtualFree(table, 0, MEM_RELEASE);
}

std::size_t ReadNext(FileHandle file, void* buffer, std::size_t size) {
    return TerminationRequested() ? 0 : std::fread(buffer, 1, size, file);
}

double UserSeconds() {
    FILETIME created, ended, kernel, user;
    if (GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user) == 0)
        return 0;
    const ULARGE_INTEGER ticks = {{user.dwLowDateTime, user.dwHighDateTime}};
    return static_cast<double>(ticks.QuadPart) / 1e7;  // ticks of 100 ns
}

void PrepareSignals() {
    if (!InputIsConsole()) std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, OnTerminate);
}

bool TerminationRequested() { return Terminating != 0; }

Copied StartHelper(int, bool) { return Copied::Failed; }

void EndHelpers() {}

bool IsOrphan() { return false; }

void LeaveHelper() { std::_Exit(0); }

int ProcessorCount() { return 1; }
