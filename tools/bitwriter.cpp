// Huffman's algorithm with a priority queue, and run lengths for the description of a
// code. Alphabets have at most 1024 symbols, so nothing here need be quick.
#include "tools/bitwriter.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <queue>
#include <utility>

#include "egtb/prefixcode.h"

namespace {

// Symbols of each of the two auxiliary codes that describe a large alphabet: the lengths
// (and 32 + a length for a repeat), and the classes of the repeats' counts.
constexpr std::size_t kAuxiliaryHalf = 64;

// [symbol]: depth of its leaf in a Huffman tree, 0 for symbols that do not occur. A tree
// of one leaf has no depth; its symbol gets 1, the mark that the readers expect of it.
std::vector<std::uint8_t> HuffmanDepths(const std::vector<std::uint64_t>& counts) {
    struct Tree {
        int parent = -1;
    };
    std::vector<Tree> nodes(counts.size());
    using Item = std::pair<std::uint64_t, int>;  // weight, node
    std::priority_queue<Item, std::vector<Item>, std::greater<>> queue;
    for (std::size_t s = 0; s < counts.size(); ++s)
        if (counts[s] > 0) queue.emplace(counts[s], static_cast<int>(s));
    std::vector<std::uint8_t> depths(counts.size(), 0);
    if (queue.size() == 1) depths[static_cast<std::size_t>(queue.top().second)] = 1;
    while (queue.size() > 1) {
        const Item a = queue.top();
        queue.pop();
        const Item b = queue.top();
        queue.pop();
        const int parent = static_cast<int>(nodes.size());
        nodes.emplace_back();
        for (const int child : {a.second, b.second})
            nodes[static_cast<std::size_t>(child)].parent = parent;
        queue.emplace(a.first + b.first, parent);
    }
    for (std::size_t s = 0; s < counts.size(); ++s)
        for (int n = nodes[s].parent; n >= 0;
             n = nodes[static_cast<std::size_t>(n)].parent)
            ++depths[s];
    return depths;
}

// One length or a repeat of it, as the description of a large alphabet puts them down. A
// repeat stands for 2 or more symbols: up to 33 by a count symbol of its own, beyond it
// by the power of two below the rest and the bits under that.
struct LengthToken {
    int value;                // length, or 32 + length for a repeat
    int count = -1;           // symbol of the count code
    std::uint32_t extra = 0;  // and the bits after it
    int extraBits = 0;
};

// Runs as long as they come: the reader needs no limit, for a count has up to 31 bits.
std::vector<LengthToken> TokensOf(const std::vector<std::uint8_t>& lengths) {
    std::vector<LengthToken> tokens;
    for (std::size_t i = 0; i < lengths.size();) {
        std::size_t end = i + 1;
        while (end < lengths.size() && lengths[end] == lengths[i]) ++end;
        const auto repeats = static_cast<std::uint32_t>(end - i);
        LengthToken token{.value = lengths[i] + (repeats > 1 ? 32 : 0)};
        if (repeats > 1 && repeats - 2 < 32) {
            token.count = static_cast<int>(repeats - 2);
        } else if (repeats > 1) {
            const std::uint32_t rest = repeats - 2 - 31;
            token.extraBits = static_cast<int>(std::bit_width(rest)) - 1;
            token.extra = rest - (1u << token.extraBits);
            token.count = 32 + token.extraBits;
        }
        tokens.push_back(token);
        i = end;
    }
    return tokens;
}

// Each length in as many bits as the longest needs; behind a 0, four bits say how many
// more zeros follow, at most 15.
void WritePlainLengths(BitWriter& out, const std::vector<std::uint8_t>& lengths) {
    const std::uint8_t longest = *std::max_element(lengths.begin(), lengths.end());
    const int width = std::bit_width(longest);
    out.Write(0, 1);
    out.Write(static_cast<std::uint32_t>(width), 5);
    for (std::size_t s = 0; s < lengths.size(); ++s) {
        out.Write(lengths[s], width);
        if (lengths[s] != 0) continue;
        std::uint32_t run = 0;
        while (run < 15 && s + 1 < lengths.size() && lengths[s + 1] == 0) ++run, ++s;
        out.Write(run, 4);
    }
}

}  // namespace

std::vector<std::uint8_t> CodeLengths(std::vector<std::uint64_t> counts, int longest) {
    // Flatter counts make a flatter tree; halving often enough makes them all equal.
    for (;;) {
        std::vector<std::uint8_t> depths = HuffmanDepths(counts);
        if (*std::max_element(depths.begin(), depths.end()) <= longest) return depths;
        for (std::uint64_t& count : counts)
            if (count > 0) count = (count + 1) / 2;
    }
}

// Canonical codes: counted up through the symbols of each length in turn, with a 0 added
// when the length grows.
PrefixEncoder EncoderOf(const std::vector<std::uint8_t>& lengths) {
    PrefixEncoder encoder{lengths, std::vector<std::uint32_t>(lengths.size(), 0)};
    encoder.single = lengths.size() - static_cast<std::size_t>(std::count(
                                          lengths.begin(), lengths.end(), 0)) ==
                     1;
    std::uint32_t next = 0;
    for (int length = 1; length <= kMaxCodeLength; ++length) {
        next <<= 1;
        for (std::size_t s = 0; s < lengths.size(); ++s)
            if (lengths[s] == length) encoder.code[s] = next++;
    }
    return encoder;
}

// The auxiliary codes are described by the plain form: their 128 symbols just fit it.
void WriteCodeLengths(BitWriter& out, const std::vector<std::uint8_t>& lengths) {
    if (std::all_of(lengths.begin(), lengths.end(), [](auto l) { return l == 0; })) {
        out.Write(1, 1);
        return;
    }
    if (lengths.size() <= 2 * kAuxiliaryHalf) {
        WritePlainLengths(out, lengths);
        return;
    }
    const std::vector<LengthToken> tokens = TokensOf(lengths);
    std::vector<std::uint64_t> values(kAuxiliaryHalf, 0), counts(kAuxiliaryHalf, 0);
    for (const LengthToken& token : tokens) {
        ++values[static_cast<std::size_t>(token.value)];
        if (token.count >= 0) ++counts[static_cast<std::size_t>(token.count)];
    }
    const PrefixEncoder valueCode = EncoderOf(CodeLengths(values, 15));
    const PrefixEncoder countCode = EncoderOf(CodeLengths(counts, 15));
    std::vector<std::uint8_t> auxiliary = valueCode.length;
    auxiliary.insert(auxiliary.end(), countCode.length.begin(), countCode.length.end());
    out.Write(0, 1);
    WritePlainLengths(out, auxiliary);
    for (const LengthToken& token : tokens) {
        valueCode.Put(out, token.value);
        if (token.count < 0) continue;
        countCode.Put(out, token.count);
        out.Write(token.extra, token.extraBits);
    }
}
