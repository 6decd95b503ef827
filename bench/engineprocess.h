// An engine as a child process, spoken to through pipes as a front end does.
#pragma once

#include <chrono>
#include <string>

#include "platform/childprocess.h"

// A running child. Made by StartEngine, ended by StopEngine; its standard error is ours.
struct EngineProcess {
    ChildProcess child;
    std::string buffer;  // read but not yet taken
};

// Wall time, which is what an engine's clock measures.
using BenchClock = std::chrono::steady_clock;

// Starts the program (a path, from the working directory) in a new temporary folder that
// switches endgame tables off, says `greeting` and waits up to five seconds for a line
// that begins with `ready`, by default a line of the settings report at start-up; ends
// this program with a message on failure. From then on writing to an engine that has gone
// is an error, not a signal.
EngineProcess StartEngine(const std::string& program, const std::string& greeting = "",
                          const std::string& ready = "Pondering=");
// Sends the text as it stands; line ends are the caller's. Ends this program when the
// engine does not take all of it.
void SendText(EngineProcess& engine, const std::string& text);
// The next line, not empty, that begins with `prefix`, others skipped for good; empty
// when none came within `milliseconds` or the engine has closed its output.
std::string WaitForLine(EngineProcess& engine, const std::string& prefix,
                        int milliseconds);
// Sends "quit" and waits for the end; kills after two seconds. False when it had to. The
// process is reaped either way and its pipes are closed.
bool StopEngine(EngineProcess& engine);
