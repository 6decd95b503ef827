// Tables made by the tool: exact, complete, and read by the engine as they were meant.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "board/legalmoves.h"
#include "board/notation.h"
#include "egtb/registry.h"
#include "tests/tables.h"
#include "tools/tables_check.h"
#include "tools/tables_pack.h"
#include "tools/tables_position.h"
#include "tools/tables_store.h"

namespace {

namespace fs = std::filesystem;

std::vector<CheckedTable> Checked;
void Remember(const CheckedTable& table) { Checked.push_back(table); }

// The faults that a check finds, one a line.
std::string Faults(const fs::path& directory, const CheckOptions& options) {
    Checked.clear();
    CheckTables(directory, {}, options, Remember);
    std::string faults;
    for (const CheckedTable& table : Checked)
        if (!table.fault.empty() || !table.notCompared.empty())
            faults += std::string(EntryOf(table.entry).name) + ": " + table.fault +
                      table.notCompared + '\n';
    return faults;
}

// The longest mates of a file, wins and losses of the side to move, in moves.
struct Longest {
    int win = 0, loss = 0;
};

Longest LongestIn(const TableStore& store, int entry, int side) {
    Longest longest;
    const std::uint32_t values = FileValues(entry, side);
    for (std::uint32_t i = 0; i < values; ++i) {
        const MateDistance d = store.At(entry, side, i);
        if (IsWin(d)) longest.win = std::max(longest.win, MovesToMate(d));
        if (IsLoss(d)) longest.loss = std::max(longest.loss, MovesToMate(d));
    }
    return longest;
}

struct LongestCase {
    const char* name;
    int white, black;  // longest wins of White and of Black, each to move; 0: none
};

void ExpectLongest(const fs::path& directory, const std::vector<LongestCase>& cases) {
    TableStore store;
    store.directory = directory;
    for (const LongestCase& c : cases) {
        const int entry = FindTable(c.name);
        store.Load(entry);
        EXPECT_EQ(LongestIn(store, entry, WHITE).win, c.white) << c.name;
        EXPECT_EQ(LongestIn(store, entry, BLACK).win, c.black) << c.name;
        store.Drop(entry);
    }
}

// Values stand at the indices of legal positions and nowhere else.
void ExpectValuesWhereLegal(const fs::path& directory, const std::vector<int>& entries,
                            std::uint32_t step) {
    TableStore store;
    store.directory = directory;
    for (const int entry : entries) {
        store.Load(entry);
        const TableMen men = MenOfTable(entry);
        for (int side : {WHITE, BLACK}) {
            const std::uint32_t values = FileValues(entry, side);
            for (std::uint32_t i = 0; i < values; i += step) {
                TablePlacement placement;
                ASSERT_TRUE(PlacementOfIndex(entry, side, i, placement));
                const bool legal =
                    IsLegalPosition(men, PositionOfPlacement(men, placement, side));
                ASSERT_EQ(store.At(entry, side, i) != kNoDistance, legal)
                    << EntryOf(entry).name << side << ' ' << i;
            }
        }
        store.Drop(entry);
    }
}

TEST(TableFilesTest, ThreeMen) {
    const fs::path directory = ThreeManTables();
    EXPECT_EQ(Faults(directory, {.full = true, .jobs = 2}), "");
    EXPECT_EQ(Checked.size(), 5U);
    ExpectLongest(
        directory,
        {{"kqk", 10, 0}, {"krk", 16, 0}, {"kpk", 28, 0}, {"kbk", 0, 0}, {"knk", 0, 0}});
    ExpectValuesWhereLegal(directory, TablesWithMen(3), 1);
}

// ---- The same position on the engine's board ----

void PutOnBoard(const TableMen& men, const TablePosition& position,
                bool coloursExchanged) {
    const auto square = [&](int s) { return coloursExchanged ? MirrorRank(s) : s; };
    const int flip = coloursExchanged ? 1 : 0;
    ClearBoard();
    ClearGameArchive();
    Board.GamePly = 0;
    for (int i = 0; i < men.count; ++i)
        AddPiece(square(position.square[i]), men.man[i].side ^ flip, men.man[i].code);
    Board.WK = Board.BK = Board.A1 = Board.H1 = Board.A8 = Board.H8 = 1;
    Board.SideToMove = position.side ^ flip;
    if (position.enPassant != kNoEnPassant) {
        const int passed = square(position.enPassant);
        const int step = Board.SideToMove == WHITE ? 8 : -8;
        Board.MoveHistory[Board.GamePly++] =
            MakeWord(passed + step, passed - step, PAWN, EMPTY);
    }
    UpdateMatingFlags();
}

// A random legal position, after a double step whenever the index falls there.
TablePosition RandomPosition(const TableMen& men, std::mt19937& random) {
    const int side = static_cast<int>(random() % 2);
    const std::uint32_t count = IndexCount(men.entry, side);
    const std::uint32_t normal = NormalCount[men.entry][side];
    for (;;) {
        std::uint32_t index = static_cast<std::uint32_t>(random() % count);
        if (count > normal && random() % 3 == 0)
            index = normal + index % (count - normal);
        TablePlacement placement;
        PlacementOfIndex(men.entry, side, index, placement);
        const TablePosition position = PositionOfPlacement(men, placement, side);
        if (IsLegalPosition(men, position)) return position;
    }
}

std::multiset<std::string> MovesOnBoard() {
    std::multiset<std::string> moves;
    for (const Move m : LegalMoves()) {
        char text[kMoveTextSize];
        MoveToText(text, m);
        moves.insert(text);
    }
    return moves;
}

// The tool's own move generator against the engine's.
TEST(TableFilesTest, MovesAreTheEngines) {
    BuildIndexTables();
    std::mt19937 random(11);
    for (int entry = 1; entry < kTableEntries; ++entry) {
        const TableMen men = MenOfTable(entry);
        for (int n = 0; n < 60; ++n) {
            const TablePosition position = RandomPosition(men, random);
            TableMove moves[kMostTableMoves];
            const int count = LegalTableMoves(men, position, moves);
            std::multiset<std::string> own;
            for (int i = 0; i < count; ++i) {
                char text[kMoveTextSize];
                MoveToText(text, MakeWord(position.square[moves[i].man], moves[i].to,
                                          men.man[moves[i].man].code, EMPTY,
                                          moves[i].promotion));
                own.insert(text);
            }
            PutOnBoard(men, position, false);
            ASSERT_EQ(own, MovesOnBoard()) << EntryOf(entry).name;
        }
    }
}

// The engine's probe against the file, in both colours and in every mirror image.
void ExpectProbesRight(const fs::path& directory, const std::vector<int>& entries,
                       int count) {
    std::mt19937 random(12);
    const WithTables tables(directory.string());
    TableStore store;
    store.directory = directory;
    for (const int entry : entries) {
        store.Load(entry);
        const TableMen men = MenOfTable(entry);
        for (int n = 0; n < count; ++n) {
            TablePosition position = RandomPosition(men, random);
            const MateDistance d =
                store.At(entry, position.side, IndexOfPosition(men, position));
            const int mirror =
                static_cast<int>(random() % (ShapeOf(entry).pawns ? 2 : 4));
            const int mask = (mirror & 1) * 7 ^ (mirror >> 1) * 56;
            for (int i = 0; i < men.count; ++i)
                position.square[i] = static_cast<std::uint8_t>(position.square[i] ^ mask);
            if (position.enPassant != kNoEnPassant)
                position.enPassant = static_cast<std::uint8_t>(position.enPassant ^ mask);
            for (const bool exchanged : {false, true}) {
                PutOnBoard(men, position, exchanged);
                int value = 0;
                ASSERT_TRUE(ProbeTablebase(ChangeSide(Board.SideToMove), value))
                    << EntryOf(entry).name;
                const int expected = d == kDraw ? 0
                                     : IsWin(d) ? 32767 - MovesToMate(d)
                                                : MovesToMate(d) - 32766;
                ASSERT_EQ(value, expected) << EntryOf(entry).name << exchanged;
            }
        }
        store.Drop(entry);
    }
}

TEST(TableFilesTest, ProbesReadTheFiles) {
    ExpectProbesRight(ThreeManTables(), TablesWithMen(3), 2000);
}

// ---- Packed files, damage ----

TEST(TableFilesTest, PackedTablesServeAsWell) {
    Scratch scratch;
    for (const int entry : TablesWithMen(3))
        for (int side : {WHITE, BLACK}) {
            const fs::path file = FindTableFile(ThreeManTables(), entry, side);
            WriteWholeFile(scratch.directory / (TableFileName(entry, side) + ".emd"),
                           PackTable(LoadTableFile(file), 2));
        }
    EXPECT_EQ(Faults(scratch.directory, {.full = true, .jobs = 2}), "");
    ExpectProbesRight(scratch.directory, TablesWithMen(3), 500);
    std::uint64_t ramUsed;
    EXPECT_EQ(InitTablebases(scratch.directory.string().c_str(), ramUsed), 3);
    EXPECT_GT(ramUsed, 10 * 16384U);
    EXPECT_LT(ramUsed, 1000000U);
    TbMaxPieces = 0;
}

TEST(TableFilesTest, ChecksFindDamage) {
    Scratch scratch;
    fs::copy(ThreeManTables(), scratch.directory, fs::copy_options::recursive);
    const fs::path file = scratch.directory / "krk.nbw";
    const std::vector<std::uint8_t> good = ReadWholeFile(file);

    std::vector<std::uint8_t> bad = good;
    for (std::uint8_t& value : bad)
        if (value == 127 - 9) value = 127 - 8;
    WriteWholeFile(file, bad);
    EXPECT_NE(Faults(scratch.directory, {}).find("krk: White to move"),
              std::string::npos);

    bad.pop_back();
    WriteWholeFile(file, bad);
    EXPECT_NE(Faults(scratch.directory, {}).find("has the wrong length"),
              std::string::npos);

    fs::remove(file);
    EXPECT_NE(Faults(scratch.directory, {}).find("krk: krk.nbw is missing"),
              std::string::npos);

    std::vector<std::uint8_t> packed = PackTable(good, 1);
    WriteWholeFile(scratch.directory / "krk.nbw.emd", packed);
    EXPECT_EQ(Faults(scratch.directory, {}), "");
    packed.back() ^= 0x40;
    WriteWholeFile(scratch.directory / "krk.nbw.emd", packed);
    EXPECT_NE(Faults(scratch.directory, {}).find("krk: krk.nbw.emd: block"),
              std::string::npos);
    packed[100] ^= 1;
    WriteWholeFile(scratch.directory / "krk.nbw.emd", packed);
    EXPECT_NE(Faults(scratch.directory, {}).find("header is damaged"), std::string::npos);
}

// What a user asks for by name is missed when it is not there; a directory of a table's
// name is no table.
TEST(TableFilesTest, ChecksMissWhatIsNotThere) {
    Scratch scratch;
    Checked.clear();
    EXPECT_FALSE(CheckTables(scratch.directory, {FindTable("krkr")}, {}, Remember));
    ASSERT_EQ(Checked.size(), 1U);
    EXPECT_EQ(Checked[0].fault, "krkr.nbw is missing");
    fs::create_directory(scratch.directory / "kqk.nbw");
    fs::create_directory(scratch.directory / "kqk.nbb");
    EXPECT_NE(Faults(scratch.directory, {}).find("kqk: cannot read"), std::string::npos);
}

TEST(TableFilesTest, PackedNamesBecomePlainOnes) {
    EXPECT_EQ(PlainFileName("kpk.nbw.emd"), "kpk.nbw");
    EXPECT_EQ(PlainFileName("some/kpk_nbb.emd"), "kpk.nbb");
    EXPECT_EQ(PlainFileName("kpknbw.emd"), "kpk.nbw");
    EXPECT_EQ(PlainFileName("other.emd"), "other");
}

// What is there is kept, what is missing is made, nothing unfinished has a table's name.
TEST(TableFilesTest, MakingGoesOnWhereItStopped) {
    Scratch scratch;
    static std::vector<MadeTable> made;
    made.clear();
    const auto report = [](const MadeTable& table) { made.push_back(table); };
    const int kpk = FindTable("kpk"), krk = FindTable("krk");
    MakeTables({krk}, scratch.directory, 1, report);
    const auto time = fs::last_write_time(scratch.directory / "krk.nbw");
    MakeTables({kpk}, scratch.directory, 1, report);
    ASSERT_EQ(made.size(), 5U);
    EXPECT_EQ(made.back().entry, kpk);
    EXPECT_EQ(made.back().longestWin[WHITE], 28);
    EXPECT_EQ(made.back().longestLoss[BLACK], 28);
    EXPECT_EQ(fs::last_write_time(scratch.directory / "krk.nbw"), time);
    MakeTables({krk}, scratch.directory, 1, report);
    EXPECT_FALSE(made.back().made);
    fs::remove(scratch.directory / "kpk.nbb");
    MakeTables({kpk}, scratch.directory, 1, report);
    EXPECT_TRUE(fs::exists(scratch.directory / "kpk.nbb"));
    for (const auto& file : fs::directory_iterator(scratch.directory))
        EXPECT_TRUE(file.path().extension() == ".nbw" ||
                    file.path().extension() == ".nbb");
    EXPECT_THROW(MakeTables({FindTable("kqqkqq")}, scratch.directory, 1, report),
                 std::runtime_error);
}

// ---- Four men: minutes, and only where VELTRAMOX_FOUR_MEN names a directory for them
// ----

TEST(TableFilesSlowTest, FourMen) {
    const char* directory = std::getenv("VELTRAMOX_FOUR_MEN");
    if (directory == nullptr) GTEST_SKIP() << "VELTRAMOX_FOUR_MEN names no directory";
    BuildIndexTables();
    MakeTables(TablesWithMen(4), directory, 2, [](const MadeTable&) {});
    EXPECT_EQ(Faults(directory, {.full = true, .jobs = 2}), "");
    EXPECT_EQ(Checked.size(), 35U);
    ExpectLongest(directory,
                  {{"kbbk", 19, 0},  {"kbnk", 33, 0},  {"kqkr", 35, 19}, {"krkn", 40, 1},
                   {"krkb", 29, 0},  {"krkr", 19, 19}, {"kqkn", 21, 0},  {"kqkb", 17, 0},
                   {"kqkq", 13, 13}, {"kppk", 32, 0},  {"kpkp", 33, 33}, {"krkp", 26, 43},
                   {"kqkp", 28, 29}, {"knkp", 7, 29},  {"kbkp", 1, 29},  {"knpk", 27, 0},
                   {"kbpk", 31, 0},  {"krpk", 16, 0},  {"kqpk", 10, 0},  {"knnk", 1, 0}});
    ExpectValuesWhereLegal(directory, TablesWithMen(4), 7);
    ExpectProbesRight(directory, TablesWithMen(4), 3000);
}

}  // namespace
