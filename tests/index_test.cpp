// Table indices: the counts, worked examples, and that every legal position has an index
// of its own which leads back to it.
#include "egtb/index.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tools/tables_position.h"

namespace {

class IndexTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        BuildTables();
        BuildIndexTables();
    }
};

struct CountCase {
    const char* name;
    std::uint32_t white, black;  // 0: not given
};

TEST_F(IndexTest, FilesEndWithTheLastLegalPosition) {
    for (int entry = 1; entry < kTableEntries; ++entry)
        for (int side : {0, 1}) {
            const std::uint32_t listed = EntryOf(entry).size[side];
            if (listed == 0) continue;
            EXPECT_EQ(FileValues(entry, side), listed) << EntryOf(entry).name << side;
        }
}

TEST_F(IndexTest, CountsBeforeTheEndIsCut) {
    const CountCase cases[] = {
        {"kpk", 81664, 84012},
        {"krk", 27036, 28644},
        {"krrk", 777639, 873642},
        {"kpkp", 3863492, 3863492},
        {"krkp", 5072832, 4981504},
        {"kppkp", 84219362, 89391280},
        {"kqqkqq", 1237357440, 1237357440},
        {"kpppk", 26061704, 28388716},
        {"kbnknn", 2744599170, 2602976160},
    };
    for (const CountCase& c : cases) {
        const int entry = FindTable(c.name);
        ASSERT_NE(entry, 0);
        EXPECT_EQ(IndexCount(entry, 0), c.white) << c.name;
        EXPECT_EQ(IndexCount(entry, 1), c.black) << c.name;
    }
}

struct ExampleCase {
    const char* name;
    int side;
    std::array<int, kMostMen> squares;  // kings, first side's men, second side's
    std::uint32_t index;
};

// The longest losses of kppkp, and krkp, Black to move.
TEST_F(IndexTest, WorkedExamples) {
    const ExampleCase cases[] = {
        {"kppkp", 1, {C3, A3, E3, E4, B7}, 56802428},
        {"kppkp", 1, {C3, A3, E3, E4, B6}, 56811076},
        {"kppkp", 1, {D3, A3, E3, E4, B7}, 56849992},
        {"kppkp", 1, {D3, A3, E3, E4, B6}, 56858640},
        {"kppkp", 1, {D3, B3, E3, E4, B5}, 59592489},
        {"kppkp", 1, {C3, A2, E3, E4, B5}, 67775659},
        {"kppkp", 1, {D1, B2, E3, E4, B5}, 71071628},
        {"krkp", 1, {D1, D3, E1, E4}, 3701239},
    };
    for (const ExampleCase& c : cases) {
        const TableMen men = MenOfTable(FindTable(c.name));
        TablePosition position{{}, static_cast<std::uint8_t>(c.side), kNoEnPassant};
        for (int i = 0; i < men.count; ++i)
            position.square[i] =
                static_cast<std::uint8_t>(c.squares[static_cast<std::size_t>(i)]);
        EXPECT_EQ(IndexOfPosition(men, position), c.index) << c.name;
    }
}

// Board symmetries under which a table's value stays: bit 0 mirrors left to right, and
// without pawns bit 1 turns upside down and bit 2 reflects in the long diagonal.
int Image(int square, int symmetry) {
    if ((symmetry & 4) != 0) square = FileOf(square) * 8 + RankOf(square);
    return square ^ ((symmetry & 1) != 0 ? 7 : 0) ^ ((symmetry & 2) != 0 ? 56 : 0);
}

TablePosition ImageOf(const TableMen& men, TablePosition position, int symmetry) {
    for (int i = 0; i < men.count; ++i)
        position.square[i] =
            static_cast<std::uint8_t>(Image(position.square[i], symmetry));
    if (position.enPassant != kNoEnPassant)
        position.enPassant =
            static_cast<std::uint8_t>(Image(position.enPassant, symmetry));
    return position;
}

// Like men in ascending order: the same men, whatever their order.
TablePosition Sorted(const TableMen& men, TablePosition position) {
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 2; i + 1 < men.count; ++i)
            if (men.man[i].code == men.man[i + 1].code &&
                men.man[i].side == men.man[i + 1].side &&
                position.square[i] > position.square[i + 1])
                std::swap(position.square[i], position.square[i + 1]);
    return position;
}

bool SamePosition(const TableMen& men, const TablePosition& a, const TablePosition& b) {
    return std::equal(a.square, a.square + men.count, b.square) &&
           a.enPassant == b.enPassant;
}

// The index decodes to the position or to one of its images: two different positions
// cannot share one then.
bool LeadsBack(const TableMen& men, const TablePosition& position, std::uint32_t index) {
    TablePlacement placement;
    if (!PlacementOfIndex(men.entry, position.side, index, placement)) return false;
    const TablePosition back =
        Sorted(men, PositionOfPlacement(men, placement, position.side));
    const int symmetries = ShapeOf(men.entry).pawns ? 2 : 8;
    for (int s = 0; s < symmetries; ++s)
        if (SamePosition(men, back, Sorted(men, ImageOf(men, position, s)))) return true;
    return false;
}

