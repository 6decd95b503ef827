// The end of the game, and the root move list that the same check leaves.
#include <gtest/gtest.h>

#include "board/attacks.h"
#include "board/notation.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/outward.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "tests/support.h"

namespace {

// The line that the check writes; "" when the game goes on.
std::string ResultLine() {
    bool over = false;
    const std::string line = OutputOf([&] { over = GameOverCheck(); });
    EXPECT_EQ(over, !line.empty());
    return line;
}

TEST(Result, OfPositionsAndGames) {
    const char* const rook = "4k3/8/8/8/8/8/P7/R3K3 w - - 95";
    const char* const repetition = "1/2-1/2 {Draw by repetition}\n";
    const struct {
        const char* fen;
        const char* moves;
        const char* line;
    } cases[] = {
        {kStart, "f2f3 e7e5 g2g4 d8h4", "0-1 {Black mates}\n"},
        {kStart, "f2f3 e7e5 g2g4", ""},
        {"R3k3/8/4K3/8/8/8/8/8 b", "", "1-0 {White mates}\n"},
        {"7k/5Q2/8/8/8/8/8/K7 b", "", "1/2-1/2 {Stalemate}\n"},
        {"8/8/8/8/p7/Pk6/p7/K7 w", "", "1/2-1/2 {Stalemate}\n"},
        {"4k3/8/8/8/8/8/8/4K3 w", "", "1/2-1/2 {Draw by insufficient material}\n"},
        {"4k3/8/8/8/8/8/8/3NK3 w", "", ""},
        {"4k3/p7/8/8/8/8/8/4K3 w", "", ""},
        // Three times the same position; the second time is none.
        {kStart, "g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1", ""},
        {kStart, "g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8", repetition},
        {kStart, "e2e4 e7e5 g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8", repetition},
        {rook, "a1b1 e8d8 b1c1 d8e8", ""},
        {rook, "a1b1 e8d8 b1c1 d8e8 c1d1", "1/2-1/2 {Draw by the 50-moves rule}\n"},
        {rook, "a1b1 e8d8 b1c1 d8e8 a2a3", ""},
        // Set up, not played: no draw before a move.
        {"4k3/8/8/8/8/8/P7/R3K3 w - - 150", "", ""},
        // A king that could be taken stays.
        {"4k3/4R3/8/8/8/8/8/4K3 w", "", ""},
    };
    for (const auto& c : cases) {
        FreshEngine(4);
        Position(c.fen);
        Play(c.moves);
        EXPECT_EQ(ResultLine(), c.line) << c.fen << ' ' << c.moves;
    }
    RemovePiece(E8);  // without both kings there is nothing to search or to say
    EXPECT_EQ(OutputOf([] { EXPECT_TRUE(Search(10, false)); }), "");
}

// Every legal move once, killers or not, each with its check flag.
void ExpectRootMoves(const std::vector<Move>& legal) {
    ASSERT_EQ(Generated.MoveStackTop, Root.RootMoveCount);
    EXPECT_TRUE(std::is_permutation(RootMoves, RootMoves + Root.RootMoveCount,
                                    legal.begin(), legal.end()));
    for (int i = 0; i < Root.RootMoveCount; ++i) {
        MakeMove(RootMoves[i]);
        const int S = Board.SideToMove;
        const bool check = IsAttacked(ChangeSide(S), Board.KingSquare[S]);
        UnmakeMove();
        EXPECT_EQ(Root.RootGivesCheck[i] != 0, check) << MoveText(RootMoves[i]);
    }
}

TEST(Result, RootMoves) {
    for (const char* fen : {kCastlings, kRookEnding, kPromotions, kKnightFork,
                            kMiddlegame, "r3k3/8/8/8/8/8/4r3/4K2R w K -"}) {
        FreshEngine(10);
        Position(fen);
        const std::vector<Move> legal = LegalMoveList();
        std::vector<Move> quiet;
        std::copy_if(legal.begin(), legal.end(), std::back_inserter(quiet), IsQuiet);
        Ordering.Killer1[WHITE][0] = quiet.front();
        Ordering.Killer2[WHITE][0] = quiet.back();
        EXPECT_EQ(ResultLine(), "");
        ExpectRootMoves(legal);
        EXPECT_EQ(Root.RootDepth, 2);
        const Move first = RootMoves[0], last = RootMoves[Root.RootMoveCount - 1];
        HashStore(60, 77, last, kLowerBound, 0);  // a bound says nothing
        EXPECT_EQ(ResultLine(), "");
        EXPECT_EQ(RootMoves[0], first) << fen;
        EXPECT_EQ(RootScore, Result.PreviousScore);
        HashStore(60, 77, last, kExact, 0);  // an exact entry's move comes first
        EXPECT_EQ(ResultLine(), "");
        ExpectRootMoves(legal);
        EXPECT_EQ(RootMoves[0], last) << fen;
        EXPECT_EQ(RootScore, 77);
        EXPECT_EQ(Root.RootDepth, 1);
    }
}

}  // namespace
