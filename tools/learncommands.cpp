// Everything rests on one walk over all chains, which stops where the engine would. Only
// the table of buckets is held in memory, and for compacting the new file.
#include "tools/learncommands.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <nlohmann/json.hpp>
#include <vector>

#include "board/board.h"
#include "board/notation.h"
#include "book/learnfile.h"
#include "platform/bytes.h"
#include "platform/output.h"
#include "tools/findings.h"
#include "tools/progress.h"
#include "tools/report.h"

namespace {

constexpr int kScoreLimit = 32701;  // beyond any score that a search returns

// What a check has found.
struct Findings {
    Problems problems;
    std::uint64_t records = 0;
    std::int64_t unreachable = 0;  // bytes behind the buckets that no bucket leads to
};

using RecordVisitor = std::function<void(std::uint32_t bucket, std::uint32_t offset,
                                         const LearnRecord& record)>;
using DamageVisitor = std::function<void(std::uint32_t link, const std::string& text)>;

// What is wrong with a link of a bucket to the offset `next`; "" when it leads to a
// record of it. `lowest` is the end of the record before: chains run towards the file's
// end, which also makes circles impossible.
std::string FollowLink(FileHandle file, std::uint32_t bucket, std::uint32_t next,
                       std::uint32_t lowest, LearnRecord& record) {
    if (next < kLearnRecordsAt) return "leads into the header or the buckets";
    if (next < lowest) return "leads back";
    if (!ReadLearnRecord(file, next, record)) return "leads behind the file's end";
    if ((record.hash1 & (kLearnBuckets - 1)) != bucket)
        return "leads to a record of another bucket";
    return "";
}

// Walks all chains as far as the engine does. The buckets are read at once: most are
// empty. Without all of them there is no record either.
void WalkLearning(FileHandle file, const RecordVisitor& visit,
                  const DamageVisitor& damage) {
    std::vector<std::uint8_t> buckets(4 * kLearnBuckets);
    if (!ReadAt(file, kLearnMagicSize, buckets.data(), buckets.size())) return;
    for (std::uint32_t bucket = 0; bucket < kLearnBuckets; ++bucket) {
        std::uint32_t next = Get32le(&buckets[4 * bucket]), lowest = kLearnRecordsAt;
        std::uint32_t link = kLearnMagicSize + 4 * bucket;
        for (int steps = 0; next != 0; ++steps) {
            LearnRecord record;
            std::string wrong = FollowLink(file, bucket, next, lowest, record);
            if (wrong.empty() && steps == kMaxChain) wrong = "makes the chain too long";
            if (!wrong.empty()) {
                damage(link, "the link to " + std::to_string(next) + " " + wrong);
                break;
            }
            visit(bucket, next, record);
            // A record's link is its last field.
            link = next + kLearnRecordSize - 4;
            lowest = next + kLearnRecordSize;
            next = record.next;
        }
    }
}

// Opened for reading: nothing is created or mended, as the engine would. nullptr, with a
// complaint, when there is no such file.
FileHandle OpenExisting(const std::string& name) {
    FileHandle file = OpenFile(name.c_str(), FileMode::Read);
    if (file == nullptr) Fail("cannot open " + name);
    return file;
}

// A record that the engine may have written.
void CheckRecord(Findings& findings, std::uint32_t offset, const LearnRecord& record) {
    if (record.score < -kScoreLimit || record.score > kScoreLimit)
        Report(findings.problems, offset + 4,
               "no search has the score " + std::to_string(record.score));
    if (record.depth <= 0)
        Report(findings.problems, offset,
               "no search has the depth " + std::to_string(record.depth));
    const Move m = record.move;
    // As far as can be said without the position.
    const bool isMove = m >> 21 == 0 && From(m) != To(m) && Moving(m) != EMPTY &&
                        Moving(m) != NO_PIECE && Captured(m) != KING &&
                        Captured(m) != NO_PIECE;
    if (!isMove) Report(findings.problems, offset + 8, "not a move");
}

// The engine does not look at it; a file without it is likely not what was meant.
bool HeaderIsGood(FileHandle file) {
    char header[kLearnMagicSize];
    return ReadAt(file, 0, header, sizeof header) &&
           std::memcmp(header, kLearnMagic, sizeof header) == 0;
}

// Chains are walked bucket by bucket, so that equal positions meet in one.
void CheckContent(Findings& findings, FileHandle file) {
    if (!HeaderIsGood(file))
        Report(findings.problems, 0, "the header is not a learning file's");
    const std::int64_t size = FileSize(file);
    if (size < kLearnRecordsAt) {
        Report(findings.problems, size, "the buckets are cut off");
        return;
    }
    std::vector<std::pair<std::uint32_t, std::uint32_t>> keys;  // of the current bucket
    std::uint32_t current = 0;
    WalkLearning(
        file,
        [&](std::uint32_t bucket, std::uint32_t offset, const LearnRecord& record) {
            if (bucket != current) keys.clear();
            current = bucket;
            const std::pair key(record.hash1, record.hash2);
            if (std::find(keys.begin(), keys.end(), key) != keys.end())
                Report(findings.problems, offset, "the position has an earlier record");
            keys.push_back(key);
            CheckRecord(findings, offset, record);
            ++findings.records;
        },
        [&](std::uint32_t link, const std::string& text) {
            Report(findings.problems, link, text);
        });
    findings.unreachable = size - kLearnRecordsAt -
                           static_cast<std::int64_t>(findings.records) * kLearnRecordSize;
}

// The problems, and a last line for the whole.
void WriteText(const Findings& findings, const std::string& name) {
    WriteText(findings.problems, name);
    Write("%s: %llu records, %lld bytes that no bucket leads to: %s\n", name.c_str(),
          static_cast<unsigned long long>(findings.records),
          static_cast<long long>(findings.unreachable),
          findings.problems.count == 0 ? "good" : "damaged");
}

void WriteAsJson(const Findings& findings, const std::string& name) {
    Json report = {{"file", name},
                   {"good", findings.problems.count == 0},
                   {"records", findings.records},
                   {"unreachableBytes", findings.unreachable}};
    AddProblems(findings.problems, report);
    WriteJson(report);
}

// Scores in centipawns for the side to move, depth in sixtieths of a ply.
void DumpRecord(JsonList* list, std::uint32_t offset, const LearnRecord& record) {
    if (list == nullptr) {
        Write("%08x %08x  %s  score %d  depth %d (%d plies)  at %u\n", record.hash1,
              record.hash2, MoveText(record.move).c_str(), record.score, record.depth,
              record.depth / 60, offset);
        return;
    }
    AddToJsonList(*list, {{"hash1", record.hash1},
                          {"hash2", record.hash2},
                          {"move", MoveText(record.move)},
                          {"score", record.score},
                          {"depth", record.depth},
                          {"offset", offset}});
}

// The records of a file, one for each position, as a new file's content. The records of a
// bucket come to stand one behind the other, so that the engine's walk along a chain
// reads neighbouring bytes.
std::vector<std::uint8_t> Compacted(FileHandle file) {
    std::vector<std::uint8_t> image(kLearnRecordsAt);
    std::memcpy(image.data(), kLearnMagic, kLearnMagicSize);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> keys;
    std::uint32_t current = 0;
    std::size_t link = kLearnMagicSize;
    WalkLearning(
        file,
        [&](std::uint32_t bucket, std::uint32_t, LearnRecord record) {
            // The first record of a bucket hangs on the bucket itself.
            if (bucket != current || keys.empty()) {
                keys.clear();
                link = kLearnMagicSize + 4 * std::size_t{bucket};
            }
            current = bucket;
            const std::pair key(record.hash1, record.hash2);
            if (std::find(keys.begin(), keys.end(), key) != keys.end()) return;
            keys.push_back(key);
            const std::size_t at = image.size();
            Put32le(&image[link], static_cast<std::uint32_t>(at));
            link = at + kLearnRecordSize - 4;
            record.next = 0;
            image.resize(at + kLearnRecordSize);
            PackLearnRecord(record, &image[at]);
        },
        [](std::uint32_t, const std::string&) {});
    return image;
}

}  // namespace

