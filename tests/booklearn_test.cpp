// Book learning: which moves of a game are credited, with what, and what survives.
#include "book/booklearn.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "board/fen.h"
#include "driver/settings.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/root.h"
#include "tests/bookmaker.h"
#include "tests/killed.h"
#include "tests/moves.h"
#include "tests/scratch.h"

namespace {

int Word(int pointsFor, int against) { return pointsFor | against << 8; }

class BookLearnTest : public ::testing::Test {
protected:
    void Open(const BookMaker& maker) {
        scratch.Write("book", maker.Image());
        testing::internal::CaptureStdout();
        OpenBook(scratch.Path("book").c_str());
        testing::internal::GetCapturedStdout();
        BookLearnedThisGame = 0;
    }
    void TearDown() override { CloseBook(); }

    // The words of the list of the position after the game.
    static std::vector<int> Words(const std::string& game) {
        PlayFromStart(game);
        BookList list;
        std::vector<int> words;
        if (!ReadPositionList(list)) return words;
        for (int i = 0; i < list.count; ++i) words.push_back(list.entries[i].word);
        return words;
    }
    Scratch scratch;
};

TEST_F(BookLearnTest, OwnMovesOfTheGameAreCredited) {
    const struct {
        const char* game;  // the side to move at its end is the engine
        int outcome;
        int start, afterE4, afterE5;  // words of e2e4, e7e5 and g1f3
    } cases[] = {
        {"e2e4 e7e5 g1f3 b8c6", kGameWon, Word(12, 5), Word(10, 5), Word(2, 0)},
        {"e2e4 e7e5 g1f3 b8c6", kGameLost, Word(10, 7), Word(10, 5), Word(0, 2)},
        {"e2e4 e7e5 g1f3 b8c6", kGameDrawn, Word(11, 6), Word(10, 5), Word(1, 1)},
        {"e2e4 e7e5 g1f3", kGameWon, Word(10, 5), Word(12, 5), 0},
        {"e2e4 e7e5 b1c3 b8c6", kGameWon, Word(12, 5), Word(10, 5), 0},
        {"e2e4", kGameWon, Word(10, 5), Word(10, 5), 0},
        {"", kGameWon, Word(10, 5), Word(10, 5), 0},
    };
    for (const auto& c : cases) {
        BookMaker maker;
        maker.Add("", {{"d2d4", Word(1, 1)}, {"e2e4", Word(10, 5)}});
        maker.Add("e2e4", {{"e7e5", Word(10, 5)}});
        maker.Add("e2e4 e7e5", {{"g1f3", 0}});
        Open(maker);
        PlayFromStart(c.game);
        const auto before = Board;
        BookLearn(c.outcome);
        EXPECT_EQ(BookLearnedThisGame, 1);
        EXPECT_EQ(before.GamePly, Board.GamePly);
        EXPECT_EQ(before.hash1, Board.hash1);
        EXPECT_EQ(std::memcmp(before.Piece, Board.Piece, sizeof Board.Piece), 0);
        EXPECT_EQ(Words(""), (std::vector<int>{Word(1, 1), c.start})) << c.game;
        EXPECT_EQ(Words("e2e4"), std::vector<int>{c.afterE4}) << c.game;
        EXPECT_EQ(Words("e2e4 e7e5"), std::vector<int>{c.afterE5}) << c.game;
    }
}

// A draw is credited where it was played: not in analysis, and not on a predicted move.
TEST_F(BookLearnTest, DrawsAreCreditedWherePlayed) {
    const struct {
        const char* game;
        int start, afterE3;  // words of e2e4 and a7a5
    } games[] = {
        {"e2e4 e7e5 g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8", Word(1, 1), 0},
        {"e2e3 a7a5 d1h5 a8a6 h5a5 h7h5 h2h4 a6h6 a5c7 f7f6 c7d7 e8f7 d7b7 d8d3 b7b8 "
         "d3h7 b8c8 f7g6 c8e6",
         0, Word(1, 1)},
    };
    const struct {
        bool bookAllowed;
        int ponderSearch, ponderProbe;
        bool credited;
    } cases[] = {{true, 0, 0, true},
                 {false, 0, 0, false},
                 {true, 1, 0, false},
                 {true, 1, 1, true}};
    ASSERT_TRUE(AllocateTranspositionTable(10));
    SettingsInForce.UseBookLearning = 1;
    for (const auto& game : games)
        for (const auto& c : cases) {
            BookMaker maker;
            maker.Add("", {{"e2e4", 0}});
            maker.Add("e2e3", {{"a7a5", 0}});
            Open(maker);
            PlayFromStart(game.game);
            Ponder.PonderSearch = c.ponderSearch;
            Ponder.PonderProbe = c.ponderProbe;
            testing::internal::CaptureStdout();
            EXPECT_TRUE(Search(10, c.bookAllowed));
            FlushOutput();
            Ponder.PonderSearch = Ponder.PonderProbe = 0;
            EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, 8), "1/2-1/2 ");
            EXPECT_EQ(Words("")[0], c.credited ? game.start : 0) << game.game;
            EXPECT_EQ(Words("e2e3")[0], c.credited ? game.afterE3 : 0) << game.game;
        }
}

