// Start-up: defaults, tables, settings, memory and files, in their fixed order.
#pragma once

#include "search/searcher.h"

// The state of a program just started, for those that run the engine's code without its
// command loop: settings at their defaults, new and empty tables (2^tableBits entries of
// the transposition table; 0: as the settings say), no clock, no thinking lines, the
// start position, the search that is to play, on so many cores. False when there is no
// memory.
bool ResetEngine(int tableBits = 0, const Searcher& searcher = ClassicSearch,
                 int threads = 1);
// Ends the program with status 1 when the hash tables cannot be had.
void StartUp();
// The command-line modes "-p GAMES.pgn" (gather results by material, with "--fresh" in
// place of those gathered before) and "-c" (report those of the start position's
// material): does the work and ends the program. Returns when the arguments, the
// program's name first, ask for neither.
void RunStatisticsModes(int count, char** arguments);
