// The companion program's commands: what they write, and what they find in damaged files.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "board/notation.h"
#include "book/book.h"
#include "book/learnfile.h"
#include "book/statistics.h"
#include "platform/bytes.h"
#include "platform/output.h"
#include "tests/bookmaker.h"
#include "tests/moves.h"
#include "tests/scratch.h"
#include "tools/bookcommands.h"
#include "tools/learncommands.h"
#include "tools/randomgames.h"
#include "tools/statscommands.h"

namespace {

int Word(int pointsFor, int against) { return pointsFor | against << 8; }

// Runs a command; its status in front of what it wrote.
template <typename Command>
std::string OutputOf(Command command) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = command();
    FlushOutput();
    const std::string output = testing::internal::GetCapturedStdout();
    return std::to_string(status) + ' ' + output + testing::internal::GetCapturedStderr();
}

class ToolTest : public ::testing::Test {
protected:
    std::string Build(const std::string& pgn, const std::string& lines,
                      const BuildOptions& options) {
        scratch.Write("games.pgn", pgn);
        scratch.Write("lines.txt", lines);
        return OutputOf([&] {
            return BuildBook({scratch.Path("games.pgn")}, {scratch.Path("lines.txt")},
                             scratch.Path("book"), options, false);
        });
    }
    // The moves of a position of the book, "e2e4 3:1" in the list's order.
    std::string Moves(const std::string& game, const std::string& book = "book") {
        PlayFromStart(game);
        testing::internal::CaptureStdout();
        OpenBook(scratch.Path(book).c_str());
        testing::internal::GetCapturedStdout();
        BookList list;
        std::string text;
        if (!ReadPositionList(list)) list.count = 0;
        for (int i = 0; i < list.count; ++i) {
            const BookEntry& e = list.entries[i];
            char move[kMoveTextSize];
            MoveToTextWithoutPromotion(move, MakeWord(e.from, e.to, EMPTY, EMPTY));
            text += std::string(text.empty() ? "" : ", ") + move + ' ' +
                    (e.word == kRemovedWord ? "removed"
                                            : std::to_string(PointsFor(e.word)) + ':' +
                                                  std::to_string(PointsAgainst(e.word)));
        }
        CloseBook();
        return text;
    }
    std::string Check() {
        return OutputOf([&] { return CheckBook(scratch.Path("book"), false); });
    }
    Scratch scratch;
};

TEST_F(ToolTest, ABookOfGamesCountsTheirResults) {
    const std::string white = "[Result \"1-0\"]\n", black = "[Result \"0-1\"]\n",
                      drawn = "[Result \"1/2-1/2\"]\n", open = "[Result \"*\"]\n";
    const std::string pgn = white + "1. e4 e5 2. Nf3 1-0\n\n" + black +
                            "1. e4 e5 0-1\n\n" + drawn + "1. e4 c5 1/2-1/2\n\n" + open +
                            "1. d4 d5 *\n\n" + white + "1. e4 Qd5 1-0\n\n" +
                            "[FEN \"8/8/8/8/8/8/8/K1k5 w - - 0 1\"]\n1. Ka2 *\n";
    EXPECT_EQ(Build(pgn, "", {.maxPly = 24, .minGames = 1}).substr(0, 2), "0 ");
    EXPECT_EQ(Moves(""), "e2e4 5:3, d2d4 0:0");
    EXPECT_EQ(Moves("e2e4"), "e7e5 2:2, c7c5 1:1");
    EXPECT_EQ(Moves("e2e4 e7e5"), "g1f3 2:0");
    EXPECT_EQ(Check().substr(0, 2), "0 ");

    const std::string report = Build(pgn, "", {.maxPly = 1, .minGames = 2});
    EXPECT_EQ(report, "0 " + scratch.Path("book") +
                          ": 1 positions, 1 moves, from 6 games and 0 lines\n"
                          "0 games were read only in part, 1 skipped for their own start "
                          "position\n");
    EXPECT_EQ(Moves(""), "e2e4 5:3");
}

