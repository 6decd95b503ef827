// Writing of canonical prefix (Huffman) codes, the counterpart of egtb/prefixcode.h: the
// lengths of a code, their description in a file, and the coded symbols themselves.
#pragma once

#include <cstdint>
#include <vector>

// Bits into bytes, most significant first. The last byte's unused bits are 0.
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

// A code ready for writing. Readers build the same codes from the lengths alone.
struct PrefixEncoder {
    std::vector<std::uint8_t> length;  // [symbol], 0: absent
    std::vector<std::uint32_t> code;   // right-aligned
    bool single = false;               // one symbol only, which takes no bits

    // The symbol must be one that has a length: one without would write nothing.
    void Put(BitWriter& out, int symbol) const {
        const auto s = static_cast<std::size_t>(symbol);
        if (!single) out.Write(code[s], length[s]);
    }
};

// Lengths, [symbol] in bits, of a Huffman code for these counts, none longer than
// `longest`; 0 for symbols that do not occur. Optimal where the limit does not bind,
// close to that elsewhere. `longest` must leave room for all symbols that occur. A single
// symbol gets the length 1.
std::vector<std::uint8_t> CodeLengths(std::vector<std::uint64_t> counts, int longest);
// The canonical code of these lengths, at most kMaxCodeLength.
PrefixEncoder EncoderOf(const std::vector<std::uint8_t>& lengths);
// Writes the description of the lengths that ReadCodeLengths understands; lengths below
// 32. Up to 128 symbols they stand there plainly, in larger alphabets as runs of equal
// lengths in two auxiliary codes.
void WriteCodeLengths(BitWriter& out, const std::vector<std::uint8_t>& lengths);
