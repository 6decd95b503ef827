// The position-learning file: records of searched positions, chained by the low half of
// their first hash key. Nothing of it is kept in memory.
//
//   offset  size      field (little-endian)
//        0  23        "Veltramox learning file"
//       23  4 x 65536 bucket b: offset of the first record with (hash1 & 0xFFFF) = b;
//                     0: none
//   262167  24 each   records: depth, score, move, hash1, hash2, offset of the bucket's
//                     next record or 0
//
// Records are only ever appended, so every chain runs towards the end of the file; a link
// that does not is damage and ends the chain.
#pragma once

#include <cstdint>

#include "board/types.h"
#include "platform/files.h"

inline constexpr char kLearnMagic[] = "Veltramox learning file";
inline constexpr int kLearnMagicSize = 23;
inline constexpr std::uint32_t kLearnBuckets = 65536;
inline constexpr std::uint32_t kLearnRecordsAt = kLearnMagicSize + 4 * kLearnBuckets;
inline constexpr std::uint32_t kLearnRecordSize = 24;
// Steps along a chain before it counts as damaged. The 32-bit offsets leave room for some
// 2700 records a bucket.
inline constexpr int kMaxChain = 4096;

// As in the file, field by field.
struct LearnRecord {
    std::int32_t depth;  // units of 60 a ply
    std::int32_t score;  // centipawns, for the side to move
    Move move;           // what was played there
    std::uint32_t hash1, hash2;
    std::uint32_t next;
};

// Where a position's record is, or would be linked.
struct LearnPlace {
    std::uint32_t record = 0;  // offset; 0: there is none
    std::uint32_t link = 0;    // offset of the chain's last link; 0: the chain is damaged
};

// Opens the file for reading and writing, creates it when there is none, and completes
// one whose header and buckets have not all been written. nullptr when that fails.
FileHandle OpenOrCreateLearnFile(const char* name);

// False when there is no whole record at the offset.
bool ReadLearnRecord(FileHandle file, std::uint32_t offset, LearnRecord& record);
// The record of the position, which both hashes name, with its place; otherwise the place
// where it would be linked, and `record` is undefined. Whoever writes there holds the
// file's lock meanwhile: see StoreLearnRecord.
LearnPlace FindLearnRecord(FileHandle file, std::uint32_t hash1, std::uint32_t hash2,
                           LearnRecord& record);
// Overwrites all but the link of the record at the place, or appends the record and then
// links it. Each is one write, so that a program killed in between leaves whole records.
// Only where bytes cross a page of the file can a kill cut their write, for the system
// copies page by page: an overwritten record may then be half old and half new, and a cut
// link ends its chain, where the next record is linked.
bool WriteLearnRecord(FileHandle file, const LearnPlace& place,
                      const LearnRecord& record);
// Finds the position's place and writes the record there, as one step for all programs
// that write into the file; `known` tells whether there was a record of the position.
bool StoreLearnRecord(FileHandle file, const LearnRecord& record, bool& known);
// The 24 bytes of a record.
void PackLearnRecord(const LearnRecord& record, std::uint8_t* bytes);