TEST_F(ToolTest, ABookOfGamesWithoutMoveNumbers) {
    Build("[Result \"1-0\"]\n\ne4 e5 Nf3 Nc6 1-0\n\n[Result \"0-1\"]\nNf3 Nf6 Ng1 0-1\n",
          "", {.maxPly = 24, .minGames = 1});
    EXPECT_EQ(Moves(""), "g1f3 0:2, e2e4 2:0");
    EXPECT_EQ(Moves("e2e4 e7e5 g1f3"), "b8c6 0:2");
    EXPECT_EQ(Moves("g1f3 g8f6"), "f3g1 0:2");
}

TEST_F(ToolTest, ManyGamesAreScaledBelowTheLimit) {
    std::string pgn;
    for (int i = 0; i < 1000; ++i)
        pgn += std::string(i % 4 == 0 ? "[Result \"0-1\"]" : "[Result \"1-0\"]") +
               "\n1. e4 e5\n";
    for (int i = 0; i < 10; ++i) pgn += "[Result \"1-0\"]\n1. d4\n";
    Build(pgn, "", {});
    EXPECT_EQ(Moves(""), "e2e4 254:85, d2d4 20:0");
    EXPECT_EQ(Moves("e2e4"), "e7e5 85:254");
}

TEST_F(ToolTest, OpeningLinesAreKeptWithoutGames) {
    EXPECT_EQ(Build("[Result \"1-0\"]\n1. d4 d5\n",
                    "# comment\n\nGame: King's Gambit: 1. e4 e5 2.f4! exf4 # taken\r\n"
                    "Grob: 1. g4? d5!?\nEnglish: 1... c4\nPolish: b4 ?!\n",
                    {})
                  .substr(0, 2),
              "1 ");  // "?!" alone is no move
    Build("[Result \"1-0\"]\n1. d4 d5\n",
          "# comment\n\nGame: King's Gambit: 1. e4 e5 2.f4! exf4 # taken\r\n"
          "Grob: 1. g4? d5!?\nEnglish: 1. c4\nPolish: b4?!",
          {.maxPly = 24, .minGames = 2});
    EXPECT_EQ(Moves(""), "b2b4 removed, c2c4 0:0, e2e4 0:0, g2g4 removed");
    EXPECT_EQ(Moves("e2e4 e7e5 f2f4"), "e5f4 0:0");
    EXPECT_EQ(Moves("g2g4"), "d7d5 0:0");
    const std::string bad = Build("", "A: 1. e4\nB: 1. e4 e4\n", {});
    EXPECT_EQ(bad, "1 veltramox-tool: " + scratch.Path("lines.txt") +
                       ":2: \"e4\" is not one legal move\n");
}

// The same statistics from 300 random games by the plainest means.
// The trap of the Albin Counter-Gambit: a queen on g1 would be taken.
TEST_F(ToolTest, BooksHoldNoPromotionsButToAQueen) {
    const std::string trap =
        "1. d4 d5 2. c4 e5 3. dxe5 d4 4. e3 Bb4+ 5. Bd2 dxe3 6. Bxb4 exf2+ 7. Ke2 ";
    const std::string line =
        "d2d4 d7d5 c2c4 e7e5 d4e5 d5d4 e2e3 f8b4 c1d2 d4e3 d2b4 e3f2 e1e2";
    const std::string pgn = "[Result \"0-1\"]\n" + trap + "fxg1=N+ 8. Ke1 0-1\n";
    Build(pgn + "[Result \"1-0\"]\n" + trap + "fxg1=Q 8. Qxd8+ 1-0\n",
          trap + "fxg1=N+ 8. Rxg1", {.maxPly = 24, .minGames = 1});
    EXPECT_EQ(Moves(line), "f2g1 0:2");
    EXPECT_EQ(Moves(line + " f2g1n"), "e2e1 0:2, h1g1 0:0");
    Build(pgn, trap + "fxg1=N+", {.maxPly = 24, .minGames = 1});
    EXPECT_EQ(Moves(line), "");
}

