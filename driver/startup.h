// Start-up: defaults, tables, settings, memory and files, in their fixed order.
#pragma once

// Ends the program with status 1 when the hash tables cannot be had.
void StartUp();
// The command-line modes "-p GAMES.pgn" (gather results by material) and "-c" (report
// those of the start position's material): does the work and ends the program. Returns
// when the arguments, the program's name first, ask for neither.
void RunStatisticsModes(int count, char** arguments);