// Records are written as they are met; a damaged link is passed over.
int DumpLearning(const std::string& name, bool json) {
    FileHandle file = OpenExisting(name);
    if (file == nullptr) return 1;
    JsonList list;
    if (json) list = BeginJsonList(Json::object({{"file", name}}), "records");
    WalkLearning(
        file,
        [&](std::uint32_t, std::uint32_t offset, const LearnRecord& record) {
            DumpRecord(json ? &list : nullptr, offset, record);
        },
        [](std::uint32_t, const std::string&) {});
    if (json) EndJsonList(list, Json::object());
    CloseFile(file);
    return 0;
}

// A file without the header is left alone: it may be anything.
int CompactLearning(const std::string& name, const std::string& output, bool json) {
    FileHandle file = OpenExisting(name);
    if (file == nullptr) return 1;
    if (!HeaderIsGood(file)) {
        CloseFile(file);
        return Fail(name + " is not a learning file");
    }
    const std::int64_t before = FileSize(file);
    const std::vector<std::uint8_t> image = Compacted(file);
    CloseFile(file);
    const std::string& target = output.empty() ? name : output;
    if (!ReplaceFile(target.c_str(), image.data(), image.size()))
        return Fail("cannot write " + target);
    const auto records = (image.size() - kLearnRecordsAt) / kLearnRecordSize;
    if (!json) {
        Write("%s: %zu records, %lld bytes before, %zu now\n", target.c_str(), records,
              static_cast<long long>(before), image.size());
        return 0;
    }
    WriteJson({{"file", target},
               {"records", records},
               {"bytesBefore", before},
               {"bytes", image.size()}});
    return 0;
}

// A wrong header is a finding; only a file that cannot be opened is an error.
int CheckLearning(const std::string& name, bool json) {
    FileHandle file = OpenExisting(name);
    if (file == nullptr) return 1;
    Findings findings;
    CheckContent(findings, file);
    CloseFile(file);
    json ? WriteAsJson(findings, name) : WriteText(findings, name);
    return findings.problems.count == 0 ? 0 : 1;
}
