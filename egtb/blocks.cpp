// Reader of block-compressed tables: a parsed header with the offsets of all blocks, and
// a decoder of the LZ77 kind for single blocks: literal bytes and matches under one
// prefix code, the distances of the matches being 24 of the file's choice.
#include "egtb/blocks.h"

#include <cstring>
#include <new>

namespace {

std::unique_ptr<std::uint8_t[]> DecodeBuffer;

// The checksum's step for each byte value. The polynomial is applied when the low bit is
// clear, the other way round than usual.
constexpr auto kChecksumTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t c = i;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) == 0 ? (c >> 1) ^ 0xEDB88320 : c >> 1;
        table[i] = c;
    }
    return table;
}();

// What the first 80 bytes say.
struct FixedHeader {
    std::uint32_t length;  // of the whole header
    int blockBits;
    std::uint32_t blocks;
};

// False unless every field is one that this format allows; the block count is bounded by
// the header's length before anything is allocated by it.
bool ParseFixedHeader(const std::uint8_t* data, FixedHeader& header) {
    header.length = Get32be(data + 64);
    header.blockBits = data[70];
    header.blocks = Get32be(data + 72);
    return std::memcmp(data, kBlockBanner, kBannerSize) == 0 &&
           header.length >= kMinHeaderSize && header.blockBits <= 16 &&
           data[71] == kDistances && Get32be(data + 76) == kFormatTag &&
           header.blocks > 0 && header.blocks <= (header.length - kMinHeaderSize) / 8;
}

// A field of the block table; 0 stands for the full block size.
std::uint32_t ReadLength(BitReader& reader, int blockBits) {
    const std::uint32_t length = reader.Read(blockBits);
    return length == 0 ? 1u << blockBits : length;
}

// The bit stream behind the block records. Only lengths are stored: the offsets are their
// running sum.
bool ParseBlockTable(const FixedHeader& header, const std::uint8_t* data,
                     CompressedTable& table) {
    BitReader reader(data + 8 * std::size_t{header.blocks},
                     header.length - kMinHeaderSize - 8 * std::size_t{header.blocks});
    table.blocks = header.blocks;
    table.blockSize = 1u << header.blockBits;
    table.offset.reserve(std::size_t{header.blocks} + 1);
    table.offset.push_back(header.length);
    for (std::uint32_t i = 0; i < header.blocks; ++i)
        table.offset.push_back(table.offset.back() +
                               ReadLength(reader, header.blockBits));
    table.lastLength = ReadLength(reader, header.blockBits);
    for (std::uint32_t& distance : table.distance)
        distance = reader.Read(header.blockBits);
    std::array<std::uint8_t, kBlockSymbols> lengths;
    return ReadCodeLengths(reader, kBlockSymbols, lengths.data()) && !reader.Overrun() &&
           BuildDecoder(lengths.data(), kBlockSymbols, kMainCodeWidth, table.decoder);
}

// Trusts nothing before the checksum has been compared, and then still checks every
// field.
int ReadHeader(FileHandle file, CompressedTable& table) {
    std::uint8_t fixed[kFixedHeaderSize];
    if (!ReadAt(file, 0, fixed, sizeof fixed)) return kBlockReadError;
    FixedHeader header;
    if (!ParseFixedHeader(fixed, header)) return kBlockBroken;
    // A length that the file does not have must not become an allocation.
    if (FileSize(file) < std::int64_t{header.length}) return kBlockReadError;
    std::vector<std::uint8_t> data(header.length);
    if (!ReadAt(file, 0, data.data(), data.size())) return kBlockReadError;
    const std::size_t checked = data.size() - 4;
    if (HeaderChecksum(data.data(), checked) != Get32be(&data[checked]))
        return kBlockBroken;
    return ParseBlockTable(header, &data[kFixedHeaderSize], table) ? 0 : kBlockBroken;
}

// Length of a match in bytes; long classes are followed by extra bits that select within
// a range of doubling width.
std::size_t MatchLength(BitReader& reader, int lengthClass) {
    if (lengthClass <= kLastPlainLength) return static_cast<std::size_t>(lengthClass) + 1;
    const int extra = lengthClass - kLastPlainLength;
    return (std::size_t{1} << extra) + kLastPlainLength + reader.Read(extra);
}

// Decodes the bits of one block to exactly `length` bytes; 0 or an error code.
int DecodeBlock(const CompressedTable& table, const std::uint8_t* data, std::size_t size,
                std::uint8_t* destination, std::size_t length) {
    if (table.decoder.empty) return kBlockBroken;
    BitReader reader(data, size);
    std::size_t done = 0;
    while (done < length) {
        const int symbol = DecodeSymbol(table.decoder, reader);
        if (symbol < kFirstMatch) {
            destination[done++] = static_cast<std::uint8_t>(symbol);
            continue;
        }
        const int match = symbol - kFirstMatch;
        const std::size_t distance =
            table.distance[static_cast<std::size_t>(match / kLengthClasses)];
        const std::size_t count = MatchLength(reader, match % kLengthClasses);
        // A match must begin within this block and end in it: blocks are decoded alone.
        if (distance == 0 || distance > done || count > length - done)
            return kBlockBroken;
        // Byte by byte: a match that overlaps its own copy repeats a pattern.
        std::uint8_t* to = destination + done;
        for (std::size_t i = 0; i < count; ++i) to[i] = *(to + i - distance);
        done += count;
    }
    // Zeros that the reader invented beyond the end make no valid block.
    return reader.Overrun() ? kBlockBroken : 0;
}

}  // namespace

// Table-driven, one byte a step, from 0 and without a final inversion.
std::uint32_t HeaderChecksum(const std::uint8_t* data, std::size_t size) {
    std::uint32_t c = 0;
    for (std::size_t i = 0; i < size; ++i)
        c = (c >> 8) ^ kChecksumTable[(c ^ data[i]) & 255];
    return c;
}

// Memory is the only exception that can arise here; it becomes a code as other errors do.
int OpenCompressedTable(FileHandle file, std::unique_ptr<CompressedTable>& table) {
    table.reset();
    try {
        auto opened = std::make_unique<CompressedTable>();
        const int error = ReadHeader(file, *opened);
        if (error == 0) table = std::move(opened);
        return error;
    } catch (const std::bad_alloc&) {
        return kBlockOutOfMemory;
    }
}

int AllocateDecodeBuffer() {
    if (!DecodeBuffer)
        DecodeBuffer.reset(new (std::nothrow) std::uint8_t[kDecodeBufferSize]);
    return DecodeBuffer ? 0 : kBlockOutOfMemory;
}

int ReadCompressedBlock(const CompressedTable& table, FileHandle file,
                        std::uint32_t block, std::uint8_t* destination) {
    if (block >= table.blocks || table.blockSize != kBlockSize) return kBlockBroken;
    if (AllocateDecodeBuffer() != 0) return kBlockOutOfMemory;
    const std::uint64_t start = table.offset[block];
    const std::size_t size = static_cast<std::size_t>(table.offset[block + 1] - start);
    const std::size_t length = block + 1 == table.blocks ? table.lastLength : kBlockSize;
    if (!ReadAt(file, static_cast<std::int64_t>(start), DecodeBuffer.get(), size))
        return kBlockReadError;
    // Blocks that compression would not shorten are stored as they are.
    if (size != length)
        return DecodeBlock(table, DecodeBuffer.get(), size, destination, length);
    std::memcpy(destination, DecodeBuffer.get(), length);
    return 0;
}
