// Whole games of the engine against itself, through the same door as the protocol's "go".
// VELTRAMOX_SELFPLAY_GAMES says how many (10 unless given).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "board/attacks.h"
#include "board/notation.h"
#include "driver/modes.h"
#include "driver/newgame.h"
#include "driver/settings.h"
#include "driver/think.h"
#include "tests/support.h"

namespace {

constexpr int kDefaultGames = 10;
constexpr int kRandomPlies = 8;  // at the start, so that no two games are alike
constexpr int kLongestGame = 6000;

int Length() { return Board.GamePly + ArchivedPlies(); }

// How often each placement occurred with its side to move.
using Occurrences = std::map<std::string, int>;

int CountPosition(Occurrences& seen) {
    std::string key(1, static_cast<char>('0' + Board.SideToMove));
    for (int square = 0; square < 64; ++square) {
        const bool black = (Board.Occupied[BLACK] & SquareMask(square)) != 0;
        key += static_cast<char>(Board.Piece[square] + (black ? 'a' : 'A'));
    }
    return ++seen[key];
}

// The result line that the rules ask for in this position; "" when the game goes on.
std::string ExpectedResult(int occurrences) {
    if (PopCount(AllOccupied()) == 2) return "1/2-1/2 {Draw by insufficient material}";
    if (occurrences >= 3) return "1/2-1/2 {Draw by repetition}";
    if (Board.FiftyCounter >= 100) return "1/2-1/2 {Draw by the 50-moves rule}";
    if (LegalMoves().count != 0) return "";
    const int S = Board.SideToMove;
    if (!IsAttacked(ChangeSide(S), Board.KingSquare[S])) return "1/2-1/2 {Stalemate}";
    return S == WHITE ? "0-1 {Black mates}" : "1-0 {White mates}";
}

// Plays on until the engine says how the game ended; its words, or "?".
std::string PlayToTheEnd(Occurrences& seen) {
    while (Length() < kLongestGame && !testing::Test::HasFailure()) {
        const std::string expected = ExpectedResult(CountPosition(seen));
        const std::vector<Move> legal = LegalMoveList();
        const int length = Length();
        const std::string output = OutputOf(Think);
        if (!expected.empty()) {
            EXPECT_EQ(output, expected + "\n");
            EXPECT_EQ(Length(), length);
            return expected;
        }
        EXPECT_EQ(Length(), length + 1) << output;
        EXPECT_NE(std::find(legal.begin(), legal.end(), LastMove()), legal.end());
        const std::string answer = "\nmove " + MoveText(LastMove()) + "\n";
        EXPECT_EQ(output.find(answer) + answer.size(), output.size()) << output;
        if (output.find("\nresign\n") != std::string::npos) return "resign";
    }
    return "?";
}

TEST(SelfPlay, SlowGamesEndProperly) {
    const char* const wanted = std::getenv("VELTRAMOX_SELFPLAY_GAMES");
    const int games = wanted != nullptr ? std::atoi(wanted) : kDefaultGames;
    std::map<std::string, int> results;
    int longest = 0;
    for (int game = 0; game < games && !HasFailure(); ++game) {
        FreshEngine(16, game % 2 == 0 ? ClassicSearch : StrongSearch);
        NewGame();
        Modes.MaxDepth = 3 + game % 3;
        // One who resigns at once ends lost games early; the others are played out.
        SettingsInForce.ResignTimes = game % 4 == 0 ? 1 : 3;
        Random random(static_cast<std::uint32_t>(game));
        const BoardRecord start = Board;
        Occurrences seen;
        for (int ply = 0; ply < kRandomPlies && LegalMoves().count != 0; ++ply) {
            CountPosition(seen);
            PlayGameMove(random.Of(LegalMoveList()));
        }
        const std::string result = PlayToTheEnd(seen);
        EXPECT_NE(result, "?") << "game " << game;
        ++results[result];
        longest = std::max(longest, Length());
        while (Board.GamePly > 0) TakeBackGameMove();
        EXPECT_TRUE(SameBoard(Board, start)) << "game " << game;
    }
    FreshEngine();
    std::printf("%d games, the longest of %d plies\n", games, longest);
    for (const auto& [result, count] : results)
        std::printf("%6d  %s\n", count, result.c_str());
}

}  // namespace
