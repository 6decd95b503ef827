// The order counts: the report shows the settings in force before memory is asked for,
// and front ends look for the lines in their order.
#include "driver/startup.h"

#include <cstdlib>
#include <cstring>

#include "board/tables.h"
#include "book/book.h"
#include "book/positionlearn.h"
#include "book/statistics.h"
#include "driver/commands.h"
#include "driver/modes.h"
#include "driver/newgame.h"
#include "driver/settings.h"
#include "driver/settingsfile.h"
#include "egtb/tablebase.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "platform/process.h"
#include "platform/version.h"
#include "search/control.h"
#include "search/root.h"
#include "search/searcher.h"

namespace {

// The engine cannot think without its hash tables: it ends.
void AllocateTables() {
    const Searcher& searcher =
        Settings.UseStrongSearch != 0 ? StrongSearch : ClassicSearch;
    if (ChooseSearch(searcher, Settings.TranspositionSize, Settings.Threads) &&
        AllocatePawnTable(Settings.PawnHashSize))
        return;
    Write("An error occured while memory allocation!\n");
    FlushOutput();
    ReleaseSearch();
    FreePawnTable();
    std::exit(EXIT_FAILURE);
}

// Endgame tables, when they are wanted: what there is, and a cache for it.
void OpenTablebases() {
    if (Settings.UseEGTB == 0) return;
    std::uint64_t ramUsed = 0;
    const int men = InitTablebases(Settings.EgtbPath, ramUsed);
    if (men == 0)
        Write("EGTB files not found\n");
    else
        Write("%d piece EGTB files found\n", men);
    if (ramUsed != 0)
        Write("%dkb of RAM used for TB indices and decompression tables\n",
              static_cast<int>((ramUsed + 1023) / 1024));
    if (men != 0 && !SetUpTablebaseCache(Settings.EGTBHashSize))
        Write("An error occured while memory allocation!\n");
}

// Everything but the tables' contents.
void ResetState() {
    BuildTables();
    ResetControl();
    ResetClock();
    ResetRoot();
    ResetModes();
    SetDefaultSettings();
}

}  // namespace

bool ResetEngine(int tableBits, const Searcher& searcher, int threads) {
    ResetState();
    FreePawnTable();
    if (!ChooseSearch(searcher, tableBits != 0 ? tableBits : Settings.TranspositionSize,
                      threads) ||
        !AllocatePawnTable(Settings.PawnHashSize))
        return false;
    NewGame();
    return true;
}

void StartUp() {
    PrepareSignals();
    Write("Veltramox v%sa[lpha]\n", kVersion);
    ResetState();
    ReadSettingsFile("Veltramox.ini");
    WriteSettingsReport();
    AllocateTables();
    SeedRandom(CalendarSeconds());
    OpenBook("Book.vlx");
    if (Settings.UseLearningData != 0 || Settings.UseLearning != 0)
        Control.LearnedScoresUsed =
            OpenLearningFile() && Settings.UseLearningData != 0 ? 1 : 0;
    Post();
    OpenTablebases();
    NewGame();
    FlushOutput();
}

// "--fresh" may stand before or behind the file's name.
void RunStatisticsModes(int count, char** arguments) {
    const auto begins = [&](const char* option) {
        return std::strncmp(arguments[1], option, std::strlen(option)) == 0;
    };
    const auto isFresh = [&](int i) { return std::strcmp(arguments[i], "--fresh") == 0; };
    const bool fresh = count == 4 && begins("-p") && (isFresh(2) || isFresh(3));
    const bool build = fresh || (count == 3 && begins("-p"));
    const bool report = count == 2 && begins("-c");
    if (!build && !report) return;
    int status = EXIT_FAILURE;
    if (build)
        status = BuildStatistics(arguments[fresh && isFresh(2) ? 3 : 2], fresh);
    else if (OpenStatisticsFile())
        status = ReportStatistics();
    CloseStatisticsFile();
    FlushOutput();
    std::exit(OutputIsLost() ? EXIT_FAILURE : status);
}
