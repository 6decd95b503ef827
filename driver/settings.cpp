#include "driver/settings.h"

#include "driver/state.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/hash.h"

int TranspositionSize, PawnHashSize, EGTBHashSize;
int ResignValue, ResignTimes;
int UseEGTB;
int UseBookWeights, UseBookLearning, BookLearningMode, VarietyOfPlay, BookLearningBound;
int UseLearning, UseLearningData, LogLearningIntoFile;
int Pondering;
char EgtbPath[kEgtbPathSize];

namespace {

constexpr int kPawnEntryBytes = 22;
constexpr int kMostBits = 48;

void WriteSize(const char* name, int bits, int entryBytes) {
    // A size that no table can have is refused at its allocation, after this report.
    const bool possible = bits >= 0 && bits <= kMostBits;
    const long long bytes = possible ? static_cast<long long>(entryBytes) << bits : 0;
    Write("%s=%d (%lld bytes)\n", name, bits, bytes);
}

void WriteSwitch(const char* name, int on) {
    Write("%s=%s\n", name, on != 0 ? "on" : "off");
}

}  // namespace

void SetEarlyDefaults() {
    EgtbPath[0] = '\0';
    UseLearning = UseLearningData = LogLearningIntoFile = 0;
    GameClock.MovesPerControl = GameClock.Increment = 0;
    Pondering = UseEGTB = 1;
    AllowPondering(true);
}

void SetLateDefaults() {
    EGTBHashSize = 20;
    TranspositionSize = 19;
    PawnHashSize = 18;
    Aggressivity = Cowardice = 100;
    ResignValue = 800;
    ResignTimes = 3;
    UseBookLearning = UseBookWeights = 1;
    BookLearningMode = 0;
    BookLearningBound = 400;
    VarietyOfPlay = 10;
}

void WriteSettingsReport() {
    WriteSize("TranspositionSize", TranspositionSize, kHashEntryBytes);
    WriteSize("PawnHashSize", PawnHashSize, kPawnEntryBytes);
    WriteSize("EGTBHashSize", EGTBHashSize, 1);
    Write("Aggressivity=%d%%\nCowardice=%d%%\n", Aggressivity, Cowardice);
    Write("ResignValue=%d\nResignTimes=%d\n", ResignValue, ResignTimes);
    WriteSwitch("UseEGTB", UseEGTB);
    Write("EGTB path=\"%s\"\n", EgtbPath);
    WriteSwitch("UseBookWeights", UseBookWeights);
    WriteSwitch("UseBookLearning", UseBookLearning);
    Write("BookLearningMode=%s\n", BookLearningMode == 0 ? "KILL" : "DISCOVER");
    Write("VarietyOfPlay=%d\nBookLearningBound=%d\n", VarietyOfPlay, BookLearningBound);
    WriteSwitch("UseLearning", UseLearning);
    WriteSwitch("UseLearningData", UseLearningData);
    WriteSwitch("LogLearningIntoFile", LogLearningIntoFile);
    WriteSwitch("Pondering", Pondering);
    Write("\n");
    FlushOutput();
}
