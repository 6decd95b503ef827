// The chains of the learning file, as far as they can be trusted.
#include "book/learnfile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/bytes.h"

namespace {

// Offset of a record's last field, the link to the next one.
constexpr std::uint32_t kLinkInRecord = 20;
constexpr std::uint32_t kBucketMask = kLearnBuckets - 1;

std::uint32_t BucketAt(std::uint32_t bucket) { return kLearnMagicSize + 4 * bucket; }

// Locked by whoever changes the file: nobody ever writes these bytes again.
constexpr int kLockSize = kLearnMagicSize;

// Writes what is missing of the header and the empty buckets; when that fails the file is
// as before.
bool Complete(FileHandle file) {
    const std::int64_t size = FileSize(file);
    if (size >= kLearnRecordsAt) return true;
    if (size < 0) return false;
    std::vector<char> empty(kLearnRecordsAt, '\0');
    std::copy_n(kLearnMagic, kLearnMagicSize, empty.begin());
    if (WriteAt(file, size, empty.data() + size,
                kLearnRecordsAt - static_cast<std::size_t>(size)))
        return true;
    ShortenFile(file, size);
    return false;
}

// The first record of a bucket; 0 when it is empty.
std::uint32_t ReadBucket(FileHandle file, std::uint32_t bucket) {
    std::uint8_t bytes[4];
    return ReadAt(file, BucketAt(bucket), bytes, sizeof bytes) ? Get32le(bytes) : 0;
}

// `at`: the place of a bucket or of a record's link in the file.
bool WriteLink(FileHandle file, std::uint32_t at, std::uint32_t record) {
    std::uint8_t bytes[4];
    Put32le(bytes, record);
    return WriteAt(file, at, bytes, sizeof bytes);
}

}  // namespace

// The header of an existing file is not compared: the file is used as it is.
FileHandle OpenOrCreateLearnFile(const char* name) {
    bool created = false, complete = false;
    FileHandle file = OpenOrCreateFile(name, created);
    if (file == nullptr) return nullptr;
    {
        const FileLock lock(file, 0, kLockSize);
        complete = Complete(file);
    }
    if (!complete) CloseFile(file);
    if (!complete && created) std::remove(name);
    return file;
}

bool ReadLearnRecord(FileHandle file, std::uint32_t offset, LearnRecord& record) {
    std::uint8_t bytes[kLearnRecordSize];
    if (offset < kLearnRecordsAt || !ReadAt(file, offset, bytes, sizeof bytes))
        return false;
    record.depth = static_cast<std::int32_t>(Get32le(bytes));
    record.score = static_cast<std::int32_t>(Get32le(bytes + 4));
    record.move = Get32le(bytes + 8);
    record.hash1 = Get32le(bytes + 12);
    record.hash2 = Get32le(bytes + 16);
    record.next = Get32le(bytes + kLinkInRecord);
    return true;
}

// Follows the chain while its links lead forwards to whole records of this bucket. Where
// they stop doing so the chain ends, and the next record is linked there.
LearnPlace FindLearnRecord(FileHandle file, std::uint32_t hash1, std::uint32_t hash2,
                           LearnRecord& record) {
    const std::uint32_t bucket = hash1 & kBucketMask;
    LearnPlace place{0, BucketAt(bucket)};
    std::uint32_t next = ReadBucket(file, bucket), lowest = kLearnRecordsAt;
    for (int steps = 0; steps < kMaxChain; ++steps) {
        if (next < lowest || !ReadLearnRecord(file, next, record) ||
            (record.hash1 & kBucketMask) != bucket)
            return place;
        if (record.hash1 == hash1 && record.hash2 == hash2) {
            place.record = next;
            return place;
        }
        place.link = next + kLinkInRecord;
        lowest = next + kLearnRecordSize;
        next = record.next;
    }
    return {};
}

// The record first, the link to it second: in between it is merely not found.
bool WriteLearnRecord(FileHandle file, const LearnPlace& place,
                      const LearnRecord& record) {
    std::uint8_t bytes[kLearnRecordSize];
    PackLearnRecord(record, bytes);
    if (place.record != 0) return WriteAt(file, place.record, bytes, kLinkInRecord);
    const std::int64_t end = FileSize(file);
    if (place.link == 0 || end < kLearnRecordsAt ||
        end > std::numeric_limits<std::uint32_t>::max() - kLearnRecordSize)
        return false;
    Put32le(bytes + kLinkInRecord, 0);
    if (!WriteAt(file, end, bytes, sizeof bytes)) {
        ShortenFile(file, end);
        return false;
    }
    return WriteLink(file, place.link, static_cast<std::uint32_t>(end));
}

bool StoreLearnRecord(FileHandle file, const LearnRecord& record, bool& known) {
    const FileLock lock(file, 0, kLockSize);
    LearnRecord found;
    const LearnPlace place = FindLearnRecord(file, record.hash1, record.hash2, found);
    known = place.record != 0;
    return WriteLearnRecord(file, place, record);
}

void PackLearnRecord(const LearnRecord& record, std::uint8_t* bytes) {
    Put32le(bytes, static_cast<std::uint32_t>(record.depth));
    Put32le(bytes + 4, static_cast<std::uint32_t>(record.score));
    Put32le(bytes + 8, record.move);
    Put32le(bytes + 12, record.hash1);
    Put32le(bytes + 16, record.hash2);
    Put32le(bytes + kLinkInRecord, record.next);
}
