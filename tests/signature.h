// The node totals on record, held against searches of the benchmark's positions.
#pragma once

#include <string>

// `search` searches a position from a fresh state to a depth, and leaves no trace on the
// board. `file` lies in bench/ and holds depth and total.
void ExpectSignature(const std::string& file, int depthInCode,
                     void (*search)(const char* fen, int depth));
