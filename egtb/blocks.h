// Block-compressed table files: blocks of 8192 bytes, each compressed for itself, so that
// a probe decodes only the one it needs.
//
// File layout, numbers big-endian:
//     0  64 bytes  banner
//    64   4        H, the length of the header
//    68   2        zero
//    70   1        k, the block size as a power of two
//    71   1        24, the entries of the distance table
//    72   4        n, the number of blocks
//    76   4        format tag
//    80   8n       a record per block, not needed for reading
//    80+8n         a bit stream: n compressed lengths and the length of the last block
//                  uncompressed, each of k bits (0 stands for 2^k); 24 backward distances
//                  of k bits; the lengths of the prefix code's 1024 symbols
//   H-4   4        checksum of the header
//     H            the blocks in order; one as long as its contents is stored raw
//
// In a block the symbols below 256 are bytes. The others are matches with bytes already
// decoded: 32 length classes for each of the 24 distances.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "egtb/prefixcode.h"
#include "platform/files.h"

// ---- The format, shared with the tool that writes such files ----
inline constexpr int kBlockBits = 13;
inline constexpr std::size_t kBlockSize = std::size_t{1} << kBlockBits;
inline constexpr int kBannerSize = 64;
inline constexpr char kBlockBanner[kBannerSize + 1] =
    "Veltramox endgame table, compressed in blocks of 8192 bytes.\r\n\x1a";
inline constexpr std::size_t kFixedHeaderSize = 80;
inline constexpr std::size_t kMinHeaderSize = kFixedHeaderSize + 4;
inline constexpr std::uint32_t kFormatTag = 0x004001F5;
inline constexpr int kDistances = 24;
inline constexpr int kLengthClasses = 32;
inline constexpr int kFirstMatch = 256;
inline constexpr int kBlockSymbols = kFirstMatch + kDistances * kLengthClasses;
inline constexpr int kMainCodeWidth = 13;
// Length classes up to this one mean class + 1 bytes; above it e = class - 14 bits
// follow, and the length is 2^e + 14 + their value.
inline constexpr int kLastPlainLength = 14;

// Checksum over the header without its last four bytes.
std::uint32_t HeaderChecksum(const std::uint8_t* data, std::size_t size);

// ---- Errors: the low byte of a code tells the kind ----
inline constexpr int kBlockReadError = 2;
inline constexpr int kBlockOutOfMemory = 5;
inline constexpr int kBlockBroken = 6;

// What is kept in memory of an open compressed file: enough to find and decode any block.
// Made by OpenCompressedTable, read-only afterwards.
struct CompressedTable {
    // Of a block's first byte in the file.
    std::vector<std::uint64_t> offset;  // [block], and the end of the last one
    std::uint32_t blockSize;
    std::uint32_t blocks;
    std::uint32_t lastLength;  // uncompressed length of the last block
    std::array<std::uint32_t, kDistances> distance;
    PrefixDecoder decoder;

    std::uint64_t Length() const {  // of the table, uncompressed
        return std::uint64_t{blocks - 1} * blockSize + lastLength;
    }
    std::size_t Bytes() const {  // of memory
        return sizeof(*this) + offset.size() * sizeof(offset[0]) + decoder.Bytes();
    }
};

// Reads header and block table. 0, or an error code and no table. A block size other than
// 8192 is no error here: the caller says what it supports. The blocks themselves are not
// looked at.
int OpenCompressedTable(FileHandle file, std::unique_ptr<CompressedTable>& table);

// The buffer that all files' blocks pass through. 0 or an error code.
inline constexpr std::size_t kDecodeBufferSize = kBlockSize + 64;
// Allocated by the first call and kept, so that a search never waits for memory.
int AllocateDecodeBuffer();

// Decodes one block of a table with blocks of 8192 bytes to `destination`, which has room
// for one. The last block may be shorter; what lies behind its bytes is left as it was. 0
// or an error code, after which the contents of `destination` are undefined. Broken data
// never writes beyond the block.
int ReadCompressedBlock(const CompressedTable& table, FileHandle file,
                        std::uint32_t block, std::uint8_t* destination);
