#include "bridge/engine.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <iterator>

#include "bridge/gamefolder.h"
#include "platform/clock.h"
#include "platform/process.h"

std::string EngineProgram = "veltramox";
LineReader EngineOutput;

namespace {

constexpr int kPatience = 20000;    // ms for any answer before the engine counts as hung
constexpr int kEndPatience = 2000;  // ms for its end

pid_t Process = -1;
int EngineInput = -1;
int Token;  // number of the last question

// A move from a square to itself is illegal in every position; the engine refuses it in
// every state it can be in, thinking or not, and repeats the text, number included.
constexpr char kQuestion[] = "a1a1x";
constexpr char kAnswer[] = "Illegal move: a1a1x";

void Forget() {
    if (EngineInput >= 0) close(EngineInput);
    if (EngineOutput.descriptor >= 0) close(EngineOutput.descriptor);
    EngineInput = -1;
    EngineOutput = LineReader{};
}

[[noreturn]] void BecomeEngine(const char* folder, const char* program, int input,
                               int output) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGINT, SIG_IGN);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    if (chdir(folder) == 0) execlp(program, program, static_cast<char*>(nullptr));
    _exit(127);
}

bool Launch(const std::string& folder, std::string& fault) {
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0) {
        fault = "no pipe";
        return false;
    }
    if (pipe2(out, O_CLOEXEC) != 0) {
        close(in[0]);
        close(in[1]);
        fault = "no pipe";
        return false;
    }
    Process = fork();
    if (Process == 0) BecomeEngine(folder.c_str(), EngineProgram.c_str(), in[0], out[1]);
    close(in[0]);
    close(out[1]);
    EngineInput = in[1];
    fcntl(EngineInput, F_SETFL, O_NONBLOCK);
    EngineOutput.descriptor = out[0];
    if (Process < 0) fault = "no process";
    return Process > 0;
}

// Waits for the process's end; false when it has not come in time.
bool Ended(int milliseconds) {
    const std::int64_t deadline = ClockMilliseconds() + milliseconds;
    while (waitpid(Process, nullptr, WNOHANG) == 0) {
        if (ClockMilliseconds() >= deadline) return false;
        constexpr timespec kPause = {0, 1000000};
        nanosleep(&kPause, nullptr);
    }
    return true;
}

// Sleeps until the engine has said something, which is read, or takes input, where that
// is waited for too. False when the deadline has passed, the engine has ended, or this
// program is asked to: a request that comes while it is awake still ends the sleep.
bool WaitForEngine(bool untilItTakes, std::int64_t deadline) {
    const std::int64_t left = deadline - ClockMilliseconds();
    if (left <= 0) return false;
    const timespec limit = {left / 1000, left % 1000 * 1000000};
    pollfd waiting[] = {{EngineOutput.descriptor, POLLIN, 0},
                        {untilItTakes ? EngineInput : -1, POLLOUT, 0}};
    sigset_t terminate, before;
    sigemptyset(&terminate);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&terminate, signal);
    sigprocmask(SIG_BLOCK, &terminate, &before);
    if (!TerminationRequested() &&
        ppoll(waiting, std::size(waiting), &limit, &before) > 0 &&
        waiting[0].revents != 0)
        ReadSome(EngineOutput);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return !EngineOutput.ended && !TerminationRequested();
}

bool SendAll(std::string_view text) {
    const std::int64_t deadline = ClockMilliseconds() + kPatience;
    while (!text.empty()) {
        const ssize_t sent = write(EngineInput, text.data(), text.size());
        if (sent >= 0)
            text.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno != EINTR && errno != EAGAIN)
            return false;
        else if (!WaitForEngine(true, deadline))
            return false;
    }
    return true;
}

// What the engine said of its start that the user should know.
std::string StartRemark;

void NoteStart(const std::string& line) {
    if (line.starts_with("*** ") || line.starts_with("An error occured"))
        StartRemark = "the engine says: " + line;
}

}  // namespace

bool StartEngine(std::string& fault) {
    StopEngine();
    const std::string folder = MakeEngineFolder(fault);
    if (folder.empty() || !Launch(folder, fault)) {
        StopEngine();
        return false;
    }
    StartRemark.clear();
    TellEngine("easy\n");
    const bool ready = SettleEngine(NoteStart);
    if (!StartRemark.empty()) fault += (fault.empty() ? "" : "; ") + StartRemark;
    if (ready) return true;
    fault = "the engine does not start: " + EngineProgram +
            (fault.empty() ? "" : " (" + fault + ')');
    StopEngine();
    return false;
}

void StopEngine() {
    if (Process > 0) {
        TellEngine("quit\n");
        Forget();
        if (!Ended(kEndPatience)) {
            kill(Process, SIGKILL);
            waitpid(Process, nullptr, 0);
        }
    }
    Process = -1;
    Forget();
    RemoveEngineFolder();
}

bool EngineRuns() { return Process > 0 && !EngineOutput.ended; }

void TellEngine(std::string_view lines) {
    if (EngineInput >= 0 && !SendAll(lines)) EngineOutput.ended = true;
}

// "exit" ends an analysis and any search; "force" ends the pondering that may follow, and
// keeps the engine from answering; the question is the last thing it then hears. Should
// pondering begin after "force", the question itself ends it.
bool SettleEngine(void (*visit)(const std::string& line)) {
    const std::string number = std::to_string(++Token);
    TellEngine("exit\nforce\n" + (kQuestion + number) + '\n');
    const std::string answer = kAnswer + number;
    const std::int64_t deadline = ClockMilliseconds() + kPatience;
    for (std::string line;;) {
        while (TakeLine(EngineOutput, line)) {
            if (line == answer) return true;
            visit(line);
        }
        if (EngineOutput.ended || !WaitForEngine(false, deadline)) return false;
    }
}
