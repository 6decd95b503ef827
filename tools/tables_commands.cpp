#include "tools/tables_commands.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "board/tables.h"
#include "egtb/indextables.h"
#include "tools/tables_make.h"

namespace {

int DefaultJobs() {
    const unsigned cores = std::thread::hardware_concurrency();
    return cores == 0 ? 1 : static_cast<int>(cores);
}

void PrepareTables() {
    BuildTables();
    BuildIndexTables();
}

int EntryNamed(const std::string& name) {
    const int entry = FindTable(name);
    if (entry == 0) throw CLI::ValidationError("there is no table " + name);
    return entry;
}

// ---- make ----

struct MakeOptions {
    std::vector<std::string> names;
    std::vector<int> men;
    std::string directory = ".";
    int jobs = DefaultJobs();
};

void ReportMade(const MadeTable& table) {
    const std::string name(EntryOf(table.entry).name);
    if (!table.made) {
        std::printf("%-6s there already\n", name.c_str());
        return;
    }
    std::printf(
        "%-6s White to move: wins in %d, loses in %d; Black to move: wins in %d, "
        "loses in %d; %.1f s\n",
        name.c_str(), table.longestWin[0], table.longestLoss[0], table.longestWin[1],
        table.longestLoss[1], table.seconds);
    std::fflush(stdout);
}

void RunMake(const MakeOptions& options) {
    PrepareTables();
    std::vector<int> entries;
    for (const int men : options.men)
        for (const int entry : TablesWithMen(men)) entries.push_back(entry);
    for (const std::string& name : options.names) entries.push_back(EntryNamed(name));
    if (entries.empty()) throw CLI::ValidationError("name tables, or give --men");
    MakeTables(entries, options.directory, options.jobs, ReportMade);
}

void AddMake(CLI::App& tables) {
    CLI::App* make = tables.add_subcommand(
        "make", "Make tables and those they need; tables that are there are kept");
    auto options = std::make_shared<MakeOptions>();
    make->add_option("names", options->names, "Tables by name: krk kbnk kqkr ...");
    make->add_option("--men", options->men, "All tables with this many men")
        ->check(CLI::Range(3, kMostMenMade));
    make->add_option("-o,--output", options->directory, "Directory of the tables")
        ->capture_default_str();
    make->add_option("--jobs", options->jobs, "Threads")->check(CLI::Range(1, 256));
    make->callback([options] { RunMake(*options); });
}

}  // namespace

void AddTablesCommands(CLI::App& tool) {
    CLI::App* tables = tool.add_subcommand("tables", "Endgame tables");
    tables->require_subcommand(1);
    AddMake(*tables);
}
