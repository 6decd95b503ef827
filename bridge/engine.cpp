// Two pipes and a child process. The engine's input is non-blocking and its output is
// read while lines wait to be taken: two full pipes would otherwise hold both programs
// for ever.
#include "bridge/engine.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <iterator>

#include "bridge/gamefolder.h"
#include "platform/childprocess.h"
#include "platform/clock.h"
#include "platform/process.h"

EngineConnection Engine;

namespace {

constexpr int kEndPatience = 2000;  // ms for its end at most

struct {
    ChildProcess process;     // its output goes to Engine.EngineOutput
    int token = 0;            // number of the last question
    std::string startRemark;  // what it said of its start that the user should know
} Child;

// A move from a square to itself is illegal in every position; the engine refuses it in
// every state it can be in, thinking or not, and repeats the text, number included.
constexpr char kQuestion[] = "a1a1x";
constexpr char kAnswer[] = "Illegal move: a1a1x";

// Closes this side's ends. The engine sees the end of its input, and ends by that.
void Forget() {
    CloseChildInput(Child.process);
    CloseChildOutput(Child.process);
    Engine.EngineOutput = LineReader{};
}

// Ctrl-C, which a terminal sends to both, is left to the bridge.
bool Launch(const std::string& folder, std::string& fault) {
    if (!StartChild({.program = Engine.EngineProgram,
                     .arguments = {},
                     .folder = folder,
                     .heedsInterrupts = false},
                    Child.process)) {
        fault = "no process";
        return false;
    }
    fcntl(Child.process.input, F_SETFL, O_NONBLOCK);
    Engine.EngineOutput.descriptor = Child.process.output;
    return true;
}

// Sleeps until the engine has said something, which is read, or takes input, where that
// is waited for too. False when the deadline has passed, the engine has ended, or this
// program is asked to: a request that comes while it is awake still ends the sleep.
bool WaitForEngine(bool untilItTakes, std::int64_t deadline) {
    const std::int64_t left = deadline - ClockMilliseconds();
    if (left <= 0 || Engine.EngineOutput.ended) return false;
    const timespec limit = {left / 1000, left % 1000 * 1000000};
    pollfd waiting[] = {{Engine.EngineOutput.descriptor, POLLIN, 0},
                        {untilItTakes ? Child.process.input : -1, POLLOUT, 0}};
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

// False when the engine is gone, takes nothing for as long as the patience lasts, or this
// program is to end.
bool SendAll(std::string_view text) {
    const std::int64_t deadline = ClockMilliseconds() + Engine.Patience;
    while (!text.empty()) {
        const ssize_t sent = write(Child.process.input, text.data(), text.size());
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
    if (Child.process.pid > 0) {
        TellEngine("quit\n");
        Forget();
        ChildEnded(Child.process, std::min(kEndPatience, Engine.Patience));
    }
    KillChild(Child.process);
    Forget();
    RemoveEngineFolder();
}

bool EngineRuns() { return Child.process.pid > 0 && !Engine.EngineOutput.ended; }

void TellEngine(std::string_view lines) {
    if (Child.process.input >= 0 && !SendAll(lines)) Engine.EngineOutput.ended = true;
}

// "exit" ends an analysis and any search; "force" ends the pondering that may follow, and
// keeps the engine from answering; the question is the last thing it then hears. Should
// pondering begin after "force", the question itself ends it.
bool SettleEngine(void (*visit)(const std::string& line)) {
    const std::string number = std::to_string(++Child.token);
    TellEngine("exit\nforce\n" + (kQuestion + number) + '\n');
    const std::string answer = kAnswer + number;
    const std::int64_t deadline = ClockMilliseconds() + Engine.Patience;
    for (std::string line;;) {
        while (TakeLine(Engine.EngineOutput, line)) {
            if (line == answer) return true;
            visit(line);
        }
        if (Engine.EngineOutput.ended || !WaitForEngine(false, deadline)) return false;
    }
}