TEST_F(ToolTest, AgreesWithASimpleCount) {
    std::string pgn;
    std::map<std::string, std::map<std::string, int>> games;  // [position][move]
    for (std::uint32_t number = 0; number < 300; ++number) {
        const RandomGame game = MakeRandomGame(number, 12);
        pgn += PgnOf(game, number);
        // Played again from the board's own history.
        const int plies = Board.GamePly;
        std::string line;
        SetStartPosition();
        for (int ply = 0; ply < plies && ply < 8; ++ply) {
            const Move m = Board.MoveHistory[ply];
            ++games[std::to_string(Board.hash1) + ' ' + std::to_string(Board.hash2) +
                    ' ' + std::to_string(Board.SideToMove)][MoveText(m).substr(0, 4)];
            MakeMove(m);
        }
    }
    Build(pgn, "", {.maxPly = 8, .minGames = 2});
    std::size_t moves = 0, positions = 0;
    for (auto& [key, list] : games) {
        std::erase_if(list, [](const auto& entry) { return entry.second < 2; });
        moves += list.size();
        positions += list.empty() ? 0 : 1;
    }
    PlayFromStart("");
    std::set<std::string> expected, found;
    for (const auto& [text, count] :
         games[std::to_string(Board.hash1) + ' ' + std::to_string(Board.hash2) + " 0"])
        expected.insert(text);
    const std::string listed = Moves("");
    for (std::size_t at = 0; at < listed.size(); at = listed.find(", ", at) + 2) {
        found.insert(listed.substr(at, 4));
        if (listed.find(", ", at) == std::string::npos) break;
    }
    EXPECT_EQ(found, expected);
    EXPECT_NE(Check().find(std::to_string(positions) + " positions, " +
                           std::to_string(moves) + " moves"),
              std::string::npos);
}

TEST_F(ToolTest, DumpsAsTextAndJson) {
    BookMaker maker;
    maker.Add("", {{"e2e4", Word(3, 1)}, {"d2d4", 0xFFFF}});
    maker.AddRaw(77, 78, std::string("\x01\x0C\x1C\x00\x00", 5));
    scratch.Write("book", maker.Image());
    const std::string name = scratch.Path("book");
    EXPECT_EQ(OutputOf([&] { return DumpBook(name, "", false); }),
              "0 " + name +
                  ": version 1, 2 positions\nstart\n"
                  "  rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\n"
                  "  keys deea69cd 9b8639e0, list at 60\n"
                  "  e2e4 e4       75.0%  for 3, against 1\n"
                  "  d2d4 d4      removed\n"
                  "position not reached\n  keys 0000004d 0000004e, list at 69\n"
                  "  e2e4         not yet played\n");
    const char* const fen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";
    const std::string json = OutputOf([&] { return DumpBook(name, fen, true); });
    EXPECT_NE(json.find("  \"moves\": [\n    {\n      \"move\": \"e2e4\",\n"
                        "      \"san\": \"e4\",\n      \"removed\": false,\n"
                        "      \"for\": 3,\n      \"against\": 1,\n      \"score\": 750\n"
                        "    },\n"),
              std::string::npos)
        << json;
    EXPECT_EQ(OutputOf([&] { return DumpBook(name, "8/8/8/8/8/8/8/K1k5 w - -", false); }),
              "1 veltramox-tool: the position is not in the book\n");
}

