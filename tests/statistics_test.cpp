// Results by material: signatures, which positions of a game count, and the file.
#include "book/statistics.h"

#include <gtest/gtest.h>

#ifdef __linux__
#include <sys/ptrace.h>
#endif

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "board/fen.h"
#include "platform/files.h"
#include "platform/output.h"
#include "tests/killed.h"
#include "tests/moves.h"
#include "tests/scratch.h"
#include "tools/randomgames.h"
#include "tools/sanwriter.h"

namespace {

constexpr int kStartPair = 648 * 647 + 647;

class StatisticsTest : public ::testing::Test {
protected:
    void SetUp() override { Open(); }
    void TearDown() override { CloseStatisticsFile(); }
    void Open() { ASSERT_TRUE(OpenStatisticsFile(scratch.Path("set").c_str())); }
    // What counting these games says; the status stands in front when it is not 0.
    std::string Count(const std::string& pgn) {
        scratch.Write("games", pgn);
        testing::internal::CaptureStdout();
        const int status = BuildStatistics(scratch.Path("games").c_str());
        FlushOutput();
        const std::string output = testing::internal::GetCapturedStdout();
        return status == 0 ? output : std::to_string(status) + ' ' + output;
    }
    std::string Report() {
        ReportStatistics(scratch.Path("out").c_str());
        return scratch.Read("out");
    }
    Scratch scratch;
};

TEST_F(StatisticsTest, SignaturesOfMaterial) {
    const struct {
        const char* fen;
        int white;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - -", 647},
        {"4k3/8/8/8/8/8/8/4K3 w - -", 0},
        {"4k3/8/8/8/8/8/8/B3K3 w - -", 18},
        {"4k3/8/8/8/8/8/8/1B2K3 w - -", 36},
        {"4k3/8/8/8/8/8/8/B1B1K3 w - -", -1},
        {"4k3/8/8/8/8/N7/N7/4K3 w - -", 12},
        {"4k3/8/8/8/N7/N7/N7/4K3 w - -", -1},
        {"4k3/8/8/8/8/R7/R7/3QK3 w - -", 5},
        {"4k3/8/8/8/R7/R7/R7/4K3 w - -", -1},
        {"4k3/8/8/8/8/8/3Q4/3QK3 w - -", -1},
        {"4k3/8/8/8/8/P7/PPPPPPPP/4K3 w - -", -1},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(SetFen(c.fen));
        EXPECT_EQ(MaterialSignature(WHITE), c.white) << c.fen;
    }
}

TEST_F(StatisticsTest, WhichPositionsCount) {
    const int pawnUp =
        647 * 648 + 575;  // the side to move has all, the other lacks a pawn
    const int pawnDown = 575 * 648 + 647;
    const struct {
        const char* pgn;
        std::vector<std::pair<int, int>> counters;  // pair, result
    } cases[] = {
        {"[Result \"1-0\"]\n1. e4 e5 2. Nf3 Nc6 1-0", {{kStartPair, 1}}},
        {"[Result \"0-1\"]\n1. e4 e5 2. Nf3 Nc6 0-1", {{kStartPair, 2}}},
        {"[Result \"1/2-1/2\"]\n1. e4 e5", {{kStartPair, 0}}},
        {"[Result \"*\"]\n1. e4 e5 *", {}},
        {"[Result \"1-0\"]\n1. e4 d5 2. exd5 Nf6", {{kStartPair, 1}, {pawnDown, 2}}},
        {"[Result \"0-1\"]\n1. e4 d5 2. exd5 Qxd5 3. Nc3",
         {{kStartPair, 2}, {575 * 648 + 575, 2}}},
        {"[Result \"1-0\"]\n1. e4 a6 2. e5 d5 3. exd6 a5 4. Nf3",
         {{kStartPair, 1}, {pawnDown, 2}}},
        {"[Result \"1-0\"]\n1. e4 d5 2. exd5 Nf6 3. Nonsense Nc6 4. d3",
         {{kStartPair, 1}, {pawnDown, 2}}},
    };
    EXPECT_NE(pawnUp, pawnDown);
    for (const auto& c : cases) {
        std::filesystem::remove(scratch.Path("set"));
        Open();
        Count(c.pgn);
        std::string expected(kStatisticsSize, '\0');
        for (const auto& [pair, result] : c.counters)
            ++expected[static_cast<std::size_t>(3 * pair + result) * 2 + 1];
        EXPECT_TRUE(scratch.Read("set") == expected) << c.pgn;
    }
}

TEST_F(StatisticsTest, WhatCountingSays) {
    const std::string game = "[Result \"1-0\"]\n1. e4 e5 1-0\n\n";
    EXPECT_EQ(Count(game), "");
    EXPECT_EQ(Count(game + game + game), "Processed 0 games...\rProcessed 1 games...\r");
    EXPECT_EQ(Count("[Result \"1-0\"]\n1. e4 xe:5 e6 2. Ke3\n" + game),
              "\nCan't recognize: e5...\nin game 1\nProcessed 0 games...\r");
    EXPECT_EQ(Count("[Result \"1-0\"]\n1. Nf3 a6 2. d3 a5 3. Nd2 a4 4. Nd2\n"),
              "\nAmbigous move: Nd2...\nin game 1\n");
    EXPECT_EQ(
        Count("[Result \"1-0\"]\n1. a4 b5 2. axb5 a6 3. bxa6 Bb7 4. a7 Bc6 5. axb8 h6\n"),
        "\nAmbigous move: ab8...\n\nAmbigous move: ab8...\n\nAmbigous move: ab8...\nin "
        "game 1\n");
    EXPECT_EQ(Count(game + "[Result \"1-0\"]\ne4 e5 Nf3 Nc6 1-0\n\n[Result "
                           "\"0-1\"]\n\nNf3 Nf6 Ng1 0-1\n"),
              "Processed 0 games...\rProcessed 1 games...\r\n"
              "No move was taken from 2 of 3 games\n");
    EXPECT_EQ(Count(game + "[Result \"1-0\"]\n1. e4 e4 2. aaaaaaaaaaaaaaaaaa"),
              "2 Processed 0 games...\r\nCan't recognize: e4...\nin game 2\n"
              "Error parsing move (move too long): aaaaaaaaaaaaaaa...\nin game 2\n");
    EXPECT_EQ(ReadCounter(kStartPair, 1), 1 + 3 + 1 + 1 + 1 + 1 + 1 + 1 + 1);

    testing::internal::CaptureStdout();
    EXPECT_EQ(BuildStatistics("no such file"), 1);
    EXPECT_EQ(BuildStatistics("/"), 1);
    EXPECT_FALSE(OpenStatisticsFile(scratch.directory.string().c_str()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Error opening file no such file...\nError opening file /...\n"
              "Error opening file " +
                  scratch.directory.string() + "...\n");
}

// A game begins where its tag says; its move numbers do too.
TEST_F(StatisticsTest, GamesFromPositionsOfTheirOwn) {
    const int rook = 2, pawn = 72, pair = (rook + pawn) * 648 + rook;
    const std::string result = "[Result \"1-0\"]\n";
    const struct {
        const char* fen;
        const char* moves;
        int whiteToMove, blackToMove;  // counted for the pair, at its first quiet move
        const char* says;
    } cases[] = {
        {"4k2r/8/8/8/8/8/4P3/R3K3 w Q - 0 40", "40. Ra7 Kf8 1-0", 1, 0, ""},
        {"4k2r/8/8/8/8/8/4P3/R3K3 b - - 0 23", "23... O-O 24. e4", 0, 0,
         "\nCan't recognize: O-O...\nin game 1\n"
         "\nNo move was taken from 1 of 1 games\n"},
        {"4k2r/8/8/8/8/8/4P3/R3K3 b k -", "23... O-O 24. e4", 0, 1, ""},
        {"4k2r/8/8/8/3pP3/8/8/R3K3 b - e3 0 9", "9... dxe3 10. Ra3", 0, 0, ""},
        {"4k2r/8/8/8/8/8/4P3/R3K3 w - - 0 40", "Ra7 {no numbers} Kf8", 1, 0, ""},
        {"8/8/8/8", "1. e4 e5", 0, 0,
         "\nCan't set up the position of game 1\n"
         "\nNo move was taken from 1 of 1 games\n"},
        {"4k3/8/8/8/8/8/4R3/4K3 w - - 0 1", "1. Rxe8", 0, 0,
         "\nCan't set up the position of game 1\n"
         "\nNo move was taken from 1 of 1 games\n"},
    };
    for (const auto& c : cases) {
        std::filesystem::remove(scratch.Path("set"));
        Open();
        EXPECT_EQ(Count(result + "[FEN \"" + c.fen + "\"]\n\n" + c.moves + "\n"), c.says)
            << c.fen;
        EXPECT_EQ(ReadCounter(pair, kStatisticsWin), c.whiteToMove) << c.fen;
        EXPECT_EQ(ReadCounter(rook * 648 + rook + pawn, kStatisticsLoss), c.blackToMove)
            << c.fen;
        EXPECT_EQ(ReadCounter(kStartPair, kStatisticsWin), 0) << c.fen;
    }
    EXPECT_EQ(Count(result + "[FEN \"x\"]\n1. e4 d4 e9\n" + result + "1. e4 e5\n" +
                    result + "1. e5"),
              "\nCan't set up the position of game 1\nProcessed 0 games...\r"
              "Processed 1 games...\r\nCan't recognize: e5...\nin game 3\n"
              "\nNo move was taken from 2 of 3 games\n");
}

TEST_F(StatisticsTest, ReportsTheMaterialOnTheBoard) {
    SetStartPosition();
    EXPECT_EQ(Report(), "No matching games\n\n");
    for (int i = 0; i < 3; ++i) CountResult(kStartPair, kStatisticsWin);
    CountResult(kStartPair, kStatisticsLoss);
    CountResult(kStartPair, kStatisticsDraw);
    const int rook = 2, pawn = 72;
    CountResult(rook * 648 + pawn, kStatisticsWin);
    CountResult(pawn * 648 + rook, kStatisticsLoss);
    CountResult(pawn * 648 + rook, kStatisticsDraw);
    ASSERT_TRUE(SetFen("4k3/4p3/8/8/8/8/8/R3K3 w - -"));
    const std::string first =
        "No matching games\n\nDraws=1 wins=2 losses=0 Result=5/6 (83%)\n\n";
    EXPECT_EQ(Report(), first);
    Board.SideToMove = BLACK;
    EXPECT_EQ(Report(), first + "Draws=1 wins=0 losses=2 Result=1/6 (16%)\n\n");
    ASSERT_TRUE(SetFen("4k3/8/8/8/N7/N7/N7/4K3 w - -"));
    EXPECT_EQ(Report().substr(first.size() + 42), "No matching games\n\n");
}

TEST_F(StatisticsTest, FullCountersShrinkTogether) {
    for (int i = 0; i < 65534; ++i) CountResult(7, kStatisticsLoss);
    for (int i = 0; i < 5; ++i) CountResult(7, kStatisticsWin);
    EXPECT_EQ(ReadCounter(7, kStatisticsLoss), 65534);
    CountResult(7, kStatisticsLoss);
    EXPECT_EQ(ReadCounter(7, kStatisticsLoss), 43690);
    EXPECT_EQ(ReadCounter(7, kStatisticsWin), 3);
    EXPECT_EQ(ReadCounter(7, kStatisticsDraw), 0);
    EXPECT_EQ(ReadCounter(8, kStatisticsDraw), 0);
}

// Nothing around a pair changes with it, at the file's end too.
TEST_F(StatisticsTest, NeighboursOfAFullPairStay) {
    const int last = kMaterialPairs - 1;
    for (const int pair : {0, 7, last}) {
        std::string file(kStatisticsSize, '\x5A'), expected = file;
        const auto at = static_cast<std::size_t>(pair) * 6;
        file.replace(at, 6, std::string("\x00\x04\xFF\xFE\xFF\x00", 6));
        expected.replace(at, 6, std::string("\x00\x02\xAA\xAA\xAA\x00", 6));
        CloseStatisticsFile();
        scratch.Write("set", file);
        Open();
        CountResult(pair, kStatisticsWin);
        EXPECT_TRUE(scratch.Read("set") == expected) << pair;
    }
}

TEST_F(StatisticsTest, NewAndShortFilesAreCompleted) {
    EXPECT_TRUE(scratch.Read("set") == std::string(2519424, '\0'));
    CountResult(0, kStatisticsWin);
    CloseStatisticsFile();
    scratch.Write("set", scratch.Read("set").substr(0, 1000));
    Open();
    EXPECT_EQ(scratch.Read("set").size(), 2519424u);
    EXPECT_EQ(ReadCounter(0, kStatisticsWin), 1);
}

// The material of a side counted man by man from the squares.
int SimpleSignature(int colour) {
    int light = 0, dark = 0, men[8] = {};
    for (int square = 0; square < 64; ++square) {
        if ((Board.Occupied[colour] >> square & 1) == 0) continue;
        const int code = Board.Piece[square];
        ++men[code];
        if (code == BISHOP) ++((square / 8 + square % 8) % 2 == 0 ? dark : light);
    }
    if (men[KNIGHT] > 2 || men[ROOK] > 2 || men[QUEEN] > 1 || light > 1 || dark > 1)
        return -1;
    return 72 * men[PAWN] + 36 * light + 18 * dark + 6 * men[KNIGHT] + 2 * men[ROOK] +
           men[QUEEN];
}

// The games' own moves, counted without their text; the file is compared byte for byte.
TEST_F(StatisticsTest, AgreesWithASimpleCountOfFiveHundredGames) {
    std::string pgn, expected(kStatisticsSize, '\0');
    int promotions = 0, castlings = 0, enPassants = 0;
    int byFile = 0, byRank = 0, byBoth = 0;  // "Nbd7", "N5d7", "Nb5d7"
    for (std::uint32_t i = 0; i < 500; ++i) {
        // Among random games few name both file and rank; these do.
        constexpr std::uint32_t kByBoth[] = {4974, 7659, 8974, 17450};
        const std::uint32_t number = i < 496 ? i : kByBoth[i - 496];
        const RandomGame game = MakeRandomGame(number, 400);
        pgn += PgnOf(game, number);
        const std::vector<Move> moves(Board.MoveHistory,
                                      Board.MoveHistory + Board.GamePly);
        bool stretch = true;
        SetStartPosition();
        for (const Move m : moves) {
            const int S = Board.SideToMove;
            const bool quiet = Captured(m) == 0 && Promotion(m) == 0 && !IsEnPassant(m);
            promotions += Promotion(m) != 0;
            castlings += Moving(m) == KING && FileDistance(From(m), To(m)) == 2;
            enPassants += IsEnPassant(m);
            std::string san = SanOf(m);
            std::erase_if(san, [](char c) { return c == 'x' || c == '+' || c == '#'; });
            if (Moving(m) != PAWN && san[0] != 'O' && san.size() > 3)
                ++(san.size() == 5 ? byBoth : san[1] >= 'a' ? byFile : byRank);
            if (quiet && stretch && game.result != "*") {
                const int own = SimpleSignature(S), other = SimpleSignature(1 - S);
                const int result = game.result[1] == '/'                    ? 0
                                   : (game.result == "1-0") == (S == WHITE) ? 1
                                                                            : 2;
                const auto at =
                    static_cast<std::size_t>(3 * (648 * own + other) + result) * 2;
                if (own >= 0 && other >= 0 && ++expected[at + 1] == 0) ++expected[at];
            }
            stretch = !quiet;
            MakeMove(m);
        }
    }
    EXPECT_EQ(Count(pgn).find('\n'), std::string::npos);
    EXPECT_TRUE(scratch.Read("set") == expected);
    EXPECT_GT(promotions, 100);
    EXPECT_GT(castlings, 20);
    EXPECT_GT(enPassants, 10);
    EXPECT_GT(byFile, 100);
    EXPECT_GT(byRank, 10);
    EXPECT_GE(byBoth, 4);
}

#ifndef _WIN32

// Killed while it counts: every count that had been made is in the file.
TEST_F(StatisticsTest, NothingIsLostWhenKilled) {
    std::mt19937 random(5);
    std::int64_t before = 0;
    for (int round = 0; round < 200; ++round) {
        const int calls = CallsUntilKilled(
            [](int n) { CountResult(n % kMaterialPairs, kStatisticsWin); }, random);
        std::int64_t found = 0;
        for (int pair = 0; pair < kMaterialPairs; ++pair)
            found += ReadCounter(pair, kStatisticsWin);
        EXPECT_GE(found, before + calls);
        EXPECT_LE(found, before + calls + 1);
        before = found;
    }
}

// Two programs count into one file.
TEST_F(StatisticsTest, TwoProgramsAtOnceLoseNothing) {
    for (int round = 1; round <= 200 && !HasFailure(); ++round) {
        AtOnce([&](int i) {
            Open();
            for (int n = 0; n < 1000; ++n) CountResult(n % 8, i == 0 ? 0 : n % 2);
        });
        EXPECT_EQ(ReadCounter(7, 0), 125 * round);
        EXPECT_EQ(ReadCounter(7, 1), 125 * round);
        EXPECT_EQ(ReadCounter(6, 0), 250 * round);
    }
}

// Another program cuts the file off, before a game is counted or in the middle of it.
TEST_F(StatisticsTest, AFileCutOffIsSaidInOneLine) {
    const std::string game = "[Result \"1-0\"]\n1. e4 e5 1-0\n\n";
    for (const std::uintmax_t left : {0u, 4096u, 2'519'423u}) {
        Open();
        std::filesystem::resize_file(scratch.Path("set"), left);
        EXPECT_EQ(Count(game + game),
                  "1 Processed 0 games...\r\nThe statistics file has "
                  "been cut off or replaced: stopped\n");
        EXPECT_EQ(std::filesystem::file_size(scratch.Path("set")), left);
    }
    Open();
    std::filesystem::rename(scratch.Path("set"), scratch.Path("another"));
    EXPECT_NE(Count(game).find("replaced: stopped"), std::string::npos);
    Open();
    EXPECT_FALSE(MappingDamaged());
    std::filesystem::resize_file(scratch.Path("set"), 0);
    CountResult(7, kStatisticsWin);
    EXPECT_TRUE(MappingDamaged());
    Open();
    CountResult(7, kStatisticsWin);
    EXPECT_FALSE(MappingDamaged());
    EXPECT_EQ(ReadCounter(7, kStatisticsWin), 1);
}

TEST_F(StatisticsTest, WithoutRoomTheFileStaysAsItWas) {
    CloseStatisticsFile();
    scratch.Write("short", "\x12\x34\x56");
    testing::internal::CaptureStdout();
    {
        const FileSizeLimit full(100'000);
        EXPECT_FALSE(OpenStatisticsFile(scratch.Path("new").c_str()));
        EXPECT_FALSE(OpenStatisticsFile(scratch.Path("short").c_str()));
    }
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(std::filesystem::exists(scratch.Path("new")));
    EXPECT_EQ(scratch.Read("short"), "\x12\x34\x56");
}

#endif

#ifdef __linux__

// Every state of a pair's counters that a kill could leave while a result is counted: the
// counting process is stopped before each of its instructions. Empty when processes
// cannot be traced here.
std::set<std::vector<int>> StatesWhileCounting(int pair, int result) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
        raise(SIGSTOP);
        CountResult(pair, result);
        _exit(0);
    }
    std::set<std::vector<int>> states;
    int status = 0;
    waitpid(child, &status, 0);
    while (WIFSTOPPED(status)) {
        states.insert({ReadCounter(pair, 0), ReadCounter(pair, 1), ReadCounter(pair, 2)});
        if (ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr) != 0) kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    return states;
}

TEST_F(StatisticsTest, AKillFindsAPairBeforeOrAfterItsChange) {
    std::string file(kStatisticsSize, '\0');
    file.replace(42, 6, std::string("\x30\xFF\x00\x01\xFF\xFE", 6));
    scratch.Write("set", file);
    Open();
    using States = std::set<std::vector<int>>;
    const States carried = StatesWhileCounting(7, kStatisticsDraw);
    if (carried.empty()) GTEST_SKIP() << "processes cannot be traced";
    EXPECT_EQ(carried, (States{{0x30FF, 1, 65534}, {0x3100, 1, 65534}}));
    EXPECT_EQ(StatesWhileCounting(7, kStatisticsLoss),
              (States{{0x3100, 1, 65534}, {0x3100 * 2 / 3, 0, 43690}}));
}

#endif

}  // namespace
