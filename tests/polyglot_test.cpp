// Books in the format of Polyglot. The random numbers of its keys are another program's:
// here they are any numbers, and the real ones where a package that has them is
// installed.
#include <gtest/gtest.h>

#include <random>

#include "board/fen.h"
#include "board/notation.h"
#include "book/book.h"
#include "platform/bytes.h"
#include "platform/output.h"
#include "tests/bookmaker.h"
#include "tests/moves.h"
#include "tests/scratch.h"
#include "tools/bookcommands.h"
#include "tools/polyglotbook.h"
#include "tools/randomgames.h"

namespace {

PolyglotKeys AnyKeys() {
    PolyglotKeys keys;
    std::mt19937_64 random(1);
    for (std::uint64_t& key : keys) key = random();
    return keys;
}

int Word(int pointsFor, int against) { return pointsFor | against << 8; }

// A program's number in hexadecimal digits, as texts have it.
std::string HexText(std::uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llX,\n",
                  static_cast<unsigned long long>(value));
    return text;
}

class PolyglotTest : public ::testing::Test {
protected:
    // A .bin file's bytes for entries given as "game|move|weight", the move as its bits.
    struct Line {
        const char* game;
        int move, weight;
    };
    std::string Bin(const std::vector<Line>& lines) const {
        std::string bytes;
        for (const Line& line : lines) {
            PlayFromStart(line.game);
            const std::uint64_t key = PolyglotKey(keys);
            for (int shift = 56; shift >= 0; shift -= 8)
                bytes += static_cast<char>(key >> shift);
            for (const int word : {line.move, line.weight, 0, 0})
                bytes += {static_cast<char>(word >> 8), static_cast<char>(word)};
        }
        return bytes;
    }
    template <typename Work>
    std::string Run(Work work, const std::string& from, const std::string& to) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = work(scratch.Path(from), scratch.Path(to), keys, false);
        FlushOutput();
        const std::string output = testing::internal::GetCapturedStdout();
        return std::to_string(status) + ' ' + output +
               testing::internal::GetCapturedStderr();
    }
    // The moves of a position of the book, "e2e4 3:1" in the list's order.
    std::string Moves(const std::string& game) {
        PlayFromStart(game);
        BookFile book;
        OpenBookFile(book, scratch.Path("book").c_str());
        ReadBookHeader(book);
        BookRecord record;
        BookList list;
        list.count = 0;
        if (BookFind(book, BookKey1(Board.hash1, Board.SideToMove),
                     static_cast<std::int32_t>(Board.hash2), record))
            ReadBookList(book, record.list, list);
        CloseBookFile(book);
        std::string text;
        for (int i = 0; i < list.count; ++i) {
            const BookEntry& e = list.entries[i];
            text += text.empty() ? "" : ", ";
            text += MoveText(LegalMoveOf(e)) + ' ' + std::to_string(PointsFor(e.word)) +
                    ':' + std::to_string(PointsAgainst(e.word));
        }
        return text;
    }
    const PolyglotKeys keys = AnyKeys();
    Scratch scratch;
};

constexpr int Bits(int from, int to, int promotion = 0) {
    return to | from << 6 | promotion << 12;
}

constexpr char kBeforeCastling[] = "e2e4 e7e5 g1f3 b8c6 f1c4 g8f6";

TEST_F(PolyglotTest, ExportsWhatTheBookReaches) {
    BookMaker maker;
    maker.Add("", {{"d2d4", 0xFFFF}, {"e2e4", Word(200, 50)}, {"a2a3", 0}});
    maker.Add("e2e4", {{"e7e5", Word(3, 1)}, {"e7e4", 0}});
    maker.Add("e2e4 e7e5", {{"g1f3", 0}});
    maker.Add("e2e4 e7e5 g1f3", {{"b8c6", 0}});
    maker.Add("e2e4 e7e5 g1f3 b8c6", {{"f1c4", 0}});
    maker.Add("e2e4 e7e5 g1f3 b8c6 f1c4", {{"g8f6", 0}});
    maker.Add(kBeforeCastling, {{"e1g1", Word(7, 7)}});
    maker.Add("c2c4", {{"c7c5", 0}});
    scratch.Write("book", maker.Image());
    EXPECT_EQ(
        Run(ExportPolyglot, "book", "bin"),
        "0 " + scratch.Path("bin") +
            ": 7 positions, 9 moves; 1 positions were not reached from the start\n");
    // Entry by entry, sorted by another hand.
    std::vector<std::string> entries;
    for (const Line& line :
         std::initializer_list<Line>{{"", Bits(E2, E4), 200},
                                     {"", Bits(A2, A3), 1},
                                     {"", Bits(D2, D4), 0},
                                     {"e2e4", Bits(E7, E5), 3},
                                     {"e2e4 e7e5", Bits(G1, F3), 1},
                                     {"e2e4 e7e5 g1f3", Bits(B8, C6), 1},
                                     {"e2e4 e7e5 g1f3 b8c6", Bits(F1, C4), 1},
                                     {"e2e4 e7e5 g1f3 b8c6 f1c4", Bits(G8, F6), 1},
                                     {kBeforeCastling, Bits(E1, H1), 7}})
        entries.push_back(Bin({line}));
    std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return a.substr(0, 8) < b.substr(0, 8);
    });
    std::string expected;
    for (const std::string& entry : entries) expected += entry;
    EXPECT_TRUE(scratch.Read("bin") == expected);
    Run(ImportPolyglot, "bin", "book");
    EXPECT_EQ(Moves(""), "e2e4 20:0, a2a3 1:19, d2d4 255:255");
    EXPECT_EQ(Moves(kBeforeCastling), "e1g1 20:0");
}

