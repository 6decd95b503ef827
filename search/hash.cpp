// Open addressing with three probes: the side to move picks the first slot of a pair, and
// the step to the next comes from the other key. Entries are packed to two-byte
// alignment.
#include "search/hash.h"

#include <cstddef>

#include "board/generate.h"
#include "platform/memory.h"
#include "search/scores.h"

namespace {

// Spare entries behind the table, which the index never reaches.
constexpr std::size_t kSpareEntries = 2;
constexpr int kSlots = 3;
constexpr int kMostBits = 31;

// Layout of the info word.
constexpr std::uint32_t kMoveBits = 0x1FFFFF;
constexpr int kBoundShift = 21, kSideShift = 23, kCastleShift = 24, kThreatShift = 30;
constexpr std::uint32_t kBoundBits = 3u << kBoundShift;
constexpr std::uint32_t kThreatBit = 1u << kThreatShift;
constexpr std::uint32_t kPositionBits = 1u << kSideShift | 0x3Fu << kCastleShift;

#pragma pack(push, 2)
struct HashEntry {
    std::uint32_t key1, key2;
    std::int16_t depth;
    std::int32_t score;
    std::uint32_t info;  // 0: empty
    std::int16_t age;
};
#pragma pack(pop)
static_assert(sizeof(HashEntry) == kHashEntryBytes);

struct {
    HashEntry* entries;
    std::size_t bytes;
    std::uint32_t mask;  // number of entries - 1
    std::int16_t age;    // generation, advanced at every search's start; wraps
} TranspositionTable;

// Replacement: the shallowest goes first; entries of this search are worth more than any
// of an older one, and entries of this mark depth more than all.
constexpr int kMarkDepth = -120;
constexpr int kCurrentAgeValue = 65536;
constexpr int kMarkValue = 1000000;

// Generations wrap around in 16 bits; the detour makes the conversion well defined.
std::int16_t Wrapped(int age) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(age));
}

// Side to move and castling flags as they stand in the info word.
// The keys hold the placement alone, so the rest of the position is compared in the info
// word.
inline std::uint32_t PositionWord() {
    return static_cast<std::uint32_t>(Board.SideToMove) << kSideShift |
           CastleFlags() << kCastleShift;
}

inline bool Matches(const HashEntry& entry, std::uint32_t position) {
    return entry.key1 == Board.hash1 && entry.key2 == Board.hash2 &&
           (entry.info & kPositionBits) == position;
}

// Both sides to move of one placement share the key: the exclusive or keeps them apart.
inline std::uint32_t FirstSlot(std::uint32_t hash2, int sideToMove) {
    return (hash2 & TranspositionTable.mask) ^ static_cast<std::uint32_t>(sideToMove);
}
inline std::uint32_t NextSlot(std::uint32_t slot, std::uint32_t hash1) {
    return (slot + (hash1 & 0x1FFF)) & TranspositionTable.mask;
}

// Memory is far slower than the search: a node that waits for its slots loses more time
// than fetching a few in vain costs.
inline void PrefetchSlots(std::uint32_t hash1, std::uint32_t hash2, int sideToMove) {
    std::uint32_t slot = FirstSlot(hash2, sideToMove);
    for (int i = 0; i < kSlots; ++i, slot = NextSlot(slot, hash1))
        __builtin_prefetch(&TranspositionTable.entries[slot]);
}

// The entry with the largest value gives way.
int ReplacementValue(const HashEntry& entry) {
    int value = -entry.depth;
    if (entry.age == TranspositionTable.age) value -= kCurrentAgeValue;
    if (entry.depth == kMarkDepth && (entry.age == TranspositionTable.age ||
                                      entry.age == Wrapped(TranspositionTable.age - 1)))
        value -= kMarkValue;
    return value;
}

// Mates are stored as counted from the node; a bound beyond the mate scores says no more
// than that there is a mate.
int ScoreToTable(int score, int boundType) {
    switch (boundType) {
        case kExact:
            return score > kMateBound    ? score + Line.Ply
                   : score < -kMateBound ? score - Line.Ply
                                         : score;
        case kLowerBound:
            return score > kMateBound ? kMateBound : score;
        default:
            return score < -kMateBound ? -kMateBound : score;
    }
}

}  // namespace

std::int16_t TableAge() { return TranspositionTable.age; }

// Ageing is all the clearing there is: a sweep over the table would cost time at every
// move.
void AdvanceTableAge(int generations) {
    TranspositionTable.age = Wrapped(TranspositionTable.age + generations);
}

