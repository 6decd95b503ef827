// Writing of prefix codes, the counterpart of egtb/prefixcode.h.
#pragma once

#include <cstdint>
#include <vector>

// Bits into bytes, most significant first.
struct BitWriter {
    std::vector<std::uint8_t> bytes;
    int used = 8;  // bits used of the last byte

    // The low `count` bits of the value; 0 <= count <= 32.
    void Write(std::uint32_t value, int count) {
        while (count > 0) {
            if (used == 8) {
                bytes.push_back(0);
                used = 0;
            }
            const int taken = count < 8 - used ? count : 8 - used;
            const std::uint32_t piece = value >> (count - taken) & ((1u << taken) - 1);
            bytes.back() |= static_cast<std::uint8_t>(piece << (8 - used - taken));
            used += taken;
            count -= taken;
        }
    }
};

// A code ready for writing.
struct PrefixEncoder {
    std::vector<std::uint8_t> length;  // [symbol], 0: absent
    std::vector<std::uint32_t> code;   // right-aligned
    bool single = false;               // one symbol only, which takes no bits

    void Put(BitWriter& out, int symbol) const {
        const auto s = static_cast<std::size_t>(symbol);
        if (!single) out.Write(code[s], length[s]);
    }
};

// Lengths of an optimal code for these counts, none longer than `longest`; 0 for symbols
// that do not occur.
std::vector<std::uint8_t> CodeLengths(std::vector<std::uint64_t> counts, int longest);
PrefixEncoder EncoderOf(const std::vector<std::uint8_t>& lengths);
// Writes the description of the lengths that the readers understand.
void WriteCodeLengths(BitWriter& out, const std::vector<std::uint8_t>& lengths);
