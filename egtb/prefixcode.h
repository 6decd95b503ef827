// Canonical prefix codes and their bit stream, as block-compressed tables use them: codes
// are read most significant bit first, shorter codes come first, and codes of equal
// length follow the increasing symbol.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/bytes.h"

// Bits of a byte string, most significant first. Beyond the end zeros are read; Overrun()
// tells that some were taken.
class BitReader {
public:
    BitReader(const std::uint8_t* data, std::size_t size)
        : next(data), end(data + size) {}

    // The next n bits without taking them; 1 <= n <= 32.
    std::uint32_t Peek(int n) {
        if (bits < n) Refill();
        return static_cast<std::uint32_t>(buffer >> (64 - n));
    }
    void Skip(int n) {
        buffer <<= n;
        bits -= n;
    }
    // Takes n bits; 0 <= n <= 32.
    std::uint32_t Read(int n) {
        if (n == 0) return 0;
        const std::uint32_t value = Peek(n);
        Skip(n);
        return value;
    }
    // Zeros from beyond the end that are still unread do no harm: only taken ones count.
    bool Overrun() const { return missing > bits; }

private:
    // Tops the buffer up to at least 57 bits: eight bytes at once where the string has
    // them.
    void Refill() {
        if (end - next >= 8) {
            const std::uint64_t word = Get64be(next);
            const int taken = (63 - bits) >> 3;
            buffer |= word >> bits;
            next += taken;
            bits += taken * 8;
            // Bits beyond the whole bytes just counted come again with the next word.
            buffer &= ~std::uint64_t{0} << (64 - bits);
            return;
        }
        while (bits <= 56) {
            if (next < end)
                buffer |= std::uint64_t{*next++} << (56 - bits);
            else
                missing += 8;
            bits += 8;
        }
    }
    const std::uint8_t* next;
    const std::uint8_t* end;
    std::uint64_t buffer = 0;  // unread bits from the top down
    int bits = 0;              // how many
    int missing = 0;           // of them and of those taken, how many lay beyond the end
};

inline constexpr int kMaxCodeLength = 31;

// Decoding table: a lookup on the next few bits, and a tree for longer codes.
struct PrefixDecoder {
    int width = 0;  // bits of the lookup
    // >= 0: the code's length << 10 | symbol; < 0: the node ~entry continues.
    std::vector<std::int16_t> lookup;
    // Two entries a node, for the bits 0 and 1: >= 0 a symbol, < 0 the node ~entry.
    std::vector<std::int16_t> tree;
    bool empty = true;  // no symbol at all

    std::size_t Bytes() const {
        return (lookup.size() + tree.size()) * sizeof(std::int16_t);
    }
};

// Builds the decoder of a code given by one length per symbol (0: absent), at most 1024
// symbols, with a lookup of 2^width entries (width >= 1). False unless the lengths fill
// the code space exactly, are all 0, or a single one is not 0 and that one is 1: its
// symbol then takes no bits.
bool BuildDecoder(const std::uint8_t* lengths, int symbols, int width,
                  PrefixDecoder& decoder);

// The next symbol; the decoder must not be empty. Most codes are short enough for the
// lookup; the others walk on bit by bit. Beyond the end of the bits symbols still come,
// and the reader's Overrun() tells.
inline int DecodeSymbol(const PrefixDecoder& decoder, BitReader& reader) {
    int entry = decoder.lookup[reader.Peek(decoder.width)];
    if (entry >= 0) {
        reader.Skip(entry >> 10);
        return entry & 1023;
    }
    reader.Skip(decoder.width);
    do {
        entry = decoder.tree[static_cast<std::size_t>(2 * ~entry) + reader.Read(1)];
    } while (entry < 0);
    return entry;
}

// Reads the description of the lengths of `symbols` symbols, 0 (absent) to 31 each. False
// when it runs past them or past the end of the bits, or is not a code. Whether the
// lengths make a complete code is BuildDecoder's question.
bool ReadCodeLengths(BitReader& reader, int symbols, std::uint8_t* lengths);
