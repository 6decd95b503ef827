#include "search/strong/table.h"

#include <algorithm>

#include "board/board.h"
#include "board/generate.h"
#include "board/pseudolegal.h"
#include "platform/memory.h"
#include "search/strong/state.h"

namespace {

// Layout of the data word, least significant first: packed move 16 bits, score 16,
// evaluation 16, depth 8, bound 2, age 5; the last bit is always set.
constexpr int kScoreShift = 16, kEvaluationShift = 32, kDepthShift = 48, kBoundShift = 56,
              kAgeShift = 58;
constexpr unsigned kAges = 32;
constexpr std::uint64_t kOccupied = std::uint64_t{1} << 63;

constexpr int kAgeWeight = 8;      // plies of depth that a search's age costs an entry
constexpr int kShallowMargin = 4;  // plies below a known result that a bound needs

// ---- Keys of what the board's own keys leave out ----
// The finaliser of a 64-bit mixing generator.
constexpr std::uint64_t Mixed(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    return x ^ (x >> 31);
}
struct ExtraKeys {
    std::uint64_t
        castling[64];  // [CastleFlags()]: flags that give the same rights share one
    std::uint64_t enPassant[8];  // [file]
    std::uint64_t side;
};
consteval ExtraKeys MakeExtraKeys() {
    ExtraKeys keys{};
    for (unsigned flags = 0; flags < 64; ++flags) {
        const bool blackKing = (flags & 1) == 0, whiteKing = (flags & 2) == 0;
        unsigned rights = 0;
        if (whiteKing) rights |= (~flags >> 2 & 3);       // the corners h1 and a1
        if (blackKing) rights |= (~flags >> 4 & 3) << 2;  // h8 and a8
        keys.castling[flags] = rights == 0 ? 0 : Mixed(100 + rights);
    }
    for (unsigned file = 0; file < 8; ++file) keys.enPassant[file] = Mixed(200 + file);
    keys.side = Mixed(300);
    return keys;
}
constexpr ExtraKeys kExtraKeys = MakeExtraKeys();

std::size_t BucketIndex(std::uint64_t key) {
    return static_cast<std::size_t>((key >> 32) * Strong.results.count >> 32);
}

// ---- Fields ----
int Signed16(std::uint64_t word, int shift) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(word >> shift));
}
int DepthOf(std::uint64_t data) { return static_cast<int>(data >> kDepthShift & 0xFF); }
int BoundOf(std::uint64_t data) { return static_cast<int>(data >> kBoundShift & 3); }
unsigned AgeOf(std::uint64_t data) {
    return static_cast<unsigned>(data >> kAgeShift) % kAges;
}
std::uint64_t Bits16(int value, int shift) {
    return std::uint64_t{static_cast<std::uint16_t>(value)} << shift;
}

// Mates are stored as counted from the node.
int ToNode(int score) {
    return score > kMateBound    ? score + Line.Ply
           : score < -kMateBound ? score - Line.Ply
                                 : score;
}
int ToRoot(int score) {
    return score > kMateBound    ? score - Line.Ply
           : score < -kMateBound ? score + Line.Ply
                                 : score;
}

std::uint64_t Load(const std::atomic<std::uint64_t>& word) {
    return word.load(std::memory_order_relaxed);
}

// The entry with the least value gives way.
int Worth(std::uint64_t data) {
    if (data == 0) return -100000;
    const unsigned searches = (Strong.results.age - AgeOf(data)) % kAges;
    return DepthOf(data) - kAgeWeight * static_cast<int>(searches);
}

}  // namespace

std::uint64_t PositionKey() {
    std::uint64_t key = std::uint64_t{Board.hash1} << 32 | Board.hash2;
    key ^= kExtraKeys.castling[CastleFlags()];
    const int S = Board.SideToMove;
    if (S != WHITE) key ^= kExtraKeys.side;
    const int passed = PassedSquare();
    if (passed != kNoSquare && (PawnAttacks[ChangeSide(S)][passed] & Board.Pawns[S]) != 0)
        key ^= kExtraKeys.enPassant[FileOf(passed)];
    return key;
}

