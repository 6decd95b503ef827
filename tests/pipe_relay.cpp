// Starts a program with Windows pipes as its standard input and output and passes on what
// comes and goes, for tests under Wine: there a program started from outside has the
// host's pipes, into which PeekNamedPipe cannot look.
//   pipe_relay PROGRAM
#include <windows.h>

#include <cstdio>

namespace {

struct Way {
    HANDLE from;
    HANDLE to;
};

// Until either end is closed; then closes the other one.
DWORD WINAPI PassOn(void* parameter) {
    const Way& way = *static_cast<const Way*>(parameter);
    char bytes[4096];
    DWORD got = 0;
    while (ReadFile(way.from, bytes, sizeof bytes, &got, nullptr) != 0 && got > 0) {
        DWORD sent = 0;
        if (WriteFile(way.to, bytes, got, &sent, nullptr) == 0) break;
    }
    CloseHandle(way.to);
    return 0;
}

// A pipe of which the child gets one end.
bool MakePipe(HANDLE& read, HANDLE& write, HANDLE& ours) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    if (CreatePipe(&read, &write, &inherited, 0) == 0) return false;
    return SetHandleInformation(ours, HANDLE_FLAG_INHERIT, 0) != 0;
}

}  // namespace

int main(int count, char** words) {
    HANDLE childInput, toChild, fromChild, childOutput;
    if (count != 2 || !MakePipe(childInput, toChild, toChild) ||
        !MakePipe(fromChild, childOutput, fromChild)) {
        std::fprintf(stderr, "usage: pipe_relay PROGRAM\n");
        return 2;
    }
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = childInput;
    start.hStdOutput = childOutput;
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION child = {};
    if (CreateProcessA(nullptr, words[1], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                       &start, &child) == 0) {
        std::fprintf(stderr, "cannot start %s\n", words[1]);
        return 2;
    }
    CloseHandle(childInput);
    CloseHandle(childOutput);

    Way in = {GetStdHandle(STD_INPUT_HANDLE), toChild};
    Way out = {fromChild, GetStdHandle(STD_OUTPUT_HANDLE)};
    CreateThread(nullptr, 0, PassOn, &in, 0, nullptr);
    PassOn(&out);
    DWORD status = 2;
    WaitForSingleObject(child.hProcess, INFINITE);
    GetExitCodeProcess(child.hProcess, &status);
    return static_cast<int>(status);
}
