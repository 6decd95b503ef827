// An engine as a child process, spoken to through pipes as a front end does.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

struct EngineProcess {
    pid_t pid = -1;
    int toEngine = -1, fromEngine = -1;
    std::string buffer;  // read but not yet taken
};

using BenchClock = std::chrono::steady_clock;

// Starts the program in a new temporary folder, says `greeting` and waits for a line that
// begins with `ready`; ends this program with a message on failure.
EngineProcess StartEngine(const std::string& program, const std::string& greeting = "",
                          const std::string& ready = "Pondering=");
// Sends the text as it stands; line ends are the caller's.
void SendText(EngineProcess& engine, const std::string& text);
// The next line, not empty, that begins with `prefix`, others skipped; empty when none
// came within `milliseconds`.
std::string WaitForLine(EngineProcess& engine, const std::string& prefix,
                        int milliseconds);
// Sends "quit" and waits for the end; kills after two seconds. False when it had to.
bool StopEngine(EngineProcess& engine);
