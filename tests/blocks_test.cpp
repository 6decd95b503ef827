// Block-compressed tables: what the packer writes the reader reads back, all that the
// format allows is read, and damaged files are errors, whatever the damage.
#include "egtb/blocks.h"

#include <gtest/gtest.h>

#include <random>

#include "egtb/tablefile.h"
#include "tools/bitwriter.h"
#include "tools/tables_pack.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// A file without a name that holds these bytes.
TableFile FileOf(const Bytes& data) {
    TableFile file(std::tmpfile());
    EXPECT_TRUE(data.empty() || WriteAt(file.get(), 0, data.data(), data.size()));
    std::fflush(file.get());
    return file;
}

// All blocks, or the first error.
int ReadAll(const Bytes& packed, Bytes& values) {
    const TableFile file = FileOf(packed);
    std::unique_ptr<CompressedTable> table;
    if (const int error = OpenCompressedTable(file.get(), table)) return error;
    if (table->blockSize != kBlockSize) return kBlockBroken;
    values.assign(table->blocks * kBlockSize, 0xEE);
    for (std::uint32_t b = 0; b < table->blocks; ++b)
        if (const int error =
                ReadCompressedBlock(*table, file.get(), b, &values[b * kBlockSize]))
            return error;
    values.resize(table->Length());
    return 0;
}

Bytes RandomBytes(std::size_t size, unsigned range, unsigned seed) {
    std::mt19937 random(seed);
    Bytes data(size);
    for (auto& byte : data) byte = static_cast<std::uint8_t>(random() % range);
    return data;
}

TEST(BlocksTest, PackedValuesComeBack) {
    Bytes pattern(100000);
    for (std::size_t i = 0; i < pattern.size(); ++i)
        pattern[i] = static_cast<std::uint8_t>(i % 61 * (i / 3000) % 7);
    Bytes noisy = pattern;
    for (std::size_t i = 0; i < noisy.size(); i += 97) noisy[i] = 127;
    const Bytes cases[] = {
        Bytes(1, 5),               // one value
        Bytes(kBlockSize, 0),      // one full block of one value
        Bytes(kBlockSize + 1, 0),  // a last block of one value
        Bytes(50000, 127),         // long matches
        pattern,
        noisy,
        RandomBytes(20000, 256, 1),  // nothing to save: raw blocks
        RandomBytes(20000, 2, 2),
    };
    for (const Bytes& values : cases) {
        const Bytes packed = PackTable(values, 2);
        Bytes back;
        ASSERT_EQ(ReadAll(packed, back), 0);
        EXPECT_TRUE(back == values) << values.size();
        EXPECT_EQ(RecordedChecksum(packed, 0),
                  HeaderChecksum(values.data(), std::min(values.size(), kBlockSize)));
    }
}

// A packed file whose code and blocks a test makes by hand.
struct HandMade {
    PackedParts parts;
    PrefixEncoder encoder;
    BitWriter bits;
    Bytes values;

    explicit HandMade(const Bytes& lengths) {
        parts.lengths = lengths;
        parts.distance[0] = 1;
        parts.distance[1] = 3;
        parts.distance[23] = 100;
        encoder = EncoderOf(lengths);
    }
    void Literal(std::uint8_t byte) {
        encoder.Put(bits, byte);
        values.push_back(byte);
    }
    void Match(std::size_t slot, int lengthClass, std::uint32_t extra = 0) {
        encoder.Put(bits,
                    kFirstMatch + static_cast<int>(slot) * kLengthClasses + lengthClass);
        const int extraBits = std::max(0, lengthClass - kLastPlainLength);
        bits.Write(extra, extraBits);
        const std::size_t length = extraBits == 0
                                       ? static_cast<std::size_t>(lengthClass) + 1
                                       : (std::size_t{1} << extraBits) + 14 + extra;
        for (std::size_t i = 0; i < length; ++i)
            values.push_back(values[values.size() - parts.distance[slot]]);
    }
    Bytes File() {
        parts.blocks = {bits.bytes};
        parts.lastLength = values.size();
        return AssemblePackedFile(parts);
    }
};

// Lengths 1, 2, 3 ... for the symbols of the list, the last one twice: the longest code
// that the format has room for when there are 32 of them.
Bytes StaircaseLengths(const std::vector<int>& symbols) {
    Bytes lengths(kBlockSymbols, 0);
    std::uint8_t length = 0;
    for (const int symbol : symbols)
        lengths[static_cast<std::size_t>(symbol)] =
            length + 1U < symbols.size() ? ++length : length;
    return lengths;
}

