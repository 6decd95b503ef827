// The program: start-up, one of the statistics modes or the command loop, shut-down.
#include <cstdlib>
#include <string_view>

#include "driver/commands.h"
#include "driver/startup.h"
#include "platform/output.h"
#include "platform/version.h"

namespace {

constexpr char kHelp[] =
    "A chess engine that speaks the xboard protocol.\n"
    "  veltramox             plays: reads commands and moves, answers with moves\n"
    "  veltramox --tables    the launcher first makes the endgame tables of four men,\n"
    "                        once, which takes some minutes\n"
    "  veltramox -p GAMES.pgn [--fresh]\n"
    "                        adds the games' results to Veltramox.set, or counts anew\n"
    "  veltramox -c          appends those of the start position's material to\n"
    "                        out.vlx\n"
    "  veltramox --version\n"
    "Settings, book and tables are read in the folder it runs in, and what it learns is\n"
    "written there; the launcher runs it in the player's game folder.\n";

// Help and version are told before anything is read or made.
void TellAboutProgram(int count, char** arguments) {
    const std::string_view wish = count == 2 ? arguments[1] : "";
    if (wish == "--help" || wish == "-h")
        WriteText(kHelp);
    else if (wish == "--version")
        Write("veltramox %s\n", kVersion);
    else
        return;
    KeepWorkingWithoutOutput();
    FlushOutput();
    std::exit(OutputIsLost() ? EXIT_FAILURE : EXIT_SUCCESS);
}

// The games are counted whether or not anybody reads what is said of it.
void PrepareStatisticsModes(int count, char** arguments) {
    const std::string_view mode = count > 1 ? arguments[1] : "";
    if (mode.starts_with("-p") || mode.starts_with("-c")) KeepWorkingWithoutOutput();
}

}  // namespace

int main(int count, char** arguments) {
    TellAboutProgram(count, arguments);
    PrepareStatisticsModes(count, arguments);
    StartUp();
    RunStatisticsModes(count, arguments);
    CommandLoop();
    ShutDown();
}
