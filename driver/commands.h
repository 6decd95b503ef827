// The command loop and what its commands share with the commands during a search.
#pragma once

// Reads and carries out commands for ever; only Quit leaves the program.
[[noreturn]] void CommandLoop();
// Releases tables and files and ends the program with status 0.
[[noreturn]] void Quit();
// "new": the start position, the engine's modes and its move ordering from scratch.
void NewGame();
// "time N": the engine's remaining time in centiseconds, from the sixth character on.
void SetEngineClock(const char* line);
