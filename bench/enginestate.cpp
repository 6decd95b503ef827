#include "bench/enginestate.h"

#include "board/board.h"
#include "driver/input.h"
#include "driver/settings.h"
#include "driver/state.h"
#include "eval/evaluate.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/history.h"
#include "search/root.h"

bool PrepareEngine() {
    BuildTables();
    SetDefaultSettings();
    PostThinking = 0;
    IgnoreInput();
    return FreshState();
}

bool FreshState() {
    FreePawnTable();
    if (!AllocateTranspositionTable(Settings.TranspositionSize) ||
        !AllocatePawnTable(Settings.PawnHashSize))
        return false;
    ClearHistoryAndKillers();
    ResetMargins();
    Result.PreviousScore = 0;
    Control.StopSearch = 0;
    Control.TimeBudget = kUnlimitedBudget;
    Control.PollInterval = kLongPollInterval;
    return true;
}
