// The whole program with files in its folder: book, learning files, statistics.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "board/fen.h"
#include "book/statistics.h"
#include "tests/bookmaker.h"
#include "tests/scratch.h"

namespace {

#ifndef _WIN32

struct Folder : Scratch {
    // What the program says behind its settings report to these lines; "quit" is added.
    std::string Say(const std::string& lines, const std::string& arguments = "") const {
        Write("input", lines + "quit\n");
        const std::string command = "cd '" + directory.string() +
                                    "' && '" VELTRAMOX_PROGRAM "' " + arguments +
                                    " <input";
        FILE* const pipe = popen(command.c_str(), "r");
        std::string output;
        for (int c; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
        output += "exit " + std::to_string(pclose(pipe) >> 8);
        const std::string end = "Pondering=on\n\n";
        return output.substr(output.find(end) + end.size());
    }
};

TEST(BookInPlay, MovesAreAnsweredListedAndCredited) {
    Folder folder;
    folder.Write("Veltramox.ini", "UseEGTB=off\n");
    BookMaker maker;
    maker.Add("", {{"e2e4", 0}, {"a2a3", 0xFFFF}});
    maker.Add("e2e4 e7e5", {{"g1f3", 3 | 1 << 8}});
    folder.Write("Book.vlx", maker.Image());
    // A new game at a score of zero: the game before counts as a draw.
    const std::string output =
        folder.Say("easy\ngo\ne7e5\nbkm\nnew\nbkm\nforce\ne2e4\ne7e5\nbkm\n");
    EXPECT_EQ(
        output,
        "2 nodes in openings book\nmove e2e4\nmove g1f3\n"
        "Current hash1=1834517911, hash2=142211215\n"
        "No moves from current pos in book\n"
        "Current hash1=-555062835, hash2=-1685702176\n"
        "2 moves from current pos in book:\n"
        "e2e4 50% (not less than 1 game(s))\na2a3 -\n"
        "Current hash1=793679112, hash2=1990904136\n"
        "1 moves from current pos in book:\ng1f3 75% (not less than 2 game(s))\nexit 0");
}

// Neither a drawn position that is analysed nor the score 0 that analysis leaves behind.
TEST(BookInPlay, AnalysisTeachesNothing) {
    const std::string analyse = "analyze\n.\n.\nexit\n";
    const std::string knight = "edit\n#Nd4Kc3cKe6.\nforce\n";
    std::string repetition = "force\n", back;
    for (int i = 0; i < 2; ++i) repetition += "g1f3\ng8f6\nf3g1\nf6g8\n";
    for (int i = 0; i < 8; ++i) back += "undo\n";
    const struct {
        const char* fen;
        char from;  // of the book's move to f3
        std::string lines;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq", G1,
         repetition + analyse + back},
        {"8/8/4k3/8/3N4/2K5/8/8 w", D4,
         knight + "d4f3\ne6e7\n" + analyse + "f3g1\nnew\n" + knight},
    };
    for (const auto& c : cases) {
        Folder folder;
        folder.Write("Veltramox.ini", "UseEGTB=off\n");
        ASSERT_TRUE(SetFen(c.fen));
        const char list[] = {1, c.from, F3, 0, 0};
        BookMaker maker;
        maker.AddRaw(BookKey1(Board.hash1, Board.SideToMove),
                     static_cast<std::int32_t>(Board.hash2), std::string(list, 5));
        folder.Write("Book.vlx", maker.Image());
        const std::string output = folder.Say(c.lines + "bkm\n");
        EXPECT_NE(output.find("f3 ?\n"), std::string::npos) << c.lines << output;
    }
}

TEST(BookInPlay, ADamagedBookIsNoReasonNotToPlay) {
    Folder folder;
    folder.Write("Veltramox.ini", "UseEGTB=off\nLearning=on\nUseLearningData=on\n");
    BookMaker maker;
    maker.Add("", {{"e2e5", 0}});
    folder.Write("Book.vlx", maker.Image());
    const std::string output = folder.Say("easy\nsd 3\ngo\n");
    EXPECT_NE(output.find("1 nodes in openings book\n"), std::string::npos);
    EXPECT_NE(output.find("move "), std::string::npos) << output;
    EXPECT_EQ(output.find("e2e5"), std::string::npos) << output;
    EXPECT_EQ(folder.Read("Learn.vl1").size(), 262167u);
}

TEST(BookInPlay, StatisticsModesReplaceTheGame) {
    Folder folder;
    folder.Write("Veltramox.ini", "UseEGTB=off\n");
    folder.Write("games.pgn",
                 "[Result \"1-0\"]\n1. e4 e5 1-0\n\n[Result \"0-1\"]\n1. d4 0-1\n");
    const std::string opening = "Error opening \"book.vlx\"!\n";
    EXPECT_EQ(folder.Say("go\n", "-c"), opening + "exit 0");
    EXPECT_EQ(folder.Say("", "-p games.pgn"), opening + "Processed 0 games...\rexit 0");
    EXPECT_EQ(folder.Say("", "-c"), opening + "exit 0");
    // Both orders of the same pair are added up, and with equal materials are one.
    EXPECT_EQ(folder.Read("out.vlx"),
              "No matching games\n\nDraws=0 wins=2 losses=2 Result=4/8 (50%)\n\n");
    EXPECT_EQ(folder.Read("Veltramox.set").size(), kStatisticsSize);
    EXPECT_EQ(folder.Say("", "-p none.pgn"),
              opening + "Error opening file none.pgn...\nexit 1");
    folder.Write("long.pgn", "[Result \"1-0\"]\n1. e4 eeeeeeeeeeeeeeeeeeee");
    EXPECT_EQ(folder.Say("", "-p long.pgn"),
              opening + "Error parsing move (move too long): eeeeeeeeeeeeeee...\n" +
                  "in game 1\nexit 2");
}

// A collection without end: only the request to end stops the counting, and the counts
// are kept.
TEST(BookInPlay, CountingEndsWhenAskedTo) {
    Folder folder;
    folder.Write("Veltramox.ini", "UseEGTB=off\n");
    // Asked when its first games are counted; killed nine seconds later if that was no
    // use.
    const std::string command =
        "cd '" + folder.directory.string() +
        "' && { yes '[Result \"1-0\"] 1. e4 e5' 2>yes.err | timeout --preserve-status "
        "-k 9 60 '" VELTRAMOX_PROGRAM
        "' -p /dev/stdin >out & "
        "until tr -d '\\0' <Veltramox.set 2>/dev/null | head -c 1 | grep -q . || "
        "! kill -0 $!; do sleep 0.02; done; kill $!; wait $!; }";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_TRUE(folder.Read("Veltramox.set") != std::string(kStatisticsSize, '\0'));
}

#endif

}  // namespace
