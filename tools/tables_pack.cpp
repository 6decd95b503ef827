// LZ77 with a prefix code, limited to 24 distances that are chosen for the whole file:
// the index of a table is regular, so that equal neighbours recur at a few distances.
// Three steps: choose the distances, choose the code, parse each block at the least cost
// in bits.
#include "tools/tables_pack.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <mutex>
#include <queue>
#include <span>

#include "tools/bitwriter.h"
#include "tools/parallel.h"

namespace {

using Block = std::span<const std::uint8_t>;

// Longer codes would save nothing and cost the reader its lookup.
constexpr int kLongestCode = 20;
// Blocks that the distances and the code are chosen by.
constexpr std::size_t kSampleBlocks = 120;
constexpr std::size_t kDistanceSampleBlocks = 24;
// A match shorter than this saves nothing worth a distance.
constexpr std::size_t kWorthwhileMatch = 6;
// Distances that are counted in full, of all 8191.
constexpr std::size_t kCandidates = 96;

// ---- Symbols ----

// The length class of a match and the extra bits after its symbol.
struct MatchClass {
    int lengthClass;
    int extraBits;
    std::uint32_t extra;
};

// The counterpart of the reader's formula in egtb/blocks.h.
MatchClass ClassOf(std::size_t length) {
    if (length <= kLastPlainLength + 1) return {static_cast<int>(length) - 1, 0, 0};
    const auto rest = static_cast<std::uint32_t>(length - kLastPlainLength);
    const int bits = static_cast<int>(std::bit_width(rest)) - 1;
    return {kLastPlainLength + bits, bits, rest - (1u << bits)};
}

// A literal (length 0) or a match.
struct Step {
    std::uint16_t length;
    std::uint8_t distance;  // index into the distance table
};

// The byte itself, or the match's symbol by distance and length class.
int SymbolOf(const Step& step, std::uint8_t byte) {
    if (step.length == 0) return byte;
    return kFirstMatch + step.distance * kLengthClasses +
           ClassOf(step.length).lengthClass;
}

// ---- The choice of the distances ----

// Blocks at equal distances through the file, `count` or all.
std::vector<Block> Sample(const std::vector<Block>& blocks, std::size_t count) {
    std::vector<Block> sample;
    const std::size_t n = std::min(count, blocks.size());
    for (std::size_t i = 0; i < n; ++i) sample.push_back(blocks[i * blocks.size() / n]);
    return sample;
}

// Bytes that matches at one distance would save, those in `covered` ([byte of the block],
// by distances chosen before) not counted; a match itself costs about two bytes. Marks
// the matches as covered when asked to.
std::size_t Savings(Block block, std::size_t distance, std::vector<std::uint8_t>& covered,
                    bool mark) {
    std::size_t saved = 0, fresh = 0, length = 0;
    // One step beyond the end closes a match that reaches it.
    for (std::size_t i = distance; i <= block.size(); ++i) {
        if (i < block.size() && block[i] == block[i - distance]) {
            ++length;
            fresh += covered[i] == 0;
            continue;
        }
        if (length >= kWorthwhileMatch && fresh > 2) {
            saved += fresh - 2;
            if (mark)
                std::fill_n(covered.begin() + static_cast<std::ptrdiff_t>(i - length),
                            length, std::uint8_t{1});
        }
        length = fresh = 0;
    }
    return saved;
}

// The same for the whole sample; `covered` is [block][byte].
std::size_t SavingsOf(const std::vector<Block>& sample, std::size_t distance,
                      std::vector<std::vector<std::uint8_t>>& covered, bool mark) {
    std::size_t saved = 0;
    for (std::size_t b = 0; b < sample.size(); ++b)
        saved += Savings(sample[b], distance, covered[b], mark);
    return saved;
}

// How often four bytes running are those of that distance before: a quick look.
std::size_t RunsAt(Block block, std::size_t distance) {
    const std::uint8_t* now = block.data() + distance;
    const std::uint8_t* before = block.data();
    std::uint32_t runs = 0;
    for (std::size_t i = 0; i + distance + 3 < block.size(); ++i)
        // Without branches, so that the compiler can use vector instructions.
        runs += (now[i] == before[i]) & (now[i + 1] == before[i + 1]) &
                (now[i + 2] == before[i + 2]) & (now[i + 3] == before[i + 3]);
    return runs;
}

// A distance and what it saves, as counted when fewer bytes were covered: at most that.
struct Candidate {
    std::size_t saved;
    std::uint32_t distance;
    bool operator<(const Candidate& other) const {
        return saved != other.saved ? saved < other.saved : distance > other.distance;
    }
};

// The distances that a quick look at the sample finds best.
std::vector<Candidate> LikelyDistances(const std::vector<Block>& sample, int jobs) {
    std::vector<Candidate> all(kBlockSize - 1);
    ForEachPiece(jobs, all.size(), 64, [&](std::uint64_t begin, std::uint64_t end) {
        for (std::uint64_t i = begin; i < end; ++i) {
            all[i] = {0, static_cast<std::uint32_t>(i + 1)};
            for (const Block block : sample)
                if (block.size() > i + 1) all[i].saved += RunsAt(block, i + 1);
        }
    });
    std::partial_sort(all.begin(), all.begin() + kCandidates, all.end(),
                      [](const Candidate& a, const Candidate& b) { return b < a; });
    all.resize(kCandidates);
    return all;
}

// Takes the distances one by one, each time the one that saves most of what is left (a
// lazy greedy choice). What a distance saves only shrinks, so that a fresh count that
// leads the old ones of the others needs no more counts. Entries that save nothing stay
// 0, which the parser passes over.
std::array<std::uint32_t, kDistances> ChooseDistances(const std::vector<Block>& blocks,
                                                      int jobs) {
    const std::vector<Block> sample = Sample(blocks, kDistanceSampleBlocks);
    std::vector<std::vector<std::uint8_t>> covered(sample.size(),
                                                   std::vector<std::uint8_t>(kBlockSize));
    std::vector<Candidate> candidates = LikelyDistances(sample, jobs);
    for (Candidate& c : candidates)
        c.saved = SavingsOf(sample, c.distance, covered, false);
    std::priority_queue<Candidate> queue(candidates.begin(), candidates.end());
    std::array<std::uint32_t, kDistances> chosen{};
    for (std::size_t count = 0; count < kDistances && !queue.empty();) {
        Candidate best = queue.top();
        queue.pop();
        best.saved = SavingsOf(sample, best.distance, covered, false);
        if (!queue.empty() && best < queue.top()) {
            queue.push(best);
            continue;
        }
        if (best.saved == 0) break;
        chosen[count++] = best.distance;
        SavingsOf(sample, best.distance, covered, true);
    }
    return chosen;
}

// ---- Parsing ----

// Costs in bits; absent symbols cost more than any block.
constexpr std::uint32_t kAbsent = 1u << 20;

// Bits that each symbol takes, [symbol].
struct Costs {
    std::array<std::uint32_t, kBlockSymbols> symbol;
};

// Before the first count: about what literals and matches turn out to cost.
Costs FirstCosts() {
    Costs costs;
    costs.symbol.fill(8);
    std::fill_n(costs.symbol.begin(), kFirstMatch, 6u);
    return costs;
}

// The costs that a code's lengths, [symbol], amount to.
Costs CostsOf(const std::vector<std::uint8_t>& lengths) {
    Costs costs;
    for (std::size_t s = 0; s < lengths.size(); ++s)
        costs.symbol[s] = lengths[s] != 0 ? lengths[s] : kAbsent;
    return costs;
}

// The cheapest way to write a block, found from its end backwards by dynamic programming.
// Large: one for each thread's piece, on the heap. Both arrays are [byte of the block].
struct Parser {
    const std::array<std::uint32_t, kDistances>& distance;
    const Costs& costs;
    std::array<std::uint32_t, kBlockSize + 1> cost{};  // of all from there on
    std::array<Step, kBlockSize + 1> step{};

