// A program run as a child and spoken to through two pipes. POSIX only; the bridge, the
// benchmarks and the tests' conversations run engines so.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

struct ChildProcess {
    pid_t pid = -1;   // -1: none runs
    int input = -1;   // what is written here the child reads; -1: closed
    int output = -1;  // what the child writes; -1: closed
};

struct ChildStart {
    std::string program;  // without "/" it is looked for in the search path
    std::vector<std::string> arguments;
    std::string folder;           // its working directory
    bool heedsInterrupts = true;  // false: an interrupt from the terminal is not for it
    bool diesWithParent = false;  // killed when this program ends, however that happens
};

// Starts it, its standard error being ours. The pipes' ends are not inherited by later
// children, which would keep this one from seeing its input closed. False when there is
// no pipe or process; a program that cannot be run shows as an end with status 127.
bool StartChild(const ChildStart& start, ChildProcess& child);
void CloseChildInput(ChildProcess& child);
void CloseChildOutput(ChildProcess& child);
// Waits so long for its end, 0: only looks. True when it has ended, or none runs; it is
// then gone, with its wait status in `status` if that is wanted.
bool ChildEnded(ChildProcess& child, int milliseconds, int* status = nullptr);
// Ends it at once, if it runs, and closes the pipes.
void KillChild(ChildProcess& child);
