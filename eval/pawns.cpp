#include "eval/pawns.h"

#include <cstdlib>

#include "eval/evaluate.h"

namespace {

PawnEntry* PawnHashTable = nullptr;
std::uint32_t PawnHashMask = 0;

constexpr int kMaxPawnHashBits = 28;
constexpr std::size_t kSpareEntries = 2;

}  // namespace

bool AllocatePawnTable(int bits) {
    FreePawnTable();
    if (bits < 0 || bits > kMaxPawnHashBits) return false;
    const std::size_t entries = std::size_t{1} << bits;
    PawnHashTable =
        static_cast<PawnEntry*>(std::calloc(entries + kSpareEntries, sizeof(PawnEntry)));
    PawnHashMask = static_cast<std::uint32_t>(entries - 1);
    return PawnHashTable != nullptr;
}

void FreePawnTable() {
    std::free(PawnHashTable);
    PawnHashTable = nullptr;
}

void PrefetchPawnEntry() {}

int PawnTerms(Terms& t) {
    t.passers[WHITE] = t.passers[BLACK] = 0;
    return 0;
}
