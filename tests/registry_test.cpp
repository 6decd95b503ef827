// Finding table files, their start-up errors, the block cache and the values read.
#include "egtb/registry.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "board/fen.h"
#include "egtb/cache.h"
#include "egtb/material.h"
#include "egtb/tablebase.h"

namespace {

namespace fs = std::filesystem;

class RegistryTest : public testing::Test {
protected:
    void SetUp() override {
        BuildTables();
        directory = fs::temp_directory_path() /
                    ("veltramox-registry-" +
                     std::to_string(testing::UnitTest::GetInstance()->random_seed()) +
                     testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(directory);
        fs::create_directories(directory / "other");
    }
    void TearDown() override {
        Initialise((directory / "gone").string());
        fs::remove_all(directory);
    }

    // A file of `values` bytes, all of that value.
    void Put(const char* name, std::uint32_t values, char value = 0) {
        std::ofstream(directory / name, std::ios::binary) << std::string(values, value);
    }
    int Initialise(const std::string& path) { return InitTablebases(path.c_str(), ram); }
    int Initialise() { return Initialise(directory.string()); }

    fs::path directory;
    std::uint64_t ram = 0;
};

TEST_F(RegistryTest, LargestTableCounts) {
    EXPECT_EQ(Initialise(), 0);
    Put("kpk.nbw", 81664);
    EXPECT_EQ(Initialise(), 3);
    EXPECT_TRUE(Tables[1][BLACK].path.empty());
    Put("kqqk.nbb", 873642);
    EXPECT_EQ(Initialise(), 4);
    EXPECT_EQ(TbMaxPieces, 4);
    EXPECT_EQ(ram, 0U);
    // Nothing of the last registration stays.
    EXPECT_EQ(Initialise((directory / "other").string()), 0);
    EXPECT_TRUE(Tables[1][WHITE].path.empty());
}

TEST_F(RegistryTest, FirstCopyInThePathWins) {
    Put("kpk.nbw", 81664);
    Put("other/kpk.nbw", 81664);
    Put("other/kqk.nbb", 28644);
    std::string other = (directory / "other").string();
    EXPECT_EQ(Initialise(directory.string() + ";" + other), 3);
    EXPECT_EQ(Tables[1][WHITE].path, directory.string() + "/kpk.nbw");
    EXPECT_EQ(Tables[5][BLACK].path, other + "/kqk.nbb");
    // Backslashes separate directories too, commas paths.
    for (char& c : other)
        if (c == '/') c = '\\';
    EXPECT_EQ(Initialise(other + "," + directory.string()), 3);
    EXPECT_EQ(Tables[1][WHITE].path, (directory / "other").string() + "/kpk.nbw");
}

TEST_F(RegistryTest, SymmetricTablesHaveOneFile) {
    Put("krkr.nbb", 1649196);
    EXPECT_EQ(Initialise(), 0);
    Put("krkr.nbw", 1649196);
    EXPECT_EQ(Initialise(), 4);
    // With pawns the two sides to move differ.
    Put("kpkp.nbb", 3863492);
    EXPECT_EQ(Initialise(), 4);
    EXPECT_FALSE(Tables[6][BLACK].path.empty());
}

// Front ends and users know these texts; the program must end with status 1.
TEST_F(RegistryTest, UnusableFilesEndTheProgram) {
    // A process of its own: one that is only forked would clean up after this one's
    // tests.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto dies = [&](const char* expected) {
        EXPECT_EXIT(
            {
                // The message goes to standard output; the death test reads the other
                // one.
                dup2(STDERR_FILENO, STDOUT_FILENO);
                Initialise();
            },
            testing::ExitedWithCode(1), expected);
    };
    Put("kpk.nbw", 81663);
    dies("\\*\\*\\* .*/kpk.nbw corrupted\n");
    fs::remove(directory / "kpk.nbw");
    Put("kpk.nbw.emd", 79);
    dies("\\*\\*\\* Unable to read .*/kpk.nbw.emd - read error\n");
    fs::remove(directory / "kpk.nbw.emd");
    Put("kpk_nbb.emd", 200);
    dies("\\*\\*\\* Unable to read .*/kpk_nbb.emd - file broken\n");
    fs::remove(directory / "kpk_nbb.emd");
    Put("kpknbb.emd", 0);
    dies("\\*\\*\\* Unable to read .*/kpknbb.emd - read error\n");
}

TEST_F(RegistryTest, MaterialOfEveryEntry) {
    ClearMaterial();
    for (int entry = 1; entry < kTableEntries; ++entry) {
        const MenCounts counts = CountsOf(ShapeOf(entry));
        EXPECT_EQ(MaterialIndex(counts), 0) << EntryOf(entry).name;
        ASSERT_TRUE(EnterMaterial(entry));
        EXPECT_EQ(MaterialIndex(counts), entry) << EntryOf(entry).name;
        EXPECT_EQ(MaterialIndex(Exchanged(counts)),
                  counts == Exchanged(counts) ? entry : -entry)
            << EntryOf(entry).name;
    }
    EXPECT_EQ(MaterialIndex({0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), 0);
    EXPECT_EQ(MaterialIndex({8, 2, 2, 2, 1, 8, 2, 2, 2, 1}), 0);
    EXPECT_EQ(MaterialIndex({0, 0, 0, 0, 1, 0, 0, 0, 0, 62}), 0);
}

// ---- Values ----

TEST_F(RegistryTest, BytesBecomeValues) {
    struct {
        char byte;
        bool known;
        int value;
    } const cases[] = {
        {0, true, 0},        {126, true, 32766},   {1, true, 32641},
        {-1, true, -32641},  {-126, true, -32766}, {-127, true, -32640},
        {-128, true, 32640}, {127, false, 0},
    };
    for (const auto& c : cases) {
        Put("kqk.nbw", 25629, c.byte);
        Initialise();
        ASSERT_TRUE(SetUpTablebaseCache(20));
        int value = 1;
        EXPECT_EQ(ReadTableValue(5, WHITE, 25628, value), c.known) << int{c.byte};
        EXPECT_EQ(value, c.known ? c.value : 1) << int{c.byte};
        EXPECT_FALSE(ReadTableValue(5, WHITE, 25629, value));
        EXPECT_FALSE(ReadTableValue(5, BLACK, 0, value));
    }
}

TEST_F(RegistryTest, CacheHoldsTheBlocksUsedLast) {
    Put("kqkq.nbw", 1563735);
    Put("krkr.nbw", 1649196);
    Initialise();
    EXPECT_EQ(FindTable("krkr"), 15);
    ASSERT_TRUE(SetUpTablebaseCache(20));
    EXPECT_EQ(TableCacheBlocks(), 126U);
    int value;
    const auto read = [&](std::uint32_t block) {
        return ReadTableValue(15, BLACK, block * 8192, value);
    };
    for (std::uint32_t block = 0; block < 126; ++block) EXPECT_TRUE(read(block));
    EXPECT_EQ(TableCacheMisses(), 126U);
    for (std::uint32_t block = 0; block < 126; ++block) EXPECT_TRUE(read(block));
    EXPECT_EQ(TableCacheMisses(), 126U);
    // One more takes the place of block 1, once block 0 has been used again.
    EXPECT_TRUE(read(0));
    EXPECT_TRUE(read(126));
    EXPECT_TRUE(read(0));
    EXPECT_TRUE(read(2));
    EXPECT_EQ(TableCacheMisses(), 127U);
    EXPECT_TRUE(read(1));
    EXPECT_EQ(TableCacheMisses(), 128U);
    // Another table does not see these blocks.
    EXPECT_TRUE(ReadTableValue(20, WHITE, 0, value));
    EXPECT_EQ(TableCacheMisses(), 129U);
}

TEST_F(RegistryTest, CachesTooSmallServeNothing) {
    Put("kqk.nbw", 25629);
    int value;
    for (const int log2 : {0, 4, 5, 13}) {
        Initialise();
        EXPECT_TRUE(SetUpTablebaseCache(log2));
        EXPECT_FALSE(ReadTableValue(5, WHITE, 0, value)) << log2;
    }
    Initialise();
    EXPECT_TRUE(SetUpTablebaseCache(14));
    EXPECT_EQ(TableCacheBlocks(), 1U);
    EXPECT_TRUE(ReadTableValue(5, WHITE, 0, value));
    EXPECT_TRUE(ReadTableValue(5, WHITE, 9000, value));
    EXPECT_FALSE(SetUpTablebaseCache(99));
    EXPECT_EQ(TbMaxPieces, 0);
}

TEST_F(RegistryTest, FailedReadsDropTheSide) {
    Put("kqk.nbw", 25629);
    Put("krk.nbw", 27030);
    Initialise();
    ASSERT_TRUE(SetUpTablebaseCache(20));
    int value;
    EXPECT_TRUE(ReadTableValue(4, WHITE, 0, value));
    fs::remove(directory / "kqk.nbw");
    EXPECT_FALSE(ReadTableValue(5, WHITE, 0, value));
    EXPECT_TRUE(Tables[5][WHITE].path.empty());
    Put("kqk.nbw", 25629);
    EXPECT_FALSE(ReadTableValue(5, WHITE, 0, value));
    EXPECT_TRUE(ReadTableValue(4, WHITE, 20000, value));
}

// A file that lost its end after the start must not serve what another block left behind.
TEST_F(RegistryTest, ShortenedFilesAnswerUnknown) {
    Put("kqk.nbw", 25629, 5);
    Initialise();
    ASSERT_TRUE(SetUpTablebaseCache(14));
    int value;
    EXPECT_TRUE(ReadTableValue(5, WHITE, 0, value));
    fs::resize_file(directory / "kqk.nbw", 8200);
    EXPECT_TRUE(ReadTableValue(5, WHITE, 8192, value));
    EXPECT_FALSE(ReadTableValue(5, WHITE, 8200, value));
}

TEST_F(RegistryTest, LongestLossesNeedNoFileContents) {
    const fs::path file = directory / "kppkp.nbb";
    std::ofstream(file, std::ios::binary).put(0);
    fs::resize_file(file, 89391280);  // sparse
    EXPECT_EQ(Initialise(), 5);
    ASSERT_TRUE(SetUpTablebaseCache(20));
    ASSERT_TRUE(SetFen("8/1p6/8/8/4P3/k1K1P3/8/8 b - -"));
    int value = 0;
    EXPECT_TRUE(ProbeTablebase(WHITE, value));
    EXPECT_EQ(value, -32639);
    EXPECT_EQ(TableCacheMisses(), 0U);
    ASSERT_TRUE(SetFen("8/1p6/8/8/4P3/k3PK2/8/8 b - -"));
    EXPECT_TRUE(ProbeTablebase(WHITE, value));
    EXPECT_EQ(value, 0);
}

// 16-bit values, beyond 2^32 bytes into a file: read past none of the limits of int.
TEST_F(RegistryTest, WideValuesBeyondFourGigabytes) {
    const fs::path file = directory / "krbknn.nbw";
    const std::uint32_t last = EntryOf(153).size[WHITE] - 1;
    std::ofstream out(file, std::ios::binary);
    out.seekp(static_cast<std::streamoff>(2 * std::uint64_t{last}));
    out.put('\x34').put('\xF2');
    if (!out.flush()) GTEST_SKIP() << "no sparse files of 5 GB here";
    out.close();
    EXPECT_EQ(Initialise(), 6);
    ASSERT_TRUE(SetUpTablebaseCache(20));
    int value = 0;
    EXPECT_TRUE(ReadTableValue(153, WHITE, last, value));
    EXPECT_EQ(value, static_cast<std::int16_t>(0xF234));
    EXPECT_FALSE(ReadTableValue(153, WHITE, last + 1, value));
}

// No value of 16 bits says "unknown" by itself: what is cut off must not become a win.
TEST_F(RegistryTest, ShortenedWideFilesAnswerUnknown) {
    std::string values(10000, '\0');
    values.replace(0, 6, "\xFE\x7F\xFF\x7F\x00\x80", 6);
    std::ofstream(directory / "krnknn.nbb", std::ios::binary) << values;
    EXPECT_EQ(Initialise(), 6);
    ASSERT_TRUE(SetUpTablebaseCache(20));
    int value = 0;
    const int entry = FindTable("krnknn");
    EXPECT_TRUE(ReadTableValue(entry, BLACK, 0, value));
    EXPECT_EQ(value, 32766);
    // Nearer than a mate in one: no distance at all.
    EXPECT_FALSE(ReadTableValue(entry, BLACK, 1, value));
    EXPECT_FALSE(ReadTableValue(entry, BLACK, 2, value));
    EXPECT_TRUE(ReadTableValue(entry, BLACK, 4095, value));
    EXPECT_FALSE(ReadTableValue(entry, BLACK, 6000, value));
    EXPECT_EQ(value, 0);
}

// What editing can set up never reaches an index.
TEST_F(RegistryTest, ImpossiblePositionsAreNotFound) {
    Put("kpk.nbw", 81664);
    Put("kpk.nbb", 84012);
    Initialise();
    ASSERT_TRUE(SetUpTablebaseCache(20));
    int value;
    ASSERT_TRUE(SetFen("8/8/8/8/8/8/P7/K1k5 w - -"));
    EXPECT_TRUE(ProbeTablebase(BLACK, value));
    ASSERT_TRUE(SetFen("P7/8/8/8/8/8/8/K1k5 w - -"));
    EXPECT_FALSE(ProbeTablebase(BLACK, value));
    ASSERT_TRUE(SetFen("8/8/8/8/8/8/8/K1k4P w - -"));
    EXPECT_FALSE(ProbeTablebase(BLACK, value));
    ASSERT_TRUE(SetFen("8/8/8/8/8/8/P7/Kk6 w - -"));
    EXPECT_FALSE(ProbeTablebase(BLACK, value));
    ClearBoard();
    AddPiece(A2, WHITE, PAWN);
    EXPECT_FALSE(ProbeTablebase(BLACK, value));
}

}  // namespace
