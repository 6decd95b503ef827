#include "driver/startup.h"

#include <cstdlib>

#include "board/tables.h"
#include "driver/commands.h"
#include "driver/settings.h"
#include "driver/state.h"
#include "platform/output.h"
#include "platform/process.h"
#include "search/control.h"
#include "search/hash.h"

namespace {

void AllocateTables() {
    if (AllocateTranspositionTable(TranspositionSize) && AllocatePawnTable(PawnHashSize))
        return;
    Write("An error occured while memory allocation!\n");
    FlushOutput();
    FreeTranspositionTable();
    FreePawnTable();
    std::exit(EXIT_FAILURE);
}

}  // namespace

void StartUp() {
    PrepareSignals();
    SetEarlyDefaults();
    Write("Veltramox v0.16a[lpha]\n");
    BuildTables();
    SetLateDefaults();
    WriteSettingsReport();
    AllocateTables();
    PostThinking = 1;
    EngineClock = -1;
    NewGame();
    FlushOutput();
}
