// The bridge: today's protocols outside, the engine's own inside.
#include <unistd.h>

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

namespace {

[[noreturn]] void Usage(int status) {
    std::fputs(
        "usage: veltramox-bridge [--engine PROGRAM] [--game FOLDER]\n"
        "       veltramox-bridge bench [DEPTH]\n"
        "Speaks UCI or the xboard protocol, version 2, by the first line it reads.\n"
        "  --engine PROGRAM  the engine; otherwise \"veltramox\" beside this program or\n"
        "                    in the search path\n"
        "  --game FOLDER     settings, book and learning files of the engine; without\n"
        "                    it nothing is kept\n",
        status == EXIT_SUCCESS ? stdout : stderr);
    std::exit(status);
}

// The engine and the book are beside this program, as built.
void LookBesideProgram() {
    std::error_code error;
    const std::filesystem::path self =
        std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return;
    const std::filesystem::path folder = self.parent_path();
    if (std::filesystem::exists(folder / "veltramox", error))
        EngineProgram = (folder / "veltramox").string();
    StandardBook = (folder / "Book.vlx").string();
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

}  // namespace

int main(int count, char** arguments) {
    std::string folder, fault;
    bool bench = false;
    int depth = 0;
    LookBesideProgram();
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--engine" && i + 1 < count)
            EngineProgram = FromAnywhere(arguments[++i]);
        else if (argument == "--game" && i + 1 < count)
            folder = arguments[++i];
        else if (argument == "bench")
            bench = true;
        else if (bench && depth == 0 && std::atoi(argument.c_str()) > 0)
            depth = std::atoi(argument.c_str());
        else
            Usage(argument == "--help" ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    PrepareSignals();
    BuildTables();
    if (bench) return RunBench(depth);
    EndWithTerminal();
    if (!UseGameFolder(folder, fault)) {
        std::fprintf(stderr, "veltramox-bridge: %s\n", fault.c_str());
        return EXIT_FAILURE;
    }
    StartGame();
    return RunSessionByFirstLine();
}
