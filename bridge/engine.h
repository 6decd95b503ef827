// The engine's process: started and ended here, spoken to in its own dialect.
#pragma once

#include <string>
#include <string_view>

#include "bridge/lines.h"

struct EngineConnection {
    // The program to start; a name without "/" is looked for in the search path. Set by
    // the command line.
    std::string EngineProgram = "veltramox";
    // ms for any answer before it counts as hung. Set by the command line.
    int Patience = 20000;
    // What it says, as lines; descriptor -1: it does not run.
    LineReader EngineOutput;
};
extern EngineConnection Engine;

// Starts it in a folder made for it, in force mode and not pondering. False, with the
// reason in `fault`, when it does not get ready; otherwise `fault` tells what the user
// may want to know of the start, if there is anything.
bool StartEngine(std::string& fault);
// Asks it to end, and ends it when it does not.
void StopEngine();
// False also when it has been found out of step, or unresponsive, and is about to be
// replaced.
bool EngineRuns();

// Lines as they stand, line ends included. A failing write shows as the end of its
// output, and so does an engine that takes nothing for as long as it may take for an
// answer. What it says meanwhile is read, so that neither waits for the other.
void TellEngine(std::string_view lines);

// Ends whatever the engine does (search, pondering, analysis) and waits until it has said
// all that came of it, line by line to `visit`. False when it has died or hangs.
bool SettleEngine(void (*visit)(const std::string& line));