// The front end says whose turn it is: twice in a row White's, and Black's after Black.
TEST_F(BookLearnTest, TheBoardSurvivesSidesThatWereSwitched) {
    BookMaker maker;
    maker.Add("", {{"e2e3", 0}});
    Open(maker);
    PlayFromStart("e2e3");
    Board.SideToMove = WHITE;
    PlayMoves("d2d4 a7a6");
    Board.SideToMove = BLACK;
    PlayMoves("b8c6");
    Board.SideToMove = BLACK;
    char before[kEpdSize], after[kEpdSize];
    WriteEpd(before);
    BookLearn(kGameWon);
    WriteEpd(after);
    EXPECT_STREQ(after, before);
    EXPECT_EQ(Words(""), std::vector<int>{Word(2, 0)});
}

TEST_F(BookLearnTest, CountsShrinkBeforeTheyOverflow) {
    const struct {
        int outcome;
        int before, after;  // of the move played
    } cases[] = {
        {kGameWon, Word(253, 30), Word(170, 20)},
        {kGameWon, Word(252, 30), Word(254, 30)},
        {kGameLost, Word(4, 254), Word(2, 170)},
        {kGameDrawn, Word(254, 100), Word(170, 67)},
        {kGameDrawn, Word(254, 254), Word(170, 170)},
        {kGameWon, Word(255, 0), Word(171, 0)},
        {kGameLost, 0xFFFF, 0xFFFF},
    };
    for (const auto& c : cases) {
        BookMaker maker;
        maker.Add("", {{"a2a3", 0xFFFF},
                       {"e2e4", c.before},
                       {"c2c4", 0},
                       {"d2d4", Word(100, 2)},
                       {"b2b3", Word(1, 0)}});
        Open(maker);
        PlayFromStart("e2e4 e7e5");
        BookLearn(c.outcome);
        const bool shrunk = c.after != Word(254, 30) && c.after != 0xFFFF;
        EXPECT_EQ(Words(""), (std::vector<int>{0xFFFF, c.after, 0,
                                               shrunk ? Word(66, 1) : Word(100, 2),
                                               shrunk ? 0 : Word(1, 0)}))
            << c.before;
    }
}

TEST_F(BookLearnTest, GamesLongerThanTheHistoryStack) {
    BookMaker maker;
    maker.Add("", {{"g1f3", 0}});
    Open(maker);
    PlayFromStart("");
    for (int i = 0; i < 500; ++i) PlayMoves("g1f3 g8f6 f3g1 f6g8");
    BookLearn(kGameDrawn);
    EXPECT_EQ(Board.GamePly + ArchivedPlies(), 2000);
    // The start position came 500 times with the move: the counts have shrunk on the way.
    EXPECT_EQ(MoveScore({0, 0, static_cast<std::uint16_t>(Words("")[0])}), 500);
}

TEST_F(BookLearnTest, BooksWithoutResultsStayAsTheyAre) {
    for (int version : {0, 2}) {
        BookMaker maker;
        maker.version = version;
        maker.Add("", {{"e2e4", 0}});
        Open(maker);
        PlayFromStart("e2e4 e7e5");
        BookLearn(kGameWon);
        EXPECT_EQ(scratch.Read("book"), maker.Image());
    }
}