bool AllocateTranspositionTable(int bits) {
    FreeTranspositionTable();
    if (bits < 0 || bits > kMostBits) return false;
    const std::size_t entries = std::size_t{1} << bits;
    TranspositionTable.bytes = (entries + kSpareEntries) * sizeof(HashEntry);
    // Zeroed memory: every info word says "empty".
    TranspositionTable.entries =
        static_cast<HashEntry*>(AllocateTable(TranspositionTable.bytes));
    if (TranspositionTable.entries == nullptr) return false;
    TranspositionTable.mask = static_cast<std::uint32_t>(entries - 1);
    TranspositionTable.age = 0;
    return true;
}

void FreeTranspositionTable() {
    FreeTable(TranspositionTable.entries, TranspositionTable.bytes);
    TranspositionTable.entries = nullptr;
}

bool HashProbe(HashHit& hit) {
    const std::uint32_t position = PositionWord();
    std::uint32_t slot = FirstSlot(Board.hash2, Board.SideToMove);
    for (int i = 0; i < kSlots; ++i, slot = NextSlot(slot, Board.hash1)) {
        const HashEntry& entry = TranspositionTable.entries[slot];
        if (entry.info == 0) return false;
        if (!Matches(entry, position)) continue;
        hit.depth = entry.depth;
        hit.score = entry.score;
        hit.move = entry.info & kMoveBits;
        hit.boundType = static_cast<int>(entry.info >> kBoundShift & 3);
        hit.mateThreat = static_cast<int>(entry.info >> kThreatShift & 1);
        return true;
    }
    return false;
}

void HashStore(int depth, int score, Move move, int boundType, int mateThreat) {
    const std::uint32_t position = PositionWord();
    HashEntry* target = nullptr;
    int targetValue = 0;
    std::uint32_t slot = FirstSlot(Board.hash2, Board.SideToMove);
    for (int i = 0; i < kSlots; ++i, slot = NextSlot(slot, Board.hash1)) {
        HashEntry& entry = TranspositionTable.entries[slot];
        if (entry.info == 0) {
            target = &entry;
            break;
        }
        if (Matches(entry, position)) {
            // An entry without a move takes the new one even if its own result is deeper.
            if (move != NO_MOVE && (entry.info & kMoveBits) == NO_MOVE)
                entry.info = (entry.info & (kBoundBits | kThreatBit)) | move | position;
            if (depth < entry.depth) return;
            // A fail-low has no best move of its own; the one known from before still
            // orders well.
            if (boundType == kUpperBound) move = entry.info & kMoveBits;
            target = &entry;
            break;
        }
        const int value = ReplacementValue(entry);
        if (target == nullptr || value > targetValue) {
            target = &entry;
            targetValue = value;
        }
    }
    // What this search has found at greater depth is not given up.
    if (target->info != 0 && target->age == TranspositionTable.age &&
        depth < target->depth)
        return;
    target->key1 = Board.hash1;
    target->key2 = Board.hash2;
    target->depth = static_cast<std::int16_t>(depth);
    target->score = ScoreToTable(score, boundType);
    target->age = TranspositionTable.age;
    target->info = static_cast<std::uint32_t>(boundType) << kBoundShift | move |
                   position | static_cast<std::uint32_t>(mateThreat) << kThreatShift;
}

// Another position with the same keys could leave a move that makes no sense here.
Move HashMove() {
    HashHit hit;
    if (!HashProbe(hit) || hit.move == NULL_MOVE || !FitsPosition(hit.move))
        return NO_MOVE;
    return hit.move;
}

void PrefetchHashEntry() { PrefetchSlots(Board.hash1, Board.hash2, Board.SideToMove); }

// For castling, promotions and en passant other slots are fetched, in vain: the men that
// move besides are left out.
void PrefetchAfter(Move m) {
    const int S = Board.SideToMove, O = ChangeSide(S);
    const int from = From(m), to = To(m), piece = Moving(m), captured = Captured(m);
    std::uint32_t hash1 =
        Board.hash1 ^ HashKeys1[S][piece][from] ^ HashKeys1[S][piece][to];
    std::uint32_t hash2 =
        Board.hash2 ^ HashKeys2[S][piece][from] ^ HashKeys2[S][piece][to];
    if (captured != EMPTY) {
        hash1 ^= HashKeys1[O][captured][to];
        hash2 ^= HashKeys2[O][captured][to];
    }
    PrefetchSlots(hash1, hash2, O);
}

int ScoreFromTable(int score) {
    if (score > kMateBound) return score - Line.Ply;
    if (score < -kMateBound) return score + Line.Ply;
    return score;
}