TEST_F(PolyglotTest, ImportsEntriesInAnyOrderAndSaysWhatIsLost) {
    const std::string trap =
        "d2d4 d7d5 c2c4 e7e5 d4e5 d5d4 e2e3 f8b4 c1d2 d4e3 d2b4 e3f2 e1e2";
    std::vector<std::pair<std::string, int>> way;  // [game so far][move]
    std::string game;
    for (std::size_t at = 0; at < trap.size(); at += 5) {
        const std::string move = trap.substr(at, 4);
        way.push_back({game, Bits(move[0] - 'a' + 8 * (move[1] - '1'),
                                  move[2] - 'a' + 8 * (move[3] - '1'))});
        game += (game.empty() ? "" : " ") + move;
    }
    std::vector<Line> lines = {{trap.c_str(), Bits(F2, G1, 1), 9},  // to a knight
                               {trap.c_str(), Bits(F2, G1, 4), 3},
                               {"e2e4", Bits(E7, E5), 2},
                               {"c2c4", Bits(C7, C5), 2},  // reached by another move
                               {"e2e4 c7c5 g1f3", Bits(B8, C6), 2},
                               {"d2d4 d7d6 g1f3", Bits(B8, C6), 2},  // too far away
                               {"", Bits(E2, E4), 1000},
                               {"", Bits(E2, E5), 5},  // not legal
                               {"", 0, 5},
                               {"e2e4", Bits(C7, C5), 0}};
    for (const auto& [before, move] : way) lines.push_back({before.c_str(), move, 400});
    scratch.Write("bin", Bin(lines));
    EXPECT_EQ(
        Run(ImportPolyglot, "bin", "book"),
        "0 " + scratch.Path("book") +
            ": 17 positions, 19 moves, from 23 entries; 1 were not reached from the "
            "start, 2 are not legal\n");
    EXPECT_EQ(Moves(""), "e2e4 20:0, d2d4 8:12");
    EXPECT_EQ(Moves("e2e4"), "e7e5 20:0, c7c5 255:255");
    EXPECT_EQ(Moves(trap), "f2g1q 7:13");
    testing::internal::CaptureStdout();
    EXPECT_EQ(CheckBook(scratch.Path("book"), false), 0);
    FlushOutput();
    testing::internal::GetCapturedStdout();
}

// Hundreds of moves deep.
TEST_F(PolyglotTest, FollowsLongLines) {
    std::string pgn;
    for (std::uint32_t number = 0; number < 20; ++number)
        pgn += PgnOf(MakeRandomGame(number, 700), number);
    scratch.Write("games", pgn);
    testing::internal::CaptureStdout();
    BuildBook({scratch.Path("games")}, {}, scratch.Path("long"),
              {.maxPly = 600, .minGames = 1}, false);
    FlushOutput();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(Run(ExportPolyglot, "long", "bin")[0], '0');
    const std::string report = Run(ImportPolyglot, "bin", "book");
    EXPECT_EQ(report[0], '0');
    EXPECT_NE(report.find(" 0 are not legal"), std::string::npos) << report;
}

TEST_F(PolyglotTest, RefusesWhatIsNoBook) {
    const std::string good = Bin({{"", Bits(E2, E4), 1}});
    for (const std::string& bytes :
         {std::string(), good.substr(1), good + '\0', Bin({{"e2e4", Bits(E7, E5), 1}}),
          Bin({{"", Bits(E2, E5), 1}}), std::string(160, '\xFF')}) {
        scratch.Write("bin", bytes);
        EXPECT_EQ(Run(ImportPolyglot, "bin", "book")[0], '1');
        EXPECT_FALSE(std::filesystem::exists(scratch.Path("book")));
    }
    EXPECT_EQ(Run(ImportPolyglot, "none", "book")[0], '1');
    EXPECT_EQ(Run(ExportPolyglot, "none", "book")[0], '1');
}

// Only the numbers that give the published keys count, wherever they stand.
TEST_F(PolyglotTest, NumbersAreFoundInProgramsAndTexts) {
    PolyglotKeys found;
    std::string reason, program = "ELF", text = "0xFACE\n";
    for (const std::uint64_t key : keys) {
        for (int i = 0; i < 64; i += 8) program += static_cast<char>(key >> i);
        text += HexText(key);
    }
    scratch.Write("program", program);
    scratch.Write("text", text);
    scratch.Write("short", program.substr(0, 6000));
    for (const char* other : {"program", "text", "short", "none", "."})
        EXPECT_FALSE(FindPolyglotKeys(found, scratch.Path(other), reason)) << other;
    if (!FindPolyglotKeys(found, "", reason))
        GTEST_SKIP() << "neither polyglot nor xboard is installed";
    const PolyglotKeys real = found;
    program = text = "0x12";
    for (const std::uint64_t key : real) {
        for (int i = 0; i < 64; i += 8) program += static_cast<char>(key >> i);
        text += ", " + HexText(key);
    }
    for (const std::string& file : {program + "behind", text + "0x13"}) {
        scratch.Write("file", file);
        found = {};
        EXPECT_TRUE(FindPolyglotKeys(found, scratch.Path("file"), reason));
        EXPECT_EQ(found, real);
        scratch.Write("file", file.substr(file.size() / 2));
        EXPECT_FALSE(FindPolyglotKeys(found, scratch.Path("file"), reason));
    }
}

}  // namespace
