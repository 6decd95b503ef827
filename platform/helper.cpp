// Helpers on POSIX systems: fork. They are ended by SIGKILL, which a process that is
// stopped or waits for a processor cannot put off, and put away as their ends are
// reported.
#include "platform/helper.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sched.h>
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <cerrno>

#include "platform/output.h"

namespace {

constexpr int kYieldingPriority = 19, kHelperPriority = 1;  // added to the own

// Written while SIGCHLD is held back, and by its handler.
struct {
    volatile pid_t running[kMostHelpers + 1];  // 0: none
    bool heard;                                // their ends are reported
    pid_t parent;                              // of a helper
} Helpers;

// Puts away those that have ended, and no other children.
void OnChildEnd(int) {
    const int error = errno;
    for (volatile pid_t& helper : Helpers.running)
        if (helper > 0 && waitpid(helper, nullptr, WNOHANG) != 0) helper = 0;
    errno = error;
}

void HearOfEnds() {
    if (Helpers.heard) return;
    Helpers.heard = true;
    struct sigaction action = {};
    action.sa_handler = OnChildEnd;
    action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
    sigemptyset(&action.sa_mask);
    sigaction(SIGCHLD, &action, nullptr);
}

// No helper is put away while it lives: its number is nobody else's then.
struct ChildEndsHeld {
    ChildEndsHeld() {
        sigset_t held;
        sigemptyset(&held);
        sigaddset(&held, SIGCHLD);
        sigprocmask(SIG_BLOCK, &held, &before);
    }
    ~ChildEndsHeld() { sigprocmask(SIG_SETMASK, &before, nullptr); }
    ChildEndsHeld(const ChildEndsHeld&) = delete;
    ChildEndsHeld& operator=(const ChildEndsHeld&) = delete;
    sigset_t before;
};

// Where there is no such device the streams are closed.
void DropStreams() {
    const int nothing = open("/dev/null", O_RDWR);
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (nothing < 0 || dup2(nothing, stream) < 0) close(stream);
    if (nothing > STDERR_FILENO) close(nothing);
    KeepWorkingWithoutOutput();
}

void BecomeHelper(pid_t parent) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    Helpers.parent = parent;
    if (IsOrphan()) LeaveHelper();  // before the call above it went unnoticed
    signal(SIGTERM, SIG_DFL);
    signal(SIGCHLD, SIG_DFL);
    for (volatile pid_t& helper : Helpers.running) helper = 0;
}

// By the parent: a new helper would else first run beside it as its equal.
void LowerPriority(pid_t helper, bool yields) {
    const int own = getpriority(PRIO_PROCESS, 0);
    setpriority(PRIO_PROCESS, static_cast<id_t>(helper),
                own + (yields ? kYieldingPriority : kHelperPriority));
}

}  // namespace

Copied StartHelper(int number, bool yields) {
    HearOfEnds();
    const pid_t self = getpid();
    volatile pid_t& helper = Helpers.running[number];
    const ChildEndsHeld held;
    if (helper != 0) return Copied::Taken;
    const pid_t child = fork();
    if (child < 0) return Copied::Failed;
    if (child == 0) {
        BecomeHelper(self);
        DropStreams();
        return Copied::Helper;
    }
    helper = child;
    LowerPriority(child, yields);
    return Copied::Parent;
}

void EndHelpers() {
    const ChildEndsHeld held;
    for (const volatile pid_t& helper : Helpers.running)
        if (helper > 0) kill(helper, SIGKILL);
}

bool IsOrphan() { return getppid() != Helpers.parent; }

void LeaveHelper() { _exit(0); }

int ProcessorCount() {
#ifdef __linux__
    cpu_set_t usable;
    if (sched_getaffinity(0, sizeof usable, &usable) == 0)
        return std::max(CPU_COUNT(&usable), 1);
#endif
    return static_cast<int>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
}
