// The opening book: messages, look-up, choice of moves, and files that are damaged.
#include "book/book.h"
#include "board/notation.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "board/fen.h"
#include "driver/settings.h"
#include "platform/output.h"
#include "tests/bookmaker.h"
#include "tests/moves.h"
#include "tests/scratch.h"

namespace {

class BookTest : public ::testing::Test {
protected:
    void SetUp() override {
        SettingsInForce.UseBookLearning = SettingsInForce.UseBookWeights = 1;
        SettingsInForce.BookLearningMode = 0;
        SettingsInForce.VarietyOfPlay = 10;
        PlayFromStart("");
    }
    void TearDown() override { CloseBook(); }

    // What opening a file with this content says.
    std::string Open(const std::string& image) {
        scratch.Write("book", image);
        return OpenNamed(scratch.Path("book"));
    }
    static std::string OpenNamed(const std::string& name) {
        testing::internal::CaptureStdout();
        OpenBook(name.c_str());
        return testing::internal::GetCapturedStdout();
    }
    static std::string Listing() {
        testing::internal::CaptureStdout();
        BookListMoves();
        return testing::internal::GetCapturedStdout();
    }
    // How often each move is chosen in 3000 probes.
    static std::map<std::string, int> Chosen() {
        std::map<std::string, int> times;
        SeedRandom(7);
        for (int i = 0; i < 3000; ++i) ++times[MoveText(BookProbe())];
        return times;
    }
    Scratch scratch;
};

int Word(int pointsFor, int against) { return pointsFor | against << 8; }

TEST_F(BookTest, OpeningReportsEachKindOfFile) {
    BookMaker maker;
    EXPECT_EQ(Open(maker.Image()), "0 nodes in openings book\n");
    EXPECT_EQ(BookLoaded, 1);
    EXPECT_EQ(BookProbe(), NO_MOVE);
    EXPECT_EQ(OpenNamed(scratch.Path("none")), "Error opening \"book.vlx\"!\n");
    EXPECT_EQ(BookLoaded, 0);
    EXPECT_EQ(Open("~Veltramox openings bool" + std::string(12, '\0')),
              "Invalid book format\n");
    EXPECT_EQ(Open(""), "Invalid book format\n");
    EXPECT_EQ(Open(maker.Image().substr(0, 35)), "Invalid book format\n");
    EXPECT_EQ(OpenNamed(scratch.directory.string()).substr(0, 7), "Invalid");
    maker.version = 2;
    EXPECT_EQ(Open(maker.Image()), "Book version 2 not supported\n");
    EXPECT_EQ(BookLoaded, 0);
    EXPECT_EQ(SettingsInForce.UseBookLearning, 1);
    maker.version = 0;
    EXPECT_EQ(Open(maker.Image()),
              "NG: Book learning not supported for book version 0\n"
              "0 nodes in openings book\n");
    EXPECT_EQ(BookLoaded, 1);
    EXPECT_EQ(SettingsInForce.UseBookLearning, 0);
    EXPECT_EQ(SettingsInForce.UseBookWeights, 0);
}

TEST_F(BookTest, ChoiceFollowsTheModeAndTheResults) {
    BookMaker maker;
    maker.Add("", {{"a2a3", 0xFFFF},
                   {"e2e4", Word(8, 2)},
                   {"d2d4", Word(6, 4)},
                   {"c2c4", Word(30, 70)}});
    Open(maker.Image());
    EXPECT_EQ(Chosen().size(), 1u);
    EXPECT_EQ(Chosen()["e2e4"], 3000);

    SettingsInForce.VarietyOfPlay = 50;
    std::map<std::string, int> chosen = Chosen();
    EXPECT_EQ(chosen.size(), 2u);
    EXPECT_NEAR(chosen["d2d4"], 1500, 150);

    SettingsInForce.BookLearningMode = 1;  // least games, then the better score
    EXPECT_EQ(Chosen()["e2e4"], 3000);
    SettingsInForce.BookLearningMode = 0;

    for (int weights : {0, 1}) {  // any usable move
        SettingsInForce.UseBookWeights = weights;
        SettingsInForce.VarietyOfPlay = 100;
        chosen = Chosen();
        EXPECT_EQ(chosen.size(), 3u);
        for (const char* move : {"e2e4", "d2d4", "c2c4"})
            EXPECT_NEAR(chosen[move], 1000, 120);
    }
}

TEST_F(BookTest, MovesWithoutGamesScoreHalf) {
    BookMaker maker;
    maker.Add("", {{"e2e4", Word(45, 55)}, {"d2d4", 0}, {"c2c4", Word(44, 56)}});
    Open(maker.Image());
    const auto chosen = Chosen();  // the threshold is 450
    EXPECT_EQ(chosen.size(), 2u);
    EXPECT_EQ(chosen.count("c2c4"), 0u);
    SettingsInForce.BookLearningMode = 1;
    EXPECT_EQ(MoveText(BookProbe()), "d2d4");
}

TEST_F(BookTest, AllMovesLostOrRemoved) {
    BookMaker maker;
    maker.Add("", {{"e2e4", Word(0, 9)}, {"d2d4", Word(0, 2)}});
    maker.Add("e2e4", {{"e7e5", 0xFFFF}});
    Open(maker.Image());
    PlayFromStart("");
    EXPECT_EQ(Chosen().size(), 2u);
    PlayFromStart("e2e4");
    EXPECT_EQ(BookProbe(), NO_MOVE);
}

TEST_F(BookTest, TheSideToMoveIsPartOfTheKey) {
    BookMaker maker;
    maker.Add("e2e3 e7e6 e3e4",
              {{"d7d5", 0}});  // the men as after e2e4 e7e6, Black to move
    Open(maker.Image());
    PlayFromStart("e2e4 e7e6");
    EXPECT_EQ(BookProbe(), NO_MOVE);
    PlayFromStart("e2e4 e7e5");
    EXPECT_EQ(BookProbe(), NO_MOVE);
    PlayFromStart("e2e3 e7e6 e3e4");
    EXPECT_EQ(MoveText(BookProbe()), "d7d5");
}

TEST_F(BookTest, ListsTheMoves) {
    BookMaker maker;
    maker.Add(
        "", {{"e2e4", Word(3, 1)}, {"d2d4", 0}, {"g1f3", 0xFFFF}, {"c2c4", Word(0, 5)}});
    Open(maker.Image());
    EXPECT_EQ(Listing(),
              "4 moves from current pos in book:\n"
              "e2e4 75% (not less than 2 game(s))\nd2d4 ?\ng1f3 -\n"
              "c2c4 0% (not less than 2 game(s))\n");
    PlayFromStart("a2a3");
    EXPECT_EQ(Listing(), "No moves from current pos in book\n");
}

TEST_F(BookTest, VersionZeroHasFlagsInsteadOfResults) {
    BookMaker maker;
    maker.version = 0;
    maker.Add("", {{"e2e4", 255}, {"d2d4", 0}, {"c2c4", 7}});
    Open(maker.Image());
    EXPECT_EQ(Chosen().size(), 2u);
    EXPECT_EQ(Listing(), "3 moves from current pos in book:\ne2e4 255\nd2d4 0\nc2c4 7\n");
}

TEST_F(BookTest, OnlyLegalMovesArePlayed) {
    BookMaker maker;
    maker.Add("", {{"e2e5", 0}});
    maker.Add("a2a3", {{"e2e4", 0}});            // the other side's man
    maker.Add("e2e4 f7f6 d1h5", {{"a7a6", 0}});  // leaves the king in check
    maker.Add("e2e4 e7e5", {{"e1g1", 0}});
    Open(maker.Image());
    for (const char* game : {"", "a2a3", "e2e4 f7f6 d1h5", "e2e4 e7e5"}) {
        PlayFromStart(game);
        EXPECT_EQ(BookProbe(), NO_MOVE) << game;
    }
}

TEST_F(BookTest, SpecialMovesComeAsTheirWords) {
    BookMaker maker;
    maker.Add("e2e4 a7a6 e4e5 d7d5", {{"e5d6", 0}});
    maker.Add("g1f3 a7a6 g2g3 b7b6 f1g2 c7c6", {{"e1g1", 0}});
    Open(maker.Image());
    PlayFromStart("e2e4 a7a6 e4e5 d7d5");
    EXPECT_EQ(BookProbe(), LegalMove("e5d6"));
    PlayFromStart("g1f3 a7a6 g2g3 b7b6 f1g2 c7c6");
    EXPECT_EQ(BookProbe(), CASTLE_WHITE_SHORT);
    ASSERT_TRUE(SetFen("8/P7/8/8/8/8/k1K5/8 w - -"));
    BookMaker promotion;
    promotion.AddRaw(BookKey1(Board.hash1, WHITE), static_cast<std::int32_t>(Board.hash2),
                     std::string("\x01\x30\x38\x00\x00", 5));
    Open(promotion.Image());
    EXPECT_EQ(BookProbe(), MakeWord(A7, A8, PAWN, EMPTY, QUEEN));
}

// Offsets, counts and squares that lie: nothing is found, nothing is read out of bounds.
TEST_F(BookTest, DamagedBooksYieldNothing) {
    BookMaker maker;
    maker.Add("", {{"e2e4", 0}, {"d2d4", 0}});
    maker.Add("e2e4", {{"e7e5", 0}});
    const std::string good = maker.Image();
    PlayFromStart("");
    Open(good);
    ASSERT_NE(BookProbe(), NO_MOVE);
    BookRecord record;
    ASSERT_TRUE(BookFind(Book, BookKey1(Board.hash1, WHITE),
                         static_cast<std::int32_t>(Board.hash2), record));
    ASSERT_TRUE(ReadBookRecord(Book, 0, record));
    const std::size_t recordAt = record.key1 == BookKey1(Board.hash1, WHITE) ? 36 : 48;

    const auto with = [&good](std::size_t at, const std::string& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    const std::string noMoves = "No moves from current pos in book\n";
    for (const std::uint32_t offset : {0u, 36u, 59u, 1000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        Open(with(recordAt + 8, Bytes32(offset)));
        EXPECT_EQ(BookProbe(), NO_MOVE) << offset;
        EXPECT_EQ(Listing(), noMoves) << offset;
    }
    for (std::size_t size = 36; size < good.size(); ++size) {
        Open(good.substr(0, size));
        const Move m = BookProbe();
        EXPECT_TRUE(m == NO_MOVE || LegalMove(MoveText(m)) == m);
        Listing();
    }
    for (const std::uint32_t nodes : {1u, 3u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        Open(with(32, Bytes32(nodes)));
        BookProbe();
        Listing();
    }
    const std::size_t list = good.size() - 9 - 5 + (recordAt == 36 ? 0 : 5);
    ASSERT_EQ(good[list], 2);
    EXPECT_EQ((Open(with(list, "\xFF")), BookProbe()), NO_MOVE);
    EXPECT_EQ((Open(with(list + 1, "\xFF\xFF\x01\x01\x40\x01")), BookProbe()), NO_MOVE);
}

// Any bytes at all behind a good header.
TEST_F(BookTest, RandomBytesYieldLegalMovesOrNone) {
    SeedRandom(1);
    for (int round = 0; round < 300; ++round) {
        BookMaker maker;
        maker.Add("", {{"e2e4", 0}, {"d2d4", 0}});
        std::string image = maker.Image();
        for (int i = 0; i < 1 + round / 30; ++i)
            image[static_cast<std::size_t>(RandomNumber()) % image.size()] =
                static_cast<char>(RandomNumber());
        PlayFromStart("");
        Open(image);
        const Move m = BookProbe();
        EXPECT_TRUE(m == NO_MOVE || LegalMove(MoveText(m)) == m);
        Listing();
    }
}

TEST_F(BookTest, TheGeneratorIsTheDocumentedOne) {
    SeedRandom(1);
    const int expected[] = {41, 18467, 6334, 26500, 19169};
    for (const int number : expected) EXPECT_EQ(RandomNumber(), number);
}

}  // namespace
