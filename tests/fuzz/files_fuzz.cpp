// Fuzzing of everything that reads a file, with libFuzzer. One program for each kind of
// file; VELTRAMOX_FUZZ_KIND names it.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "board/board.h"
#include "board/legalmoves.h"
#include "board/notation.h"
#include "book/book.h"
#include "book/booklearn.h"
#include "book/learnfile.h"
#include "book/statistics.h"
#include "driver/settings.h"
#include "driver/settingsfile.h"
#include "egtb/blocks.h"
#include "egtb/tablefile.h"
#include "platform/bytes.h"
#include "tests/scratch.h"
#include "tools/bookcommands.h"
#include "tools/learncommands.h"

namespace {

// A file in memory with these bytes, under a name that can be opened.
struct MemoryFile {
    MemoryFile(const std::uint8_t* data, std::size_t size) {
        if (ftruncate(descriptor, 0) != 0 ||
            pwrite(descriptor, data, size, 0) != static_cast<ssize_t>(size))
            std::abort();
    }
    const std::string name = "/proc/self/fd/" + std::to_string(descriptor);
    static inline const int descriptor = memfd_create("fuzz", 0);
};

void Play(const char* text) {
    for (const Move m : LegalMoves()) {
        char move[kMoveTextSize];
        MoveToText(move, m);
        if (std::string(move) == text) {
            PlayGameMove(m);
            return;
        }
    }
}

// Only ever legal moves, and learning leaves all but the lists' own bytes alone.
void ReadBook(const char* name) {
    SetStartPosition();
    OpenBook(name);
    for (const char* move : {"e2e4", "e7e5", "g1f3", "b8c6"}) {
        const Move m = BookProbe();
        if (m != NO_MOVE && !LegalMoves().Contains(m)) std::abort();
        BookListMoves();
        Play(move);
    }
    for (const int outcome : {kGameLost, kGameWon, kGameDrawn}) BookLearn(outcome);
    CloseBook();
    CheckBook(name, false);
    DumpBook(name, "", true);
}

// A learning file is mostly buckets, far more than an input holds. The input is 16 of
// them, three bytes each: which of the first 64, and the offset of its record behind the
// buckets. Then come the records, their links counted from there as well. One that begins
// with 255 is a whole file, cut off somewhere in its header or its buckets.
constexpr std::uint32_t kFuzzedBuckets = 64;

std::vector<std::uint8_t> LearningFrom(const std::vector<std::uint8_t>& input) {
    constexpr std::size_t kLinks = 16, kLinkSize = 3;
    if (input.size() < kLinks * kLinkSize || input[0] == 255) return input;
    std::vector<std::uint8_t> file(kLearnRecordsAt);
    std::copy_n(kLearnMagic, kLearnMagicSize, file.begin());
    for (std::size_t i = 0; i < kLinks * kLinkSize; i += kLinkSize) {
        const std::uint32_t offset = Get16le(&input[i + 1]);
        if (offset == 0) continue;
        const std::uint32_t bucket = input[i] % kFuzzedBuckets;
        Put32le(&file[kLearnMagicSize + 4 * bucket], kLearnRecordsAt + offset - 1);
    }
    file.insert(file.end(), input.begin() + kLinks * kLinkSize, input.end());
    for (std::size_t at = kLearnRecordsAt; at + kLearnRecordSize <= file.size();
         at += kLearnRecordSize) {
        std::uint8_t* link = &file[at + kLearnRecordSize - 4];
        if (Get32le(link) != 0) Put32le(link, Get32le(link) + kLearnRecordsAt);
    }
    return file;
}

// The score of each position; kNone for those that are not in the file.
constexpr int kNone = -100000;

std::vector<int> LearnedScores(const char* name) {
    FileHandle file = OpenOrCreateLearnFile(name);
    if (file == nullptr) std::abort();
    std::vector<int> scores;
    for (std::uint32_t hash = 0; hash < kFuzzedBuckets; ++hash) {
        LearnRecord record;
        const bool found = FindLearnRecord(file, hash, hash, record).record != 0;
        scores.push_back(found ? record.score : kNone);
    }
    CloseFile(file);
    return scores;
}

// What is written is found again, here and in the companion's compacted file.
void ReadLearning(const char* name) {
    static const Scratch scratch;
    CheckLearning(name, false);
    DumpLearning(name, true);
    FileHandle file = OpenOrCreateLearnFile(name);
    if (file == nullptr) std::abort();
    for (std::uint32_t hash = 0; hash < kFuzzedBuckets; hash += 5) {
        LearnRecord record, found;
        const LearnPlace place = FindLearnRecord(file, hash, hash, record);
        record = {420, 25, NO_MOVE, hash, hash, 0};
        if (!WriteLearnRecord(file, place, record) ||
            FindLearnRecord(file, hash, hash, found).record == 0 || found.score != 25)
            std::abort();
    }
    CloseFile(file);
    CheckLearning(name, true);
    const std::string compact = scratch.Path("compact");
    if (CompactLearning(name, compact, false) == 0 &&
        LearnedScores(compact.c_str()) != LearnedScores(name))
        std::abort();
}

void ReadGames(const char* name) {
    static const Scratch scratch;
    static const bool opened = OpenStatisticsFile(scratch.Path("set").c_str());
    if (!opened) std::abort();
    BuildStatistics(name);
}

// Every block of a table with few of them, the last ones of a longer table.
void ReadTable(const char* name) {
    constexpr std::uint32_t kMostBlocks = 16;
    static const int memory = AllocateDecodeBuffer();
    if (memory != 0) std::abort();
    const TableFile file = OpenTableFile(name);
    std::unique_ptr<CompressedTable> table;
    if (OpenCompressedTable(file.get(), table) != 0) return;
    if (table->blockSize != kBlockSize) return;
    std::vector<std::uint8_t> values(kBlockSize);
    const std::uint32_t last = table->blocks;
    for (std::uint32_t b = last - std::min(last, kMostBlocks); b < last; ++b)
        ReadCompressedBlock(*table, file.get(), b, values.data());
}

// A wrong checksum would end the reading of every mutated header: it is put right.
void MendChecksum(std::vector<std::uint8_t>& bytes) {
    if (bytes.size() < kMinHeaderSize) return;
    const std::size_t header = Get32be(&bytes[kBannerSize]);
    if (header < kMinHeaderSize || header > bytes.size()) return;
    Put32be(&bytes[header - 4], HeaderChecksum(bytes.data(), header - 4));
}

void ReadKind(const std::string& kind, const char* name) {
    if (kind == "book") ReadBook(name);
    if (kind == "learn") ReadLearning(name);
    if (kind == "games") ReadGames(name);
    if (kind == "settings") ReadSettingsFile(name);
    if (kind == "tables") ReadTable(name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool started = [] {
        BuildTables();
        SetDefaultSettings();
        return true;
    }();
    const std::string kind = VELTRAMOX_FUZZ_KIND;
    std::vector<std::uint8_t> bytes(data, data + size);
    if (kind == "tables") MendChecksum(bytes);
    if (kind == "learn") bytes = LearningFrom(bytes);
    const MemoryFile file(bytes.data(), bytes.size());
    if (started) ReadKind(kind, file.name.c_str());
    return 0;
}
