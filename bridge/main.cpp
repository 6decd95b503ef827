// The bridge: today's protocols outside, the engine's own inside.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "board/tables.h"
#include "bridge/bench.h"
#include "bridge/engine.h"
#include "bridge/game.h"
#include "bridge/gamefolder.h"
#include "bridge/lines.h"
#include "bridge/session.h"
#include "platform/process.h"
#include "platform/version.h"

namespace {

// The engine and the book are beside this program, as built.
void LookBesideProgram() {
    std::error_code error;
    const std::filesystem::path self =
        std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return;
    const std::filesystem::path folder = self.parent_path();
    if (std::filesystem::exists(folder / "veltramox", error))
        Engine.EngineProgram = (folder / "veltramox").string();
    Folders.StandardBook = (folder / "Book.vlx").string();
}

// A program named with a path is found from another folder too.
std::string FromAnywhere(const std::string& program) {
    if (program.find('/') == std::string::npos) return program;
    return std::filesystem::absolute(program).string();
}

// Ctrl-C at a terminal, and the terminal's own end, ask to end as SIGTERM does: the
// engine's folder is to be removed. What is ignored stays so.
void EndWithTerminal() {
    struct sigaction terminate, present;
    sigaction(SIGTERM, nullptr, &terminate);
    for (const int signal : {SIGINT, SIGHUP}) {
        sigaction(signal, nullptr, &present);
        if (present.sa_handler == SIG_DFL) sigaction(signal, &terminate, nullptr);
    }
}

struct CommandLine {
    std::string engine, folder;
    bool bench = false;
    int depth = 0;
};

// The last of an option's values counts: the installed command puts its own in front of
// the user's.
void Describe(CLI::App& app, CommandLine& line) {
    app.set_version_flag("--version", std::string("veltramox-bridge ") + kVersion);
    app.add_option("--engine", line.engine,
                   "The engine; otherwise \"veltramox\" beside this program or in the "
                   "search path")
        ->type_name("PROGRAM")
        ->take_last();
    app.add_option("--game", line.folder,
                   "Settings, book, endgame tables and learning files of the engine; "
                   "without it nothing is kept. The installed command names the player's "
                   "game folder by itself")
        ->type_name("FOLDER")
        ->take_last();
    app.add_option("--patience", Engine.Patience,
                   "Milliseconds without an answer after which the engine counts as hung "
                   "and is started anew")
        ->type_name("MS")
        ->check(CLI::Range(100, 3600000))
        ->capture_default_str()
        ->take_last();
    CLI::App& bench = *app.add_subcommand(
        "bench", "Searches a set of positions; the last line says \"N nodes M nps\"");
    bench.add_option("DEPTH", line.depth, "The depth, in plies")
        ->check(CLI::Range(3, 98));
    bench.callback([&] { line.bench = true; });
}

}  // namespace

int main(int count, char** arguments) {
    CLI::App app(
        "Speaks UCI or the xboard protocol, version 2, by the first line that it reads.",
        "veltramox-bridge");
    CommandLine line;
    Describe(app, line);
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == EXIT_SUCCESS ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    LookBesideProgram();
    if (!line.engine.empty()) Engine.EngineProgram = FromAnywhere(line.engine);
    PrepareSignals();
    BuildTables();
    if (line.bench) return RunBench(line.depth);
    // After PrepareSignals, whose handler it copies.
    EndWithTerminal();
    std::string fault;
    if (!UseGameFolder(line.folder, fault)) {
        std::fprintf(stderr, "veltramox-bridge: %s\n", fault.c_str());
        return EXIT_FAILURE;
    }
    StartGame();
    return RunSessionByFirstLine();
}