std::string Describe(const TableMen& men, const TablePosition& position) {
    std::string text(EntryOf(men.entry).name);
    text += position.side == 0 ? " w" : " b";
    for (int i = 0; i < men.count; ++i) text += ' ' + std::to_string(position.square[i]);
    return text + " ep " + std::to_string(position.enPassant);
}

// The same position with the colours exchanged, its men handed over as the other
// colour's.
std::uint32_t IndexWithColoursExchanged(const TableMen& men,
                                        const TablePosition& position) {
    std::uint8_t list[2][kListSize];
    for (int i = 0; i < men.count; ++i)
        list[men.man[i].side][men.man[i].slot] =
            static_cast<std::uint8_t>(MirrorRank(position.square[i]));
    return IndexFunctions[static_cast<std::size_t>(men.entry)][position.side](
        list[0], list[1], kNoEnPassant, true);
}

// Every placement of three men; a stride through those of more.
void CheckPlacements(int entry, int side, std::uint64_t stride) {
    const TableMen men = MenOfTable(entry);
    const std::uint32_t values = FileValues(entry, side);
    const std::uint64_t placements = std::uint64_t{1} << 6 * men.count;
    for (std::uint64_t n = 0; n < placements; n += stride) {
        TablePosition position{{}, static_cast<std::uint8_t>(side), kNoEnPassant};
        for (int i = 0; i < men.count; ++i)
            position.square[i] = static_cast<std::uint8_t>(n >> 6 * i & 63);
        if (!IsLegalPosition(men, position)) continue;
        const std::uint32_t index = IndexOfPosition(men, position);
        ASSERT_LT(index, values) << Describe(men, position);
        ASSERT_TRUE(LeadsBack(men, position, index)) << Describe(men, position);
        const std::uint32_t exchanged = IndexWithColoursExchanged(men, position);
        ASSERT_TRUE(LeadsBack(men, position, exchanged)) << Describe(men, position);
    }
}

TEST_F(IndexTest, LegalPositionsDoNotShareAnIndex) {
    // Strides are odd, so that over the placements every square of every man comes up.
    constexpr std::uint64_t kStride[7] = {1, 1, 1, 1, 1009, 100003, 6000011};
    for (int entry = 1; entry < kTableEntries; ++entry)
        for (int side : {0, 1}) CheckPlacements(entry, side, kStride[ShapeOf(entry).men]);
}

// Positions after a double step have indices of their own.
TEST_F(IndexTest, EnPassantPositionsLeadBack) {
    std::mt19937 random(1);
    for (int entry = 1; entry < kTableEntries; ++entry) {
        if (!HasEnPassant(ShapeOf(entry))) continue;
        const TableMen men = MenOfTable(entry);
        for (int side : {0, 1}) {
            const std::uint32_t normal = NormalCount[entry][side];
            const std::uint32_t count = IndexCount(entry, side) - normal;
            int legal = 0;
            for (int n = 0; n < 30000; ++n) {
                const std::uint32_t index =
                    normal + static_cast<std::uint32_t>(random() % count);
                TablePlacement placement;
                ASSERT_TRUE(PlacementOfIndex(entry, side, index, placement));
                const TablePosition position = PositionOfPlacement(men, placement, side);
                if (!IsLegalPosition(men, position)) continue;
                ++legal;
                const std::uint32_t back = IndexOfPosition(men, position);
                ASSERT_GE(back, normal) << Describe(men, position);
                ASSERT_TRUE(LeadsBack(men, position, back)) << Describe(men, position);
                ASSERT_EQ(IndexOfPosition(men, ImageOf(men, position, 1)), back)
                    << Describe(men, position);
            }
            EXPECT_GT(legal, 5000) << EntryOf(entry).name;
        }
    }
}

// Illegal placements, as a search may probe them, must not index past a table.
TEST_F(IndexTest, AnyPlacementStaysInRange) {
    std::mt19937 random(2);
    for (int entry = 1; entry < kTableEntries; ++entry) {
        const TableMen men = MenOfTable(entry);
        for (int n = 0; n < 2000; ++n) {
            TablePosition position{{}, static_cast<std::uint8_t>(n & 1), kNoEnPassant};
            SquareSet occupied = 0;
            for (int i = 0; i < men.count; ++i) {
                int square;
                do {
                    square = men.man[i].code == PAWN ? static_cast<int>(8 + random() % 48)
                                                     : static_cast<int>(random() % 64);
                } while ((occupied & SquareMask(square)) != 0);
                occupied |= SquareMask(square);
                position.square[i] = static_cast<std::uint8_t>(square);
            }
            const std::uint32_t index = IndexOfPosition(men, position);
            if (index == kNoIndex) continue;
            ASSERT_LT(index, IndexCount(entry, n & 1)) << Describe(men, position);
        }
    }
}

}  // namespace
