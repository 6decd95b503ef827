// Block compression of table files; egtb/blocks.h describes the format and reads it.
#pragma once

#include <cstdint>
#include <vector>

#include "egtb/blocks.h"

// The compressed file of these values, at least one, made on `jobs` threads; the same
// file whatever their number. Each block's record holds the checksum of its contents and
// zeros.
std::vector<std::uint8_t> PackTable(const std::vector<std::uint8_t>& values, int jobs);

// A file from its parts; the blocks, [block], are as they stand in it, raw or compressed.
// For PackTable and for tests, which make odd files with it.
struct PackedParts {
    std::vector<std::vector<std::uint8_t>> blocks;
    std::vector<std::uint32_t> checksums;  // of the contents, by block
    std::size_t lastLength = 0;
    std::array<std::uint32_t, kDistances> distance{};
    std::vector<std::uint8_t> lengths;  // of the code
};
// Header, bit stream and checksum are made here; nothing is checked, so that damaged
// files can be made too.
std::vector<std::uint8_t> AssemblePackedFile(const PackedParts& parts);

// The checksum of a block's contents that its record holds; 0 when none was recorded. The
// file's header must have been read as good.
std::uint32_t RecordedChecksum(const std::vector<std::uint8_t>& file,
                               std::uint32_t block);
