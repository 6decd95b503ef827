// Decoders are built from code lengths alone, as canonical codes allow. The lengths of a
// large code are themselves written in two small codes, whose lengths are written
// plainly.
#include "egtb/prefixcode.h"

#include <algorithm>
#include <array>

namespace {

constexpr int kAuxiliarySymbols = 128;  // value code, then count code, half each
constexpr int kAuxiliaryHalf = kAuxiliarySymbols / 2;
constexpr int kAuxiliaryWidth = 8;

// Code words by symbol, left-aligned in 32 bits. False unless the lengths fill the code
// space exactly (Kraft's sum is 1): then no bit string is without a symbol.
bool AssignCodes(const std::uint8_t* lengths, int symbols, std::uint32_t* codes) {
    std::uint64_t next = 0;
    for (int length = 1; length <= kMaxCodeLength; ++length)
        for (int s = 0; s < symbols; ++s)
            if (lengths[s] == length) {
                codes[s] = static_cast<std::uint32_t>(next);
                next += std::uint64_t{1} << (32 - length);
                if (next > std::uint64_t{1} << 32) return false;
            }
    return next == std::uint64_t{1} << 32;
}

// Puts a code that is longer than the lookup into the tree.
void AddToTree(PrefixDecoder& decoder, std::uint32_t code, int length, int symbol) {
    std::int16_t* link = &decoder.lookup[code >> (32 - decoder.width)];
    for (int bit = decoder.width;; ++bit) {
        if (bit == length) {
            *link = static_cast<std::int16_t>(symbol);
            return;
        }
        if (*link >= 0) {
            const auto node = static_cast<std::int16_t>(decoder.tree.size() / 2);
            *link = static_cast<std::int16_t>(~node);
            // May move the tree, but then the link already points into the new node.
            decoder.tree.resize(decoder.tree.size() + 2, 0);
            link = &decoder.tree[static_cast<std::size_t>(2 * node)];
        } else {
            link = &decoder.tree[2 * static_cast<std::size_t>(~*link)];
        }
        // The code's next bit chooses one of the node's two entries.
        link += code << bit >> 31;
    }
}

// Lengths written one by one in fields whose width of 0 to 31 bits comes first; behind a
// length of 0, four bits tell how many more absent symbols follow.
bool ReadPlainLengths(BitReader& reader, int symbols, std::uint8_t* lengths) {
    const int width = static_cast<int>(reader.Read(5));
    for (int s = 0; s < symbols; ++s) {
        const std::uint32_t length = reader.Read(width);
        if (length > kMaxCodeLength || reader.Overrun()) return false;
        lengths[s] = static_cast<std::uint8_t>(length);
        if (length != 0) continue;
        const int run = static_cast<int>(reader.Read(4));
        if (run > symbols - 1 - s) return false;
        std::fill_n(lengths + s + 1, run, std::uint8_t{0});
        s += run;
    }
    return true;
}

// Lengths written in a code of their own, with repeats: the low five bits of a value are
// the length, and values from 32 on are followed by a count of symbols that share it.
// Counts up to 33 have codes of their own, larger ones an exponent and its bits.
bool ReadCodedLengths(BitReader& reader, int symbols, std::uint8_t* lengths) {
    std::array<std::uint8_t, kAuxiliarySymbols> auxiliary;
    PrefixDecoder values, counts;
    if (!ReadCodeLengths(reader, kAuxiliarySymbols, auxiliary.data()) ||
        !BuildDecoder(auxiliary.data(), kAuxiliaryHalf, kAuxiliaryWidth, values) ||
        !BuildDecoder(auxiliary.data() + kAuxiliaryHalf, kAuxiliaryHalf, kAuxiliaryWidth,
                      counts) ||
        values.empty)
        return false;
    for (int s = 0; s < symbols;) {
        const int value = DecodeSymbol(values, reader);
        std::int64_t repeats = 1;
        if (value >= 32) {
            if (counts.empty) return false;
            const int count = DecodeSymbol(counts, reader);
            repeats = count + 2;
            if (count >= 32)
                repeats =
                    (std::int64_t{1} << (count - 32)) + reader.Read(count - 32) + 33;
        }
        if (repeats > symbols - s || reader.Overrun()) return false;
        std::fill_n(lengths + s, repeats, static_cast<std::uint8_t>(value & 31));
        s += static_cast<int>(repeats);
    }
    return true;
}

}  // namespace

// Short codes fill all lookup entries that begin with them; the longer ones share an
// entry that leads into the tree.
bool BuildDecoder(const std::uint8_t* lengths, int symbols, int width,
                  PrefixDecoder& decoder) {
    decoder = {};
    decoder.width = width;
    const auto used = std::count_if(lengths, lengths + symbols,
                                    [](std::uint8_t length) { return length != 0; });
    decoder.empty = used == 0;
    if (used == 0) return true;
    decoder.lookup.assign(std::size_t{1} << width, 0);
    if (used == 1) {
        const auto only = std::find_if(lengths, lengths + symbols,
                                       [](std::uint8_t length) { return length != 0; });
        // Every entry: length 0, this symbol.
        std::fill(decoder.lookup.begin(), decoder.lookup.end(),
                  static_cast<std::int16_t>(only - lengths));
        return *only == 1;
    }
    std::array<std::uint32_t, 1024> codes;
    if (!AssignCodes(lengths, symbols, codes.data())) return false;
    for (int s = 0; s < symbols; ++s) {
        const int length = lengths[s];
        const std::uint32_t code = codes[static_cast<std::size_t>(s)];
        if (length > width)
            AddToTree(decoder, code, length, s);
        else if (length > 0)
            std::fill_n(decoder.lookup.begin() + (code >> (32 - width)),
                        std::size_t{1} << (width - length),
                        static_cast<std::int16_t>(length << 10 | s));
    }
    return true;
}

bool ReadCodeLengths(BitReader& reader, int symbols, std::uint8_t* lengths) {
    if (reader.Read(1) != 0) {
        std::fill_n(lengths, symbols, std::uint8_t{0});
        return !reader.Overrun();
    }
    return symbols <= kAuxiliarySymbols ? ReadPlainLengths(reader, symbols, lengths)
                                        : ReadCodedLengths(reader, symbols, lengths);
}