    // Takes the match of `length` bytes at distance number `d` from byte i, if that is
    // cheaper than what is known.
    void TryMatch(std::size_t i, std::size_t d, std::size_t length) {
        const MatchClass match = ClassOf(length);
        const std::size_t symbol = kFirstMatch + d * kLengthClasses +
                                   static_cast<std::size_t>(match.lengthClass);
        const std::uint32_t total = costs.symbol[symbol] +
                                    static_cast<std::uint32_t>(match.extraBits) +
                                    cost[i + length];
        if (total >= cost[i]) return;
        cost[i] = total;
        step[i] = {static_cast<std::uint16_t>(length), static_cast<std::uint8_t>(d)};
    }

    // All plain lengths of short matches; of long ones the longest of each class, which
    // almost always wins: 2^(e + 1) + kOffset with e bits after the symbol.
    void TryMatches(std::size_t i, std::size_t d, std::size_t longest) {
        const std::size_t plain = std::min<std::size_t>(longest, kLastPlainLength + 1);
        const std::size_t shortest = longest > 2 * plain ? plain : 1;
        for (std::size_t length = plain; length >= shortest; --length)
            TryMatch(i, d, length);
        constexpr std::size_t kOffset = kLastPlainLength - 1;
        for (std::size_t power = 4; longest > kLastPlainLength + 1; power *= 2) {
            TryMatch(i, d, std::min(power + kOffset, longest));
            if (power + kOffset >= longest) break;
        }
    }

