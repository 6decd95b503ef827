// What it costs to ask the endgame tables.
#pragma once

// Times probes whose block is in the cache, must be read from a plain file, and must be
// decompressed, and writes their medians. The tables of three men are made for it, unless
// `directory` (nullptr: none) has tables of four. The exit status.
int RunTablesBenchmark(const char* directory);
