// The "tables" part of veltramox-tool: making, packing, checking and asking endgame
// tables.
#pragma once

#include <CLI/CLI.hpp>

void AddTablesCommands(CLI::App& tool);
