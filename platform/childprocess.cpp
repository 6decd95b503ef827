#include "platform/childprocess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <cerrno>
#include <cstdio>

#include "platform/clock.h"

namespace {

void Close(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

// Signals as a program expects them, whatever this one has made of them.
void ResetSignals(bool heedsInterrupts) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    signal(SIGINT, heedsInterrupts ? SIG_DFL : SIG_IGN);
}

[[noreturn]] void BecomeProgram(const ChildStart& start, std::vector<char*>& words,
                                int input, int output) {
#ifdef __linux__
    if (start.diesWithParent) prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    ResetSignals(start.heedsInterrupts);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    if (chdir(start.folder.c_str()) == 0) execvp(words[0], words.data());
    std::perror(words[0]);
    _exit(127);
}

}  // namespace

bool StartChild(const ChildStart& start, ChildProcess& child) {
    // The pipes must not get the numbers of standard streams that are closed here.
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0) return false;
    if (pipe2(out, O_CLOEXEC) != 0) {
        close(in[0]);
        close(in[1]);
        return false;
    }
    // Put together before the fork: a child may not allocate.
    std::vector<std::string> texts{start.program};
    texts.insert(texts.end(), start.arguments.begin(), start.arguments.end());
    std::vector<char*> words;
    for (std::string& text : texts) words.push_back(text.data());
    words.push_back(nullptr);
    child.pid = fork();
    if (child.pid == 0) BecomeProgram(start, words, in[0], out[1]);
    close(in[0]);
    close(out[1]);
    child.input = in[1];
    child.output = out[0];
    if (child.pid < 0) KillChild(child);
    return child.pid > 0;
}

void CloseChildInput(ChildProcess& child) { Close(child.input); }

void CloseChildOutput(ChildProcess& child) { Close(child.output); }

bool ChildEnded(ChildProcess& child, int milliseconds, int* status) {
    const std::int64_t deadline = ClockMilliseconds() + milliseconds;
    if (child.pid < 0) return true;
    while (waitpid(child.pid, status, WNOHANG) == 0) {
        if (ClockMilliseconds() >= deadline) return false;
        constexpr timespec kPause = {0, 1000000};
        nanosleep(&kPause, nullptr);
    }
    child.pid = -1;
    return true;
}

void KillChild(ChildProcess& child) {
    if (child.pid > 0) {
        kill(child.pid, SIGKILL);
        while (waitpid(child.pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    child.pid = -1;
    CloseChildInput(child);
    CloseChildOutput(child);
}