TEST(BlocksTest, LongCodesAndMatches) {
    const int plain = kFirstMatch + kLengthClasses;  // distance 3
    std::vector<int> symbols = {kFirstMatch + 23 * kLengthClasses + 31, kFirstMatch + 20};
    for (int i = 0; i < 26; ++i) symbols.push_back('a' + i);
    symbols.insert(symbols.end(), {plain + 14, plain + 15, plain + 26, plain});
    ASSERT_EQ(symbols.size(), 32U);
    HandMade made(StaircaseLengths(symbols));
    for (int i = 0; i < 26; ++i) made.Literal(static_cast<std::uint8_t>('a' + i));
    made.Match(1, 0);         // one byte
    made.Match(1, 14);        // 15 bytes, the longest plain length, overlapping
    made.Match(1, 15, 1);     // 17
    made.Match(0, 20, 63);    // 141 times the last byte
    made.Match(1, 26, 1000);  // 5110
    made.Literal('z');
    Bytes back;
    ASSERT_EQ(ReadAll(made.File(), back), 0);
    EXPECT_TRUE(back == made.values);
}

// A code with one symbol takes no bits at all.
TEST(BlocksTest, SingleSymbolTakesNoBits) {
    Bytes lengths(kBlockSymbols, 0);
    lengths[42] = 1;
    HandMade made(lengths);
    made.bits.Write(0, 8);
    made.values.assign(500, 42);
    Bytes back;
    ASSERT_EQ(ReadAll(made.File(), back), 0);
    EXPECT_TRUE(back == made.values);
    lengths[42] = 2;
    made.parts.lengths = lengths;
    EXPECT_EQ(ReadAll(made.File(), back), kBlockBroken);
}

// Each must be found out while decoding, nothing written beyond the block.
TEST(BlocksTest, WrongBlocksAreBroken) {
    Bytes lengths(kBlockSymbols, 0);
    for (const int symbol : {int{'a'}, int{'b'}, kFirstMatch + 31, kFirstMatch + 23 * 32})
        lengths[static_cast<std::size_t>(symbol)] = 2;
    Bytes back;
    const auto make = [&](auto fill, std::size_t claimed) {
        HandMade made(lengths);
        made.Literal('a');
        fill(made);
        made.values.resize(claimed);
        return ReadAll(made.File(), back);
    };
    EXPECT_EQ(make([](HandMade& m) { m.Literal('b'); }, 2), 0);
    EXPECT_EQ(make([](HandMade& m) { m.Literal('b'); }, 100), kBlockBroken)
        << "ends before its last value";
    EXPECT_EQ(make([](HandMade& m) { m.Match(0, 31, 5); }, 8000), kBlockBroken)
        << "match runs past the block";
    EXPECT_EQ(
        make([](HandMade& m) { m.encoder.Put(m.bits, kFirstMatch + 23 * 32); }, 2000),
        kBlockBroken)
        << "match from before the block";
    EXPECT_EQ(make(
                  [](HandMade& m) {
                      m.parts.distance[23] = 0;
                      m.encoder.Put(m.bits, kFirstMatch + 23 * 32);
                  },
                  2000),
              kBlockBroken)
        << "distance zero";
    Bytes none(kBlockSymbols, 0);
    HandMade empty(none);
    empty.bits.Write(0, 8);
    empty.values.assign(9, 1);
    EXPECT_EQ(ReadAll(empty.File(), back), kBlockBroken) << "no code at all";
}

