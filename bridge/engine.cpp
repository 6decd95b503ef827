// Two pipes and a child process. The engine's input is non-blocking and its output is
// read while lines wait to be taken: two full pipes would otherwise hold both programs
// for ever.
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

EngineConnection Engine;

namespace {

constexpr int kPatience = 20000;    // ms for any answer before the engine counts as hung
constexpr int kEndPatience = 2000;  // ms for its end

struct {
    pid_t process = -1;
    int input = -1;           // where it is written to
    int token = 0;            // number of the last question
    std::string startRemark;  // what it said of its start that the user should know
} Child;

// A move from a square to itself is illegal in every position; the engine refuses it in
// every state it can be in, thinking or not, and repeats the text, number included.
constexpr char kQuestion[] = "a1a1x";
constexpr char kAnswer[] = "Illegal move: a1a1x";

// Closes this side's ends. The engine sees the end of its input, and ends by that.
void Forget() {
    if (Child.input >= 0) close(Child.input);
    if (Engine.EngineOutput.descriptor >= 0) close(Engine.EngineOutput.descriptor);
    Child.input = -1;
    Engine.EngineOutput = LineReader{};
}

// The child between fork and exec. Signals are unblocked, for the mask is inherited;
// Ctrl-C, which a terminal sends to both, is left to the bridge. 127, as in a shell: the
// program could not be run.
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

// Close-on-exec throughout: an engine that held the other end of its own pipe would never
// see the end of its input.
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
    Child.process = fork();
    if (Child.process == 0)
        BecomeEngine(folder.c_str(), Engine.EngineProgram.c_str(), in[0], out[1]);
    close(in[0]);
    close(out[1]);
    Child.input = in[1];
    fcntl(Child.input, F_SETFL, O_NONBLOCK);
    Engine.EngineOutput.descriptor = out[0];
    if (Child.process < 0) fault = "no process";
    return Child.process > 0;
}

// Waits for the process's end; false when it has not come in time.
bool Ended(int milliseconds) {
    const std::int64_t deadline = ClockMilliseconds() + milliseconds;
    while (waitpid(Child.process, nullptr, WNOHANG) == 0) {
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
    pollfd waiting[] = {{Engine.EngineOutput.descriptor, POLLIN, 0},
                        {untilItTakes ? Child.input : -1, POLLOUT, 0}};
    sigset_t terminate, before;
    sigemptyset(&terminate);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&terminate, signal);
    sigprocmask(SIG_BLOCK, &terminate, &before);
    if (!TerminationRequested() &&
        ppoll(waiting, std::size(waiting), &limit, &before) > 0 &&
        waiting[0].revents != 0)
        ReadSome(Engine.EngineOutput);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return !Engine.EngineOutput.ended && !TerminationRequested();
}

// False when the engine is gone, takes nothing for kPatience, or this program is to end.
bool SendAll(std::string_view text) {
    const std::int64_t deadline = ClockMilliseconds() + kPatience;
    while (!text.empty()) {
        const ssize_t sent = write(Child.input, text.data(), text.size());
        if (sent >= 0)
            text.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno != EINTR && errno != EAGAIN)
            return false;
        else if (!WaitForEngine(true, deadline))
            return false;
    }
    return true;
}

void NoteStart(const std::string& line) {
    if (line.starts_with("*** ") || line.starts_with("An error occured"))
        Child.startRemark = "the engine says: " + line;
}

}  // namespace

// "easy" first: a setting may have switched pondering on.
bool StartEngine(std::string& fault) {
    StopEngine();
    const std::string folder = MakeEngineFolder(fault);
    if (folder.empty() || !Launch(folder, fault)) {
        StopEngine();
        return false;
    }
    Child.startRemark.clear();
    TellEngine("easy\n");
    const bool ready = SettleEngine(NoteStart);
    if (!Child.startRemark.empty())
        fault += (fault.empty() ? "" : "; ") + Child.startRemark;
    if (ready) return true;
    fault = "the engine does not start: " + Engine.EngineProgram +
            (fault.empty() ? "" : " (" + fault + ')');
    StopEngine();
    return false;
}

void StopEngine() {
    if (Child.process > 0) {
        TellEngine("quit\n");
        Forget();
        if (!Ended(kEndPatience)) {
            kill(Child.process, SIGKILL);
            waitpid(Child.process, nullptr, 0);
        }
    }
    Child.process = -1;
    Forget();
    RemoveEngineFolder();
}

bool EngineRuns() { return Child.process > 0 && !Engine.EngineOutput.ended; }

void TellEngine(std::string_view lines) {
    if (Child.input >= 0 && !SendAll(lines)) Engine.EngineOutput.ended = true;
}

// "exit" ends an analysis and any search; "force" ends the pondering that may follow, and
// keeps the engine from answering; the question is the last thing it then hears. Should
// pondering begin after "force", the question itself ends it.
bool SettleEngine(void (*visit)(const std::string& line)) {
    const std::string number = std::to_string(++Child.token);
    TellEngine("exit\nforce\n" + (kQuestion + number) + '\n');
    const std::string answer = kAnswer + number;
    const std::int64_t deadline = ClockMilliseconds() + kPatience;
    for (std::string line;;) {
        while (TakeLine(Engine.EngineOutput, line)) {
            if (line == answer) return true;
            visit(line);
        }
        if (Engine.EngineOutput.ended || !WaitForEngine(false, deadline)) return false;
    }
}
