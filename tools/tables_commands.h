// The "tables" part of veltramox-tool: making, packing, checking and asking endgame
// tables.
#pragma once

#include <CLI/CLI.hpp>

// Adds "tables" with its subcommands to the program's command line. They run while the
// line is parsed; failures are thrown as CLI::ParseError (with the exit status) or as
// std::runtime_error with a text for the user.
void AddTablesCommands(CLI::App& tool);
