// Numbers in files: a fixed byte order, whatever the machine's.
#pragma once

#include <cstdint>

// ---- Least significant byte first: books, learning files ----
// Byte by byte: also right where the address is not aligned. Compilers make one load or
// store of it. The caller sees to it that so many bytes are there.
inline std::uint32_t Get32le(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) |
           static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 |
           static_cast<std::uint32_t>(bytes[3]) << 24;
}

inline void Put32le(std::uint8_t* bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

inline std::uint16_t Get16le(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline void Put16le(std::uint8_t* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

// ---- Most significant byte first: statistics ----
inline std::uint16_t Get16be(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline void Put16be(std::uint8_t* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

inline std::uint32_t Get32be(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(Get16be(bytes)) << 16 | Get16be(bytes + 2);
}

inline void Put32be(std::uint8_t* bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

inline std::uint64_t Get64be(const std::uint8_t* bytes) {
    return static_cast<std::uint64_t>(Get32be(bytes)) << 32 | Get32be(bytes + 4);
}
