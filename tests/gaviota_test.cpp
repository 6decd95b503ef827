// An independent witness: Gaviota's tables, an unrelated format with distances of its
// own, must agree on every position of three men. Debian has them as gaviotatb, and their
// reader as libgaviotatb-dev.
#include <gtest/gtest.h>

#include "tests/tables.h"
#include "tools/tables_position.h"
#include "tools/tables_store.h"

#ifdef VELTRAMOX_GAVIOTA
#include <gtb-probe.h>

namespace {

unsigned char PieceOf(int code) {
    constexpr unsigned char pieces[8] = {tb_NOPIECE, tb_KING, tb_KNIGHT, tb_PAWN,
                                         tb_NOPIECE, tb_ROOK, tb_BISHOP, tb_QUEEN};
    return pieces[code];
}

// The witness's distance; kNoDistance when it has none.
MateDistance WitnessOf(const TableMen& men, const TablePosition& position) {
    unsigned squares[2][kMostMen + 1];
    unsigned char pieces[2][kMostMen + 1];
    int count[2] = {0, 0};
    for (int i = 0; i < men.count; ++i) {
        const int side = men.man[i].side;
        squares[side][count[side]] = position.square[i];
        pieces[side][count[side]++] = PieceOf(men.man[i].code);
    }
    for (int side : {WHITE, BLACK}) {
        squares[side][count[side]] = tb_NOSQUARE;
        pieces[side][count[side]] = tb_NOPIECE;
    }
    unsigned info = tb_UNKNOWN, plies = 0;
    if (tb_probe_hard(position.side, tb_NOSQUARE, tb_NOCASTLE, squares[0], squares[1],
                      pieces[0], pieces[1], &info, &plies) == 0)
        return kNoDistance;
    if (info == tb_DRAW) return kDraw;
    if (info != tb_WMATE && info != tb_BMATE) return kNoDistance;
    // Half-moves: odd when the side to move mates.
    return static_cast<MateDistance>(plies) + 1;
}

struct Witness {
    Witness() {
        paths = tbpaths_add(tbpaths_init(), VELTRAMOX_GAVIOTA);
        tb_init(0, tb_CP4, paths);
        tbcache_init(std::size_t{1} << 22, 0);
    }
    ~Witness() {
        tbcache_done();
        tb_done();
        tbpaths_done(paths);
    }
    const char** paths;
};

TEST(GaviotaTest, AgreesOnAllPositionsOfThreeMen) {
    TableStore store;
    store.directory = ThreeManTables();
    const Witness witness;
    for (const int entry : TablesWithMen(3)) {
        store.Load(entry);
        const TableMen men = MenOfTable(entry);
        int compared = 0;
        for (int n = 0; n < 2 << 18; ++n) {
            TablePosition position{{}, static_cast<std::uint8_t>(n & 1), kNoEnPassant};
            for (int i = 0; i < 3; ++i)
                position.square[i] = static_cast<std::uint8_t>(n >> (1 + 6 * i) & 63);
            if (!IsLegalPosition(men, position)) continue;
            const MateDistance own =
                store.At(entry, position.side, IndexOfPosition(men, position));
            ASSERT_EQ(own, WitnessOf(men, position)) << EntryOf(entry).name << ' ' << n;
            ++compared;
        }
        EXPECT_GT(compared, 300000) << EntryOf(entry).name;
    }
}

}  // namespace

#else

TEST(GaviotaTest, AgreesOnAllPositionsOfThreeMen) {
    GTEST_SKIP() << "built without gaviotatb and libgaviotatb-dev";
}

#endif
