// The board's redundant forms, making and taking back moves, and games of any length.
#include <gtest/gtest.h>

#include <algorithm>

#include "board/fen.h"
#include "board/notation.h"
#include "tests/support.h"

namespace {

TEST(Board, StartPosition) {
    SetStartPosition();
    for (int c : {WHITE, BLACK}) {
        EXPECT_EQ(Board.Material[c], 3900);
        EXPECT_EQ(Board.Units[c], 31);
        EXPECT_EQ(Board.PawnCount[c], 8);
        EXPECT_EQ(Board.MinorCount[c], 4);
        EXPECT_EQ(Board.MajorCount[c], 4);
    }
    const BoardRecord start = Board;
    Position(kStart);
    EXPECT_TRUE(SameBoard(Board, start));
    EXPECT_EQ(MoveOf("e2e4"), 0x370Cu);
}

TEST(Board, MatingMaterial) {
    const struct {
        const char* fen;
        int white, black;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/4K3", 1, 1},    {"4k3/8/8/8/8/8/8/2N1KN2", 1, 1},
        {"4k3/8/8/8/8/8/8/2B1KN2", 0, 1}, {"4k1b1/8/8/8/8/8/8/2B1KB2", 0, 1},
        {"4k1nn/8/8/8/8/8/P7/4K3", 0, 1}, {"4k1r1/8/8/8/8/8/8/3NKNN1", 0, 0},
    };
    for (const auto& c : cases) {
        Position(c.fen);
        EXPECT_EQ(Board.NoMatingMaterial[WHITE], c.white) << c.fen;
        EXPECT_EQ(Board.NoMatingMaterial[BLACK], c.black) << c.fen;
    }
}

TEST(Board, KeysHoldThePlacementAlone) {
    Position("4k3/8/8/8/8/8/8/4K3 w");
    EXPECT_EQ(Board.hash1, HashKeys1[WHITE][KING][E1] ^ HashKeys1[BLACK][KING][E8]);
    EXPECT_EQ(Board.hash2, HashKeys2[WHITE][KING][E1] ^ HashKeys2[BLACK][KING][E8]);
    EXPECT_EQ(Board.PawnHash1, 0u);
    EXPECT_EQ(Board.PawnHash2, 0xC85E31u);
    Position("4k3/8/8/8/8/8/P7/R3K3 w Q");
    const std::uint32_t hash1 = Board.hash1, hash2 = Board.hash2;
    EXPECT_EQ(Board.PawnHash1, HashKeys1[WHITE][0][A2]);
    Position("4k3/8/8/8/8/8/P7/R3K3 b -");
    EXPECT_EQ(Board.hash1, hash1);
    EXPECT_EQ(Board.hash2, hash2);
}

// The same men put on an empty board one by one, everything else as it is.
BoardRecord Rebuilt() {
    const BoardRecord kept = Board;
    ClearBoard();
    for (int square = 0; square < 64; ++square) {
        const bool white = (kept.Occupied[WHITE] & SquareMask(square)) != 0;
        if (kept.Piece[square] != EMPTY)
            AddPiece(square, white ? WHITE : BLACK, kept.Piece[square]);
    }
    Board.FiftyCounter = kept.FiftyCounter;
    UpdateMatingFlags();
    const BoardRecord rebuilt = Board;
    Board = kept;
    return rebuilt;
}

TEST(Board, RandomGamesKeepAllForms) {
    Random random(1);
    for (const char* fen :
         {kStart, kCastlings, kRookEnding, kPromotions, kKnightFork, kMiddlegame})
        for (int game = 0; game < 10; ++game) {
            Position(fen);
            for (int ply = 0; ply < 120 && LegalMoves().count != 0; ++ply) {
                const std::vector<Move> moves = LegalMoveList();
                const BoardRecord before = Board;
                for (const Move m : moves) {
                    MakeMove(m);
                    UnmakeMove();
                    ASSERT_TRUE(SameBoard(Board, before)) << MoveText(m);
                }
                MakeMove(random.Of(moves));
                ASSERT_TRUE(SameBoard(Board, Rebuilt())) << MoveText(LastMove());
            }
        }
}

// Moves of all kinds by their outcome.
TEST(Board, Moves) {
    const struct {
        const char* fen;
        const char* moves;
        const char* after;
        std::uint32_t castleFlags;
    } cases[] = {
        {kStart, "e2e4 g8f6",
         "rnbqkb1r/pppppppp/5n2/8/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - 1", 0},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1g1", "r3k2r/8/8/8/8/8/8/R4RK1 b - - 1",
         2},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1c1", "r3k2r/8/8/8/8/8/8/2KR3R b - - 1",
         2},
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", "e8g8", "r4rk1/8/8/8/8/8/8/R3K2R w - - 1",
         1},
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", "e8c8", "2kr3r/8/8/8/8/8/8/R3K2R w - - 1",
         1},
        {"r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "h1h8", "r3k2R/8/8/8/8/8/8/R3K3 b - -", 20},
        {"r3k2r/8/8/8/8/8/8/R3K2R b KQkq -", "a8a1", "4k2r/8/8/8/8/8/8/r3K2R w - -", 40},
        {"4k3/3p4/8/4P3/8/8/8/4K3 b - -", "d7d5 e5d6", "4k3/8/3P4/8/8/8/8/4K3 b", 60},
        {"4k3/8/8/8/4p3/8/3P4/4K3 w - -", "d2d4 e4d3", "4k3/8/8/8/8/3p4/8/4K3 w", 60},
        {"8/4P3/8/8/8/8/k7/4K3 w - - 7", "e7e8q", "4Q3/8/8/8/8/8/k7/4K3 b", 61},
        {"8/8/7k/8/8/8/4p3/3N2K1 b - - 7", "e2d1n", "8/8/7k/8/8/8/8/3n2K1 w", 63},
    };
    for (const auto& c : cases) {
        Position(c.after);
        const BoardRecord after = Board;
        Position(c.fen);
        Play(c.moves);
        EXPECT_EQ(Board.hash1, after.hash1) << c.moves;
        EXPECT_EQ(Board.FiftyCounter, after.FiftyCounter) << c.moves;
        EXPECT_EQ(Board.SideToMove, after.SideToMove) << c.moves;
        EXPECT_EQ(CastleFlags(), c.castleFlags) << c.moves;
        const int mover = ChangeSide(Board.SideToMove), to = To(LastMove());
        const bool castled = c.castleFlags < 3 && c.castleFlags > 0;
        EXPECT_EQ(Board.CastledKingside[mover], castled && FileOf(to) == 6) << c.moves;
        EXPECT_EQ(Board.CastledQueenside[mover], castled && FileOf(to) == 2) << c.moves;
    }
}