TEST_F(ToolTest, MergedBooksAddUp) {
    BookMaker a, b;
    a.Add("", {{"e2e4", Word(100, 50)}, {"d2d4", 0xFFFF}, {"a2a3", Word(1, 1)}});
    a.Add("e2e4", {{"e7e5", 0}});
    b.version = 0;
    b.Add("", {{"d2d4", 0}, {"e2e4", 0}, {"a2a3", 255}});
    b.Add("d2d4", {{"d7d5", 0}});
    BookMaker c;
    c.Add("", {{"e2e4", Word(200, 10)}});
    scratch.Write("a", a.Image());
    scratch.Write("b", b.Image());
    scratch.Write("c", c.Image());
    const auto merge = [&](const char* x, const char* y, const char* z) {
        return OutputOf([&] {
            return MergeBooks(scratch.Path(x), scratch.Path(y), scratch.Path(z), false);
        });
    };
    EXPECT_EQ(merge("a", "b", "ab"), "0 " + scratch.Path("ab") + ": 3 positions\n");
    EXPECT_EQ(Moves("", "ab"), "e2e4 100:50, d2d4 removed, a2a3 removed");
    EXPECT_EQ(Moves("e2e4", "ab"), "e7e5 0:0");
    EXPECT_EQ(Moves("d2d4", "ab"), "d7d5 0:0");
    merge("c", "a", "book");
    EXPECT_EQ(Moves(""), "e2e4 254:51, d2d4 removed, a2a3 1:1");
    EXPECT_EQ(Check().substr(0, 2), "0 ");
    scratch.Write("c", c.Image().substr(0, 50));
    EXPECT_EQ(merge("a", "c", "none").substr(0, 2), "1 ");
    EXPECT_FALSE(std::filesystem::exists(scratch.Path("none")));
}