#ifndef _WIN32

TEST_F(BookLearnTest, AFullDiskIsSaidInOneLine) {
    BookMaker maker;
    std::string longest(1021, '\0');
    longest[0] = '\xFF';
    for (int i = 0; i < 5; ++i)  // the lists that matter lie behind these
        maker.AddRaw(INT32_MIN, i, longest);
    maker.Add("", {{"e2e4", 0}});
    maker.Add("e2e4 e7e5", {{"g1f3", 0}});
    Open(maker);
    PlayFromStart("e2e4 e7e5 g1f3 g8f6");
    testing::internal::CaptureStdout();
    {
        const FileSizeLimit full(5000);
        BookLearn(kGameWon);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "# The book cannot be written: this game's result is lost\n");
    EXPECT_EQ(scratch.Read("book"), maker.Image());
    PlayFromStart("e2e4 e7e5 g1f3 g8f6");
    BookLearn(kGameWon);
    EXPECT_EQ(Words(""), std::vector<int>{2});
}

// The rules of crediting, written down once more: word[0] is the move played.
using ListWords = std::array<int, 3>;
void ModelCredit(ListWords& words, int outcome) {
    int f = words[0] & 255, a = words[0] >> 8;
    f += outcome == kGameWon ? 2 : outcome == kGameDrawn ? 1 : 0;
    a += outcome == kGameLost ? 2 : outcome == kGameDrawn ? 1 : 0;
    if (f >= 255 || a >= 255) {
        for (int& w : words)
            if (w != 0xFFFF) w = (w & 255) * 2 / 3 | (w >> 8) * 2 / 3 << 8;
        f = f * 2 / 3;
        a = a * 2 / 3;
    }
    words[0] = f | a << 8;
}

// Killed two hundred times while it learns: every result whose learning had ended is in
// the book, the one under way is in a list or not, and nothing else has changed.
TEST_F(BookLearnTest, NothingIsLostWhenKilled) {
    const std::string positions[2] = {"", "e2e4 e7e5"};
    BookMaker maker;
    maker.Add(positions[0], {{"e2e4", 0}, {"d2d4", Word(200, 100)}, {"c2c4", 0xFFFF}});
    maker.Add(positions[1], {{"g1f3", Word(3, 1)}, {"f1c4", Word(7, 254)}, {"d2d4", 0}});
    Open(maker);
    const std::string outside = scratch.Read("book").substr(0, 60);
    const auto read = [&](int i) {
        const std::vector<int> words = Words(positions[i]);
        return ListWords{words.at(0), words.at(1), words.at(2)};
    };
    std::mt19937 random(1);
    int learned = 0;
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        ListWords before[2] = {read(0), read(1)};
        PlayFromStart("e2e4 e7e5 g1f3 b8c6");
        const int calls = CallsUntilKilled([](int n) { BookLearn(n % 3); }, random);
        learned += calls;
        for (int i = 0; i < 2; ++i) {
            ListWords words = before[i];
            for (int n = 0; n < calls; ++n) ModelCredit(words, n % 3);
            ListWords next = words;
            ModelCredit(next, calls % 3);
            const ListWords found = read(i);
            EXPECT_TRUE(found == words || found == next) << round << " list " << i;
        }
        EXPECT_EQ(scratch.Read("book").substr(0, 60), outside);
    }
    EXPECT_GT(learned, 1000);
}

// Two engines play from one book: what either learns is in it.
TEST_F(BookLearnTest, TwoProgramsAtOnceLoseNothing) {
    BookMaker maker;
    maker.Add("", {{"e2e4", 0}, {"d2d4", Word(200, 100)}});
    maker.Add("e2e4 e7e5", {{"g1f3", Word(3, 1)}});
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        Open(maker);
        AtOnce([&](int) {
            OpenBook(scratch.Path("book").c_str());
            PlayFromStart("e2e4 e7e5 g1f3 b8c6");
            for (int n = 0; n < 20; ++n) BookLearn(kGameDrawn);
        });
        EXPECT_EQ(Words(""), (std::vector{Word(40, 40), Word(200, 100)}));
        EXPECT_EQ(Words("e2e4 e7e5"), std::vector{Word(43, 41)});
    }
}

#endif

}  // namespace