void PrefetchResult(std::uint64_t key) {
    __builtin_prefetch(&Strong.results.buckets[BucketIndex(key)]);
}

KnownResult LookUpResult(std::uint64_t key) {
    for (const ResultEntry& entry : Strong.results.buckets[BucketIndex(key)].entries) {
        const std::uint64_t data = Load(entry.data);
        if ((Load(entry.check) ^ data) != key || data == 0) continue;
        return {.found = true,
                .move = UnpackedMove(static_cast<std::uint32_t>(data & 0xFFFF)),
                .score = ToRoot(Signed16(data, kScoreShift)),
                .evaluation = Signed16(data, kEvaluationShift),
                .depth = DepthOf(data),
                .bound = BoundOf(data)};
    }
    return {};
}

void StoreResult(std::uint64_t key, Move move, int score, int evaluation, int depth,
                 int bound) {
    ResultEntry* target = nullptr;
    int leastWorth = 0;
    std::uint64_t packed = PackedMove(move);
    for (ResultEntry& entry : Strong.results.buckets[BucketIndex(key)].entries) {
        const std::uint64_t data = Load(entry.data);
        if ((Load(entry.check) ^ data) == key && data != 0) {
            if (bound != kExact && depth + kShallowMargin < DepthOf(data) &&
                AgeOf(data) == Strong.results.age)
                return;
            if (move == NO_MOVE) packed = data & 0xFFFF;
            target = &entry;
            break;
        }
        const int worth = Worth(data);
        if (target == nullptr || worth < leastWorth) {
            target = &entry;
            leastWorth = worth;
        }
    }
    const std::uint64_t data = packed | Bits16(ToNode(score), kScoreShift) |
                               Bits16(evaluation, kEvaluationShift) |
                               static_cast<std::uint64_t>(std::clamp(depth, 0, 255))
                                   << kDepthShift |
                               static_cast<std::uint64_t>(bound) << kBoundShift |
                               std::uint64_t{Strong.results.age} << kAgeShift | kOccupied;
    target->check.store(key ^ data, std::memory_order_relaxed);
    target->data.store(data, std::memory_order_relaxed);
}

// Zeroed memory is a table of empty entries.
bool AllocateResults(std::size_t bytes, bool shared) {
    ReleaseResults();
    const std::size_t count = std::max<std::size_t>(bytes / sizeof(ResultBucket), 1);
    const auto allocate = shared ? AllocateSharedTable : AllocateTable;
    Strong.results.buckets =
        static_cast<ResultBucket*>(allocate(count * sizeof(ResultBucket)));
    Strong.results.count = Strong.results.buckets == nullptr ? 0 : count;
    Strong.results.age = 0;
    return Strong.results.buckets != nullptr;
}

void ReleaseResults() {
    FreeTable(Strong.results.buckets, Strong.results.count * sizeof(ResultBucket));
    Strong.results.buckets = nullptr;
    Strong.results.count = 0;
}

void ClearResults() {
    for (std::size_t i = 0; i < Strong.results.count; ++i)
        for (ResultEntry& entry : Strong.results.buckets[i].entries) {
            entry.check.store(0, std::memory_order_relaxed);
            entry.data.store(0, std::memory_order_relaxed);
        }
}

int ResultsPermille() {
    constexpr std::size_t kSample = 250;  // buckets
    const std::size_t buckets = std::min(kSample, Strong.results.count);
    int written = 0;
    for (std::size_t i = 0; i < buckets; ++i)
        for (const ResultEntry& entry : Strong.results.buckets[i].entries) {
            const std::uint64_t data = Load(entry.data);
            if (data != 0 && AgeOf(data) == Strong.results.age) ++written;
        }
    return written * 1000 / static_cast<int>(buckets * kBucketEntries);
}

void AgeResults() { Strong.results.age = (Strong.results.age + 1) % kAges; }