TEST_F(ToolTest, CheckingFindsEveryKindOfDamage) {
    BookMaker maker;
    maker.Add("", {{"e2e4", 0}, {"d2d4", 0}});
    maker.Add("e2e4", {{"e7e5", 0}});
    const std::string good = maker.Image();  // index at 36, lists at 60
    const std::size_t start = good[60] == 2 ? 60 : 65;
    const auto with = [&good](std::size_t at, const std::string& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    const struct {
        std::string image, finding;
    } cases[] = {
        {good, ""},
        {"", "at 0: the header is not a book's"},
        {with(24, "\x05"), "at 24: version 5 is not known"},
        {with(32, Bytes32(9)), "at 32: 9 positions do not fit"},
        {with(36, good.substr(48, 12) + good.substr(36, 12)),
         "at 48: record 1 is out of order"},
        {with(48, good.substr(36, 12)), "record 1 is out of order"},
        {with(44, Bytes32(30)), "at 44: record 0: its list at 30 is not within"},
        {with(44, Bytes32(1000)), "at 44: record 0: its list at 1000 is not within"},
        {with(44, good.substr(56, 4)), "overlaps"},
        {with(start + 1, "\x40"), "square beyond the board: 64 to 28"},
        {with(start + 1, "\x1C"), "from a square to itself: 28"},
        {with(start + 5, "\x0C\x1C"), "move listed before"},
        {with(start + 2, "\x25"), "e2f5 is not legal after no move"},
        {good.substr(0, good.size() - 1), "is not within the file's lists"},
    };
    for (const auto& c : cases) {
        scratch.Write("book", c.image);
        const std::string report = Check();
        EXPECT_EQ(report[0], c.finding.empty() ? '0' : '1') << report;
        EXPECT_NE(report.find(c.finding), std::string::npos) << c.finding << "\n"
                                                             << report;
    }
}

// A king that has moved and come back: castling is in the list for the other way there.
TEST_F(ToolTest, CheckingTriesEveryWayToAPosition) {
    const std::string way = "Way: 1. Nf3 Nf6 2. g3 g6 3. Bg2 Bg7 4. ";
    for (const char* order : {"ab", "ba"}) {
        std::string lines;
        for (const char c : std::string(order))
            lines +=
                way + (c == 'a' ? "a3 a6 5. b3 b6 6. Rf1 d6 7. Rg1 c6 8. Rh1 Nfd7\n"
                                : "a3 a6 5. b3 b6 6. Nd4 d6 7. Nf3 c6 8. O-O Nfd7\n");
        EXPECT_EQ(Build("", lines, {}).substr(0, 2), "0 ") << lines;
        EXPECT_EQ(Check().substr(0, 2), "0 ") << Check();
    }
}

// The whole report for other programs, of a file whose name needs escapes.
TEST_F(ToolTest, DamageAsJson) {
    const std::string name = scratch.Path("a \"book\"\n");
    const std::string escaped = scratch.Path("a \\\"book\\\"\\n");
    BookMaker maker;
    maker.Add("", {{"e2e4", 0}, {"e2e4", 0}});
    scratch.Write("a \"book\"\n", maker.Image());
    EXPECT_EQ(OutputOf([&] { return CheckBook(name, true); }),
              "1 {\n  \"file\": \"" + escaped +
                  "\",\n  \"good\": false,\n  \"positions\": 1,\n  \"moves\": 2,\n"
                  "  \"reached\": 1,\n  \"problemCount\": 1,\n  \"problems\": [\n    {\n"
                  "      \"offset\": 53,\n"
                  "      \"problem\": \"move listed before in the same list\"\n"
                  "    }\n  ]\n}\n");
    scratch.Write("a \"book\"\n", kLearnMagic + std::string(10, '\0'));
    EXPECT_EQ(OutputOf([&] { return CheckLearning(name, true); }),
              "1 {\n  \"file\": \"" + escaped +
                  "\",\n  \"good\": false,\n  \"records\": 0,\n"
                  "  \"unreachableBytes\": 0,\n  \"problemCount\": 1,\n"
                  "  \"problems\": [\n    {\n      \"offset\": 33,\n"
                  "      \"problem\": \"the buckets are cut off\"\n    }\n  ]\n}\n");
}

class LearnToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        file = OpenOrCreateLearnFile(scratch.Path("learn").c_str());
        for (std::uint32_t n = 1; n <= 5; ++n) Add(n << 16 | 3, n);
        Add(0xABCD0004, 9);
        CloseFile(file);
    }
    void Add(std::uint32_t hash1, std::uint32_t hash2) {
        LearnRecord record;
        const LearnPlace place = FindLearnRecord(file, hash1, hash2, record);
        const int score = -static_cast<int>(hash2);
        WriteLearnRecord(file, place, {510, score, 0x370C, hash1, hash2, 0});
    }
    std::string Check() {
        return OutputOf([&] { return CheckLearning(scratch.Path("learn"), false); });
    }
    std::string Dump() {
        return OutputOf([&] { return DumpLearning(scratch.Path("learn"), false); });
    }
    std::string Compact() {
        return OutputOf(
            [&] { return CompactLearning(scratch.Path("learn"), "", false); });
    }
    Scratch scratch;
    FileHandle file = nullptr;
};

TEST_F(LearnToolTest, ShowsAndChecksWhatWasLearned) {
    EXPECT_EQ(Check(), "0 " + scratch.Path("learn") +
                           ": 6 records, 0 bytes that no bucket leads to: good\n");
    const std::string dump = Dump();
    EXPECT_EQ(dump.substr(0, 2 + 68),
              "0 00010003 00000001  e2e4  score -1  depth 510 (8 plies)  at 262167\n00");
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 6);
    EXPECT_NE(
        OutputOf([&] { return DumpLearning(scratch.Path("learn"), true); })
            .find("{\n      \"hash1\": 2882338820,\n      \"hash2\": 9,\n"
                  "      \"move\": \"e2e4\",\n      \"score\": -9,\n"
                  "      \"depth\": 510,\n      \"offset\": 262287\n    }\n  ]\n}\n"),
        std::string::npos);
}