// Far beyond the history stack; taking everything back passes through the same positions.
TEST(Board, LongGamesAreTakenBackWhole) {
    SetStartPosition();
    const BoardRecord start = Board;
    struct Seen {
        std::uint32_t hash1, flags;
        int fifty;
        bool operator==(const Seen&) const = default;
    };
    const auto now = [] { return Seen{Board.hash1, CastleFlags(), Board.FiftyCounter}; };
    std::vector<Seen> seen;
    Random random(7);
    while (seen.size() < 2000) {
        seen.push_back(now());
        const std::vector<Move> legal = LegalMoveList();
        ASSERT_FALSE(legal.empty());
        std::vector<Move> calm;  // the game must not run out of men
        for (const Move m : legal)
            if (IsQuiet(m) && (Moving(m) != PAWN || random.Below(100) == 0))
                calm.push_back(m);
        PlayGameMove(random.Of(calm.empty() ? legal : calm));
        ASSERT_EQ(Board.GamePly + ArchivedPlies(), int(seen.size()));
        ASSERT_LE(Board.GamePly, 512);  // the rest of the stack is the search's
        ASSERT_GE(Board.GamePly, std::min(int(seen.size()), 128));
    }
    for (; !seen.empty(); seen.pop_back()) {
        TakeBackGameMove();
        ASSERT_EQ(now(), seen.back()) << seen.size();
    }
    EXPECT_TRUE(SameBoard(Board, start));
}

// "white" and "black" give the move to either side; a move is taken back as its maker's.
TEST(Board, TakingBackAfterTheSideWasSwitched) {
    Position(kStart);
    const BoardRecord start = Board;
    Play("e2e4");
    Board.SideToMove = WHITE;
    Play("d2d4 e7e5");
    Board.SideToMove = BLACK;
    for (int i = 0; i < 3; ++i) TakeBackGameMove();
    EXPECT_TRUE(SameBoard(Board, start));
}

TEST(Fen, RefusesWhatIsNoPosition) {
    for (const char* fen :
         {"", "8/8/8/8/8/8/8/8 w", "4k3/8/8/8/8/8/8/4K2 w", "4k3/8/8/8/8/8/8/4K4 w",
          "4k3/8/8/8/8/8/4K3 w", "4k3/8/8/8/8/8/8/4K3/8 w", "4k3/8/8/8/8/8/8/4K2? w",
          "4k3/8/8/8/8/8/8/4K3 x", "4k3/8/8/8/8/8/8/4K3 w X", "4k3/8/8/8/8/8/8/4K1K1 w",
          "4k3/8/8/8/8/8/8/4K3 w - e6", "4k3/8/8/8/8/8/8/4K3 w - - -1"})
        EXPECT_FALSE(SetFen(fen)) << fen;
    EXPECT_TRUE(SetFen("4k3/8/8/3pP3/8/8/8/R3K3 w Q d6 0 1"));
    EXPECT_EQ(MoveText(LastMove()), "d7d5");
    EXPECT_EQ(CastleFlags(), 4u + 16u + 32u);
}

}  // namespace