    // The length of a match is counted up while i goes down, so that no byte is compared
    // twice.
    void Parse(Block block) {
        std::array<std::size_t, kDistances> match{};  // length of the match from i on
        cost[block.size()] = 0;
        for (std::size_t i = block.size(); i-- > 0;) {
            // A literal is always possible; matches must be cheaper.
            cost[i] = costs.symbol[block[i]] + cost[i + 1];
            step[i] = {0, 0};
            for (std::size_t d = 0; d < kDistances; ++d) {
                const std::size_t back = distance[d];
                const bool same = back != 0 && back <= i && block[i] == block[i - back];
                match[d] = same ? match[d] + 1 : 0;
                if (same) TryMatches(i, d, match[d]);
            }
        }
    }

    // Calls visit(step, byte) for the steps of the parsed block.
    template <class Visit>
    void ForEachStep(Block block, const Visit& visit) const {
        for (std::size_t i = 0; i < block.size();) {
            visit(step[i], block[i]);
            i += std::max<std::size_t>(step[i].length, 1);
        }
    }
};

// How often each symbol, [symbol], comes up when the blocks are parsed at these costs.
std::vector<std::uint64_t> CountSymbols(
    const std::vector<Block>& blocks,
    const std::array<std::uint32_t, kDistances>& distance, const Costs& costs, int jobs) {
    std::vector<std::uint64_t> counts(kBlockSymbols, 0);
    std::mutex mutex;
    ForEachPiece(jobs, blocks.size(), 4, [&](std::uint64_t begin, std::uint64_t end) {
        auto parser = std::make_unique<Parser>(Parser{distance, costs});
        std::vector<std::uint64_t> own(kBlockSymbols, 0);
        for (std::uint64_t b = begin; b < end; ++b) {
            parser->Parse(blocks[b]);
            parser->ForEachStep(blocks[b], [&](const Step& step, std::uint8_t byte) {
                ++own[static_cast<std::size_t>(SymbolOf(step, byte))];
            });
        }
        const std::lock_guard lock(mutex);
        for (std::size_t s = 0; s < own.size(); ++s) counts[s] += own[s];
    });
    return counts;
}

// A code from the sample, in two passes: costs decide the parsing, and its counts the
// costs. Whatever the sample lacks may come up elsewhere: all literals stay, so that no
// block is without a way.
std::vector<std::uint8_t> ChooseCode(
    const std::vector<Block>& blocks,
    const std::array<std::uint32_t, kDistances>& distance, int jobs) {
    const std::vector<Block> sample = Sample(blocks, kSampleBlocks);
    std::vector<std::uint64_t> counts;
    Costs costs = FirstCosts();
    for (int pass = 0; pass < 2; ++pass) {
        counts = CountSymbols(sample, distance, costs, jobs);
        // Bytes that occur anywhere in the file, not just in the sample.
        for (const Block block : blocks)
            for (const std::uint8_t byte : block) counts[byte] |= 1;
        costs = CostsOf(CodeLengths(counts, kLongestCode));
    }
    return CodeLengths(counts, kLongestCode);
}

// The bytes of one block as they stand in the file.
std::vector<std::uint8_t> PackBlock(Block block, Parser& parser,
                                    const PrefixEncoder& encoder) {
    parser.Parse(block);
    BitWriter out;
    parser.ForEachStep(block, [&](const Step& step, std::uint8_t byte) {
        encoder.Put(out, SymbolOf(step, byte));
        if (step.length == 0) return;
        const MatchClass match = ClassOf(step.length);
        out.Write(match.extra, match.extraBits);
    });
    // As long as its contents means raw.
    if (out.bytes.empty()) out.bytes.push_back(0);
    if (out.bytes.size() >= block.size()) return {block.begin(), block.end()};
    return out.bytes;
}

}  // namespace

