// The transposition table: what a store keeps, replaces or refuses, the walk over three
// slots, and scores of mates between plies.
#include <gtest/gtest.h>

#include "board/notation.h"
#include "search/hash.h"
#include "tests/support.h"

namespace {

constexpr Move kMove = MakeWord(E2, E4, PAWN, EMPTY);
constexpr Move kOther = MakeWord(G1, F3, KNIGHT, EMPTY);

// The tests give the board made-up keys: with a table of 256 entries the first slot is
// the low byte of `hash2`, and the next ones follow in steps of `hash1`.
class HashTable : public testing::Test {
protected:
    void SetUp() override { FreshEngine(8); }
    void TearDown() override { SetStartPosition(); }

    static void TakeKeys(std::uint32_t hash1, std::uint32_t hash2) {
        Board.hash1 = hash1;
        Board.hash2 = hash2;
    }
    // Position `number` of those that share all three slots.
    static void TakeAlike(int number) {
        TakeKeys(0x2000u * static_cast<std::uint32_t>(number) + 5, 0x40);
    }
    static bool Holds(int number) {
        TakeAlike(number);
        HashHit hit;
        return HashProbe(hit);
    }
    static void Store(int number, int depth) {
        TakeAlike(number);
        HashStore(depth, 0, kMove, kExact, 0);
    }
    // Depth, score, move, bound and threat of the position's entry.
    static std::vector<int> Entry() {
        HashHit hit{};
        EXPECT_TRUE(HashProbe(hit));
        return {hit.depth, hit.score, static_cast<int>(hit.move), hit.boundType,
                hit.mateThreat};
    }
};

using Fields = std::vector<int>;

TEST_F(HashTable, SideAndCastlingRightsBelongToThePosition) {
    HashHit hit;
    EXPECT_FALSE(HashProbe(hit));
    HashStore(60, 1, kMove, kExact, 0);
    for (int* flag : {&Board.A1, &Board.H1, &Board.A8, &Board.H8, &Board.WK, &Board.BK,
                      &Board.SideToMove}) {
        *flag = 1;
        EXPECT_FALSE(HashProbe(hit));
        *flag = 0;
        EXPECT_TRUE(HashProbe(hit));
    }
}

TEST_F(HashTable, DeeperResultStays) {
    HashStore(120, -10, NO_MOVE, kUpperBound, 1);
    EXPECT_EQ(Entry(), (Fields{120, -10, 0, kUpperBound, 1}));
    HashStore(60, 20, kMove, kExact, 0);  // adds its move to an entry without one
    EXPECT_EQ(Entry(), (Fields{120, -10, kMove, kUpperBound, 1}));
    HashStore(60, 20, kOther, kExact, 0);
    EXPECT_EQ(Entry(), (Fields{120, -10, kMove, kUpperBound, 1}));
    AdvanceTableAge(5);  // age gives a shallow result of the same position no right
    HashStore(60, 20, kOther, kExact, 0);
    EXPECT_EQ(Entry(), (Fields{120, -10, kMove, kUpperBound, 1}));
    HashStore(120, 30, kOther, kUpperBound, 0);  // an upper bound keeps the move
    EXPECT_EQ(Entry(), (Fields{120, 30, kMove, kUpperBound, 0}));
    HashStore(120, 40, kOther, kLowerBound, 0);
    EXPECT_EQ(Entry(), (Fields{120, 40, kOther, kLowerBound, 0}));
    constexpr Move kLongest = MakeWord(H7, G8, PAWN, QUEEN, QUEEN);  // all move bits
    HashStore(7740, 40, kLongest, kExact, 1);
    EXPECT_EQ(Entry(), (Fields{7740, 40, kLongest, kExact, 1}));
}

TEST_F(HashTable, MatesAreCountedFromTheNode) {
    const struct {
        int bound, score, storedAt, readAt, stored, fromTable;
    } cases[] = {
        {kExact, 32698, 2, 4, 32700, 32696},
        {kExact, -32697, 3, 1, -32700, -32699},
        {kExact, 31000, 9, 9, 31000, 31000},
        {kExact, 31001, 9, 9, 31010, 31001},
        {kExact, -31000, 9, 9, -31000, -31000},
        {kLowerBound, 31500, 9, 9, 31000, 31000},
        {kLowerBound, -31500, 9, 9, -31500, -31491},
        {kUpperBound, 31500, 9, 9, 31500, 31491},
        {kUpperBound, -31500, 9, 9, -31000, -31000},
    };
    for (const auto& c : cases) {
        Board.hash2 += 0x100;
        Line.Ply = c.storedAt;
        HashStore(60, c.score, kMove, c.bound, 0);
        EXPECT_EQ(Entry()[1], c.stored) << c.score;
        Line.Ply = c.readAt;
        EXPECT_EQ(ScoreFromTable(Entry()[1]), c.fromTable) << c.score;
    }
}

TEST_F(HashTable, ThreeSlotsAPosition) {
    for (int number : {1, 2, 3}) Store(number, 60);
    TakeKeys(7, 0x40);  // another step leads from the same first slot elsewhere
    HashStore(60, 0, kMove, kExact, 0);
    // The slots are 0x40, 0x45, 0x4A; for Black the walk begins at 0x41, which is free.
    Board.SideToMove = BLACK;
    Store(4, 0);
    EXPECT_TRUE(Holds(4));
    Board.SideToMove = WHITE;
    for (int number : {1, 2, 3}) EXPECT_TRUE(Holds(number)) << number;
    // The walk goes round at the table's end.
    for (std::uint32_t number : {1u, 2u, 3u}) {
        TakeKeys(0x2000 * number + 0x1FFF, 0xFF);
        HashStore(60, static_cast<int>(number), kMove, kExact, 0);
    }
    EXPECT_EQ(Entry()[1], 3);
}

// Three slots, filled with results of other generations and depths, the oldest first;
// then a fourth position comes in generation 5.
TEST_F(HashTable, Replacement) {
    const struct {
        const char* what;
        struct {
            int generation, depth;
        } entries[3];
        int newDepth;
        int replaced;  // entry 1 to 3; 4: the new one is refused
    } cases[] = {
        {"shallowest of old ones", {{0, 300}, {0, 120}, {0, 240}}, 0, 2},
        {"first of equals", {{0, 120}, {0, 120}, {0, 120}}, 0, 1},
        {"old before new, deep as it is", {{0, 900}, {5, 0}, {5, 60}}, 0, 1},
        {"shallowest of new ones", {{5, 90}, {5, 60}, {5, 300}}, 60, 2},
        {"nothing for a shallower one", {{5, 90}, {5, 60}, {5, 300}}, 59, 4},
        {"the mark stays, this search's", {{5, -120}, {5, 500}, {5, 600}}, 500, 2},
        {"the mark stays, the last one's", {{4, -120}, {5, 500}, {5, 600}}, 500, 2},
        {"an older mark goes", {{3, -120}, {5, 500}, {5, 600}}, 0, 1},
    };
    for (const auto& c : cases) {
        FreshEngine(8);
        for (int i = 0; i < 3; ++i) {
            AdvanceTableAge(c.entries[i].generation - TableAge());
            Store(i + 1, c.entries[i].depth);
        }
        AdvanceTableAge(5 - TableAge());
        Store(4, c.newDepth);
        for (int number : {1, 2, 3, 4})
            EXPECT_EQ(Holds(number), number != c.replaced) << c.what << ' ' << number;
    }
    AdvanceTableAge(32768 - TableAge());
    EXPECT_EQ(TableAge(), -32768);  // sixteen bits go round
}

TEST_F(HashTable, BestMoveMustFit) {
    EXPECT_EQ(HashMove(), NO_MOVE);
    HashStore(60, 0, kMove, kExact, 0);
    EXPECT_EQ(HashMove(), kMove);
    // What a null-move cut-off or another position behind the same keys leaves.
    for (const Move m :
         {NULL_MOVE, MakeWord(E3, E4, PAWN, EMPTY), MakeWord(E7, E5, PAWN, EMPTY),
          MakeWord(E2, E4, ROOK, EMPTY), MakeWord(A1, A2, ROOK, PAWN), CASTLE_WHITE_SHORT,
          MakeWord(E2, E4, PAWN, EMPTY, QUEEN), MakeWord(D1, E8, QUEEN, KING),
          MakeWord(E2, D3, PAWN, EMPTY)}) {
        HashStore(60, 0, m, kExact, 0);
        EXPECT_EQ(HashMove(), NO_MOVE) << MoveText(m);
    }
}

}  // namespace