TEST_F(LearnToolTest, FindsDamageAndCompactsItAway) {
    const std::string good = scratch.Read("learn");
    const std::size_t records = kLearnRecordsAt;
    const auto with = [&good](std::size_t at, const std::string& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    const struct {
        std::string content, finding;
        std::size_t left;  // records after compacting
    } cases[] = {
        {with(records + 20, Bytes32(7)), "at 262187: the link to 7 leads into the header",
         2},
        {with(records + 44, Bytes32(262167)), "the link to 262167 leads back", 3},
        {with(records + 20, Bytes32(9000000)), "leads behind the file's end", 2},
        {with(records + 20, Bytes32(records + 120)), "a record of another bucket", 2},
        {with(records + 24 + 12, Bytes32(0x10003) + Bytes32(1)), "has an earlier record",
         5},
        {with(records + 4, Bytes32(50000)), "no search has the score 50000", 6},
        {with(records, Bytes32(0)), "no search has the depth 0", 6},
        {with(records + 8, Bytes32(0)), "not a move", 6},
        {good + "torn", "", 6},
    };
    for (const auto& c : cases) {
        scratch.Write("learn", c.content);
        const std::string report = Check();
        EXPECT_EQ(report[0], c.finding.empty() ? '0' : '1') << report;
        EXPECT_NE(report.find(c.finding), std::string::npos) << c.finding << "\n"
                                                             << report;
        EXPECT_EQ(Compact()[0], '0');
        EXPECT_EQ(scratch.Read("learn").size(), kLearnRecordsAt + 24 * c.left)
            << c.finding;
        const std::string after = Check();
        EXPECT_EQ(after.find("link"), std::string::npos) << after;
        EXPECT_NE(after.find(" 0 bytes"), std::string::npos) << after;
    }
    for (const std::string& content :
         {std::string("Veltramox"), std::string(300000, 'x')}) {
        scratch.Write("learn", content);
        EXPECT_EQ(Check()[0], '1');
        EXPECT_EQ(Compact()[0], '1');
        EXPECT_EQ(scratch.Read("learn"), content);
    }
}

class StatisticsToolTest : public ::testing::Test {
protected:
    // A file with these counts: pair, draws, wins and losses.
    struct Counts {
        int own, other, values[3];
    };
    std::string File(const std::string& name, const std::vector<Counts>& all) {
        std::string file(kStatisticsSize, '\0');
        for (const Counts& c : all)
            for (std::size_t r = 0; r < 3; ++r) {
                const auto at = static_cast<std::size_t>(c.own * kSignatures + c.other);
                Put16be(reinterpret_cast<std::uint8_t*>(&file[6 * at + 2 * r]),
                        static_cast<std::uint16_t>(c.values[r]));
            }
        scratch.Write(name, file);
        return scratch.Path(name);
    }
    static std::string Query(const std::string& file, const char* materials) {
        return OutputOf([&] { return QueryStatistics(file, materials, false); });
    }
    static constexpr int kRook = 2, kRookPawn = 74, kLight = 36, kDark = 18;
    Scratch scratch;
};

TEST_F(StatisticsToolTest, QueriesSeeBothSidesAndAnyBishop) {
    const std::string file = File("a", {{kRookPawn, kRook, {1, 2, 3}},
                                        {kRook, kRookPawn, {10, 20, 30}},
                                        {kRook, kRook, {4, 5, 6}},
                                        {kLight, kDark, {1, 1, 0}},
                                        {kDark, kLight, {0, 2, 1}},
                                        {kLight, kRook, {0, 7, 0}},
                                        {647, 647, {0, 1, 0}}});
    const struct {
        const char *materials, *report;
    } cases[] = {
        {"KRP KR",
         "0 KRP to move                  6 games: 2 won, 1 drawn, 3 lost, 41.7%\n"
         "KR to move                   60 games: 30 won, 10 drawn, 20 lost, 58.3%\n"
         "together                     66 games: 32 won, 11 drawn, 23 lost, 56.8%\n"},
        {" r pr",
         "0 r to move                    60 games: 20 won, 10 drawn, 30 lost, 41.7%\n"
         "pr to move                   6 games: 3 won, 1 drawn, 2 lost, 58.3%\n"
         "together                     66 games: 23 won, 11 drawn, 32 lost, 43.2%\n"},
        // Equal materials: a game is one game.
        {"KR KR",
         "0 KR to move                   15 games: 5 won, 4 drawn, 6 lost, 46.7%\n"
         "KR to move                   15 games: 6 won, 4 drawn, 5 lost, 53.3%\n"
         "together                     15 games: 5 won, 4 drawn, 6 lost, 46.7%\n"},
        {"KB KD",
         "0 KB to move                   2 games: 1 won, 1 drawn, 0 lost, 75.0%\n"
         "KD to move                   3 games: 1 won, 0 drawn, 2 lost, 33.3%\n"
         "together                     5 games: 2 won, 1 drawn, 2 lost, 50.0%\n"},
        {"KB KR",
         "0 KB to move                   7 games: 7 won, 0 drawn, 0 lost, 100.0%\n"
         "KR to move                   no games\n"
         "together                     7 games: 7 won, 0 drawn, 0 lost, 100.0%\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(Query(file, c.materials), c.report);
    for (const char* bad : {"", "KR", "KR KR KR", "KX K", "KQQ K", "KBBB K", "KLL K"})
        EXPECT_EQ(Query(file, bad),
                  "1 veltramox-tool: not a pair of materials like \"KRP KR\": " +
                      std::string(bad) + "\n");
    EXPECT_EQ(Query(scratch.Path("none"), "K K")[0], '1');
    EXPECT_EQ(
        OutputOf([&] { return TopStatistics(file, 3, false); }),
        "0 KRP KR                       66 games: 32 won, 11 drawn, 23 lost, 56.8%\n"
        "KR KR                        15 games: 5 won, 4 drawn, 6 lost, 46.7%\n"
        "KL KR                        7 games: 7 won, 0 drawn, 0 lost, 100.0%\n");
    EXPECT_NE(OutputOf([&] { return TopStatistics(file, 9, true); })
                  .find("\"material\": \"KQRRBBNNPPPPPPPP\",\n"
                        "      \"against\": \"KQRRBBNNPPPPPPPP\",\n"
                        "      \"games\": 1,\n      \"wins\": 1,\n"),
              std::string::npos);
}

TEST_F(StatisticsToolTest, MergedFilesAddUp) {
    const std::string a = File("a", {{0, 1, {1, 2, 3}},
                                     {0, 2, {3, 40000, 0}},
                                     {0, 3, {65534, 65534, 1}},
                                     {647, 647, {0, 0, 32767}}});
    const std::string b = File("b", {{0, 1, {4, 0, 0xFF}},
                                     {0, 2, {1, 25535, 1}},
                                     {0, 3, {65534, 0, 0}},
                                     {647, 647, {0, 0, 32767}}});
    const std::string c = File("c", {{0, 1, {5, 2, 0x102}},
                                     {0, 2, {2, 43690, 0}},
                                     {0, 3, {58252, 29126, 0}},
                                     {647, 647, {0, 0, 65534}}});
    EXPECT_EQ(OutputOf([&] { return MergeStatistics(a, b, scratch.Path("d"), false); }),
              "0 " + scratch.Path("d") + ": 196869 results, 3 times rescaled\n");
    EXPECT_TRUE(scratch.Read("d") == scratch.Read("c"));
    scratch.Write("short", "x");
    EXPECT_EQ(
        OutputOf([&] { return MergeStatistics(a, scratch.Path("short"), a, false); })[0],
        '1');
    EXPECT_EQ(
        OutputOf([&] { return MergeStatistics(a, b, scratch.Path("no/d"), false); })[0],
        '1');
}

}  // namespace