// Lengths of a whole block are written as 0, for they exceed the bits of their field by
// one.
std::vector<std::uint8_t> AssemblePackedFile(const PackedParts& parts) {
    BitWriter bits;
    const auto writeLength = [&](std::size_t length) {
        bits.Write(static_cast<std::uint32_t>(length) & (kBlockSize - 1), kBlockBits);
    };
    for (const auto& block : parts.blocks) writeLength(block.size());
    writeLength(parts.lastLength);
    for (const std::uint32_t distance : parts.distance) bits.Write(distance, kBlockBits);
    WriteCodeLengths(bits, parts.lengths);

    const std::size_t records = 8 * parts.blocks.size();
    const std::size_t header = kMinHeaderSize + records + bits.bytes.size();
    std::vector<std::uint8_t> file(header, 0);
    std::copy_n(kBlockBanner, kBannerSize, file.begin());
    Put32be(&file[64], static_cast<std::uint32_t>(header));
    file[70] = kBlockBits;
    file[71] = kDistances;
    Put32be(&file[72], static_cast<std::uint32_t>(parts.blocks.size()));
    Put32be(&file[76], kFormatTag);
    for (std::size_t b = 0; b < parts.checksums.size(); ++b)
        Put32be(&file[kFixedHeaderSize + 8 * b], parts.checksums[b]);
    std::copy(bits.bytes.begin(), bits.bytes.end(),
              file.begin() + static_cast<std::ptrdiff_t>(kFixedHeaderSize + records));
    Put32be(&file[header - 4], HeaderChecksum(file.data(), header - 4));
    for (const auto& block : parts.blocks)
        file.insert(file.end(), block.begin(), block.end());
    return file;
}

std::uint32_t RecordedChecksum(const std::vector<std::uint8_t>& file,
                               std::uint32_t block) {
    return Get32be(&file[kFixedHeaderSize + 8 * std::size_t{block}]);
}

// Distances and code are the file's, the blocks then independent of each other.
std::vector<std::uint8_t> PackTable(const std::vector<std::uint8_t>& values, int jobs) {
    std::vector<Block> blocks;
    for (std::size_t i = 0; i < values.size(); i += kBlockSize)
        blocks.push_back(
            Block(values).subspan(i, std::min(kBlockSize, values.size() - i)));
    PackedParts parts;
    parts.distance = ChooseDistances(blocks, jobs);
    parts.lengths = ChooseCode(blocks, parts.distance, jobs);
    parts.blocks.resize(blocks.size());
    parts.checksums.resize(blocks.size());
    parts.lastLength = blocks.back().size();
    const PrefixEncoder encoder = EncoderOf(parts.lengths);
    const Costs costs = CostsOf(parts.lengths);
    ForEachPiece(jobs, blocks.size(), 16, [&](std::uint64_t begin, std::uint64_t end) {
        auto parser = std::make_unique<Parser>(Parser{parts.distance, costs});
        for (std::uint64_t b = begin; b < end; ++b) {
            parts.blocks[b] = PackBlock(blocks[b], *parser, encoder);
            parts.checksums[b] = HeaderChecksum(blocks[b].data(), blocks[b].size());
        }
    });
    return AssemblePackedFile(parts);
}