TEST(BlocksTest, WrongHeadersHaveTheirErrors) {
    const Bytes good = PackTable(RandomBytes(30000, 3, 3), 1);
    const std::uint32_t length = Get32be(&good[64]);
    const auto changed = [&](std::size_t at, std::uint8_t value, bool newChecksum) {
        Bytes file = good;
        file[at] = value;
        const std::uint32_t sum = HeaderChecksum(file.data(), length - 4);
        for (std::size_t i = 0; newChecksum && i < 4; ++i)
            file[length - 4 + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        Bytes back;
        return ReadAll(file, back);
    };
    Bytes back;
    EXPECT_EQ(ReadAll(good, back), 0);
    EXPECT_EQ(changed(68, 1, true), 0) << "bytes that mean nothing";
    EXPECT_EQ(changed(68, 1, false), kBlockBroken) << "checksum";
    EXPECT_EQ(changed(0, 'x', true), kBlockBroken) << "banner";
    EXPECT_EQ(changed(70, 17, true), kBlockBroken) << "block size";
    EXPECT_EQ(changed(71, 23, true), kBlockBroken) << "distances";
    EXPECT_EQ(changed(72, 0x80, true), kBlockBroken) << "blocks without records";
    EXPECT_EQ(changed(79, 0, true), kBlockBroken) << "tag";
    EXPECT_EQ(changed(64, 0x7F, true), kBlockReadError) << "header longer than the file";
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{79}, std::size_t{length - 1}}) {
        const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(ReadAll(cut, back), kBlockReadError) << size;
    }
    const Bytes cut(good.begin(), good.end() - 1);
    EXPECT_EQ(ReadAll(cut, back), kBlockReadError);
}

// Damage anywhere, the checksum put right again so that it does not hide the rest.
TEST(BlocksTest, DamagedFilesNeverCrash) {
    std::mt19937 random(4);
    Bytes values = RandomBytes(40000, 4, 5);
    for (std::size_t i = 300; i < 30000; ++i) values[i] = values[i - 61 - i / 10000];
    const Bytes good = PackTable(values, 1);
    const std::uint32_t length = Get32be(&good[64]);
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        Bytes file = good;
        const std::size_t area = round % 3 == 0 ? file.size() : length;
        for (unsigned changes = 1 + random() % 4; changes > 0; --changes)
            file[64 + random() % (area - 64)] ^=
                static_cast<std::uint8_t>(1 << random() % 8);
        if (round % 7 == 0) file.resize(64 + random() % (file.size() - 64));
        if (file.size() >= length) {
            const std::uint32_t sum = HeaderChecksum(file.data(), length - 4);
            for (std::size_t i = 0; i < 4; ++i)
                file[length - 4 + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        }
        Bytes back;
        const int error = ReadAll(file, back);
        ASSERT_TRUE(error == 0 || error == kBlockReadError || error == kBlockBroken);
        refused += error != 0;
    }
    EXPECT_GT(refused, 1000);
}

// Descriptions of code lengths from nothing but noise.
TEST(BlocksTest, NoiseIsNoCode) {
    for (unsigned seed = 0; seed < 2000; ++seed) {
        const Bytes noise = RandomBytes(600, 256, seed);
        for (const int symbols : {64, 128, kBlockSymbols}) {
            BitReader reader(noise.data(), noise.size());
            std::array<std::uint8_t, kBlockSymbols> lengths;
            PrefixDecoder decoder;
            if (!ReadCodeLengths(reader, symbols, lengths.data()) ||
                !BuildDecoder(lengths.data(), symbols, kMainCodeWidth, decoder) ||
                decoder.empty)
                continue;
            for (int i = 0; i < 100; ++i)
                EXPECT_LT(DecodeSymbol(decoder, reader), symbols);
        }
    }
}

// Lengths in every form that their description has.
TEST(BlocksTest, CodeLengthsComeBack) {
    std::vector<Bytes> cases = {Bytes(kBlockSymbols, 0), Bytes(kBlockSymbols, 10),
                                Bytes(100, 0), Bytes(128, 7)};
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::uint64_t> counts(seed % 2 == 0 ? kBlockSymbols : 90, 0);
        for (auto& count : counts)
            if (random() % 16 < seed % 17) count = std::uint64_t{1} << random() % 40;
        counts[0] = counts[5] = 1;
        cases.push_back(CodeLengths(counts, 31 - static_cast<int>(seed % 15)));
    }
    for (const Bytes& lengths : cases) {
        BitWriter out;
        WriteCodeLengths(out, lengths);
        BitReader reader(out.bytes.data(), out.bytes.size());
        Bytes back(lengths.size());
        ASSERT_TRUE(ReadCodeLengths(reader, static_cast<int>(back.size()), back.data()));
        EXPECT_TRUE(back == lengths);
        EXPECT_FALSE(reader.Overrun());
        PrefixDecoder decoder;
        EXPECT_TRUE(BuildDecoder(back.data(), static_cast<int>(back.size()),
                                 kMainCodeWidth, decoder));
    }
}

}  // namespace
