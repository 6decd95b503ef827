// What it costs to ask the endgame tables.
#pragma once

// Times probes whose block is in the cache, must be read from a plain file, and must be
// decompressed, and writes their medians in microseconds. The tables of three men are
// made for it, in a temporary directory, unless `directory` (nullptr: none) has the table
// krpk. The exit status. Tables stay registered, but their files are closed.
int RunTablesBenchmark(const char* directory);
