// veltramox-tool as its users call it: the words of the command line, exit statuses, and
// what stands on its standard output and error.
#ifndef _WIN32
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "tests/scratch.h"

namespace {

struct Outcome {
    int status;
    std::string text;  // of both streams
};

// Runs the tool with these arguments in the folder, with nothing to read. Standard error,
// and standard output as it is redirected, are kept.
Outcome Tool(const Scratch& folder, const std::string& arguments,
             const std::string& redirection = "") {
    const std::string command = "cd '" + folder.directory.string() +
                                "' && '" VELTRAMOX_TOOL "' </dev/null " + arguments +
                                " 2>&1 " + redirection;
    std::FILE* pipe = popen(command.c_str(), "r");
    std::string text;
    std::array<char, 4096> part;
    while (std::size_t got = std::fread(part.data(), 1, part.size(), pipe))
        text.append(part.data(), got);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
}

constexpr int kRefused = -1;

struct Step {
    const char* arguments;
    int status;            // kRefused: any but 0
    const char* expected;  // somewhere in the text
};

void Follow(const Scratch& folder, std::initializer_list<Step> steps) {
    for (const Step& step : steps) {
        const Outcome outcome = Tool(folder, step.arguments);
        EXPECT_TRUE(step.status == kRefused ? outcome.status > 0
                                            : outcome.status == step.status)
            << step.arguments << ": " << outcome.status << '\n'
            << outcome.text;
        EXPECT_NE(outcome.text.find(step.expected), std::string::npos)
            << step.arguments << '\n'
            << outcome.text;
    }
}

// The text's JSON without its blanks and line feeds; parts that vary are left out by
// hand.
std::string Packed(const Outcome& outcome) {
    std::string packed;
    bool quoted = false;
    for (const char c : outcome.text) {
        quoted ^= c == '"';
        if (quoted || (c != ' ' && c != '\n')) packed += c;
    }
    return packed;
}

constexpr char kGames[] =
    "[Result \"1-0\"]\n\n1. e4 e5 2. Qh5 Nc6 3. Bc4 Nf6 4. Qxf7# 1-0\n\n"
    "[Result \"0-1\"]\n\n1. f3 e5 2. g4 Qh4# 0-1\n";

TEST(CommandLineTest, TablesFromMakingToProbing) {
    Scratch folder;
    Follow(folder,
           {{"tables make krk -o t --jobs 1", 0, "krk"},
            {"tables check t --full", 0, "krk"},
            {"tables probe --dir t '8/8/8/3k4/8/8/8/K6R w'", 0, "White mates in 15"},
            {"tables make krk knk -o t --jobs 1", 0, "knk    1 of 1  White"},
            {"tables probe --dir t --json '8/8/8/8/8/1k6/8/K6q b'", 1,
             "\"result\": \"unknown\""},
            {"tables probe --dir t '8/8/8/8/8/1k6/8/K6q b'", 1, "No table"},
            {"tables pack t --remove", 0, "ratio"},
            {"tables probe --dir t --json '8/8/8/3k4/8/8/8/K6R w'", 0, "\"moves\": 15"},
            {"tables probe --dir t --json 'k7/8/1K6/8/8/8/8/7R b'", 0,
             "\"result\": \"loss\""},
            {"tables unpack t/krk.nbw.emd", 0, ""},
            {"tables check t krkr", 1, "krkr"},
            {"tables probe --dir t 'no position'", 1, "no position"},
            {"tables make kxk -o t", kRefused, "kxk"},
            {"tables make", kRefused, ""}});
    folder.Write("t/krk.nbb.emd", "damaged");
    Follow(folder, {{"tables check t", 1, "krk"}});
}

// Whole documents, also when the work fails on the way.
TEST(CommandLineTest, TablesAsJson) {
    Scratch folder;
    std::string made = Packed(Tool(folder, "tables make krk --jobs 1 --json -o t"));
    const std::size_t time = made.find("\"milliseconds\":") + 15;
    made.replace(time, made.find(',', time) - time, 1, 'T');
    EXPECT_EQ(made,
              "{\"directory\":\"t\",\"tables\":[{\"name\":\"krk\",\"made\":true,"
              "\"position\":1,\"total\":1,\"whiteToMove\":{\"wins\":16,\"loses\":0},"
              "\"blackToMove\":{\"wins\":0,\"loses\":16},\"milliseconds\":T,"
              "\"secondsLeft\":0}]}");
    EXPECT_EQ(Packed(Tool(folder, "tables make krk --json -o t")),
              "{\"directory\":\"t\",\"tables\":[{\"name\":\"krk\",\"made\":false}]}");
    EXPECT_EQ(Packed(Tool(folder, "tables check t --sample 1 --json")),
              "{\"directory\":\"t\",\"tables\":[{\"name\":\"krk\",\"good\":true,"
              "\"compared\":1,\"wrong\":0}],\"good\":true}");
    EXPECT_EQ(Packed(Tool(folder, "tables check t kqk --json")),
              "{\"directory\":\"t\",\"tables\":[{\"name\":\"kqk\",\"good\":false,"
              "\"compared\":0,\"wrong\":0,\"fault\":\"kqk.nbw is missing\"}],"
              "\"good\":false}");
    EXPECT_EQ(Packed(Tool(folder, "tables pack t/krk.nbw --json")).substr(0, 30),
              "{\"files\":1,\"plainBytes\":27030,");
    folder.Write("t/kqk.nbb", "");
    folder.Write("t/kqk.nbw", "x");
    const Outcome failed = Tool(folder, "tables make kpk --json -o t");
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.text.find("\n  ]\n}\nveltramox-tool: t/kqk.nb"), std::string::npos)
        << failed.text;
}

// In the game folder, and not in the program's own tables, to which a new one has a link.
TEST(CommandLineTest, TablesAreMadeInTheGameFolder) {
    Scratch folder;
    Tool(folder, "tables make krk -o installed");
    std::filesystem::create_directories(folder.Path("game"));
    std::filesystem::create_symlink(folder.Path("installed"), folder.Path("game/tables"));
    const std::string place = folder.Path("game/tables");
    setenv("VELTRAMOX_GAME", folder.Path("game").c_str(), 1);
    Follow(folder, {{"tables make krk kqk", 0, ("Tables in " + place + '\n').c_str()},
                    {"tables make kqk", 0, "kqk    there already"},
                    {"tables check game/tables", 0, "kqk    good"},
                    {"tables probe '8/8/8/3k4/8/8/8/K6R w'", 0, "White mates in 15"}});
    EXPECT_FALSE(std::filesystem::is_symlink(place));
    EXPECT_FALSE(std::filesystem::exists(folder.Path("installed/kqk.nbw")));
    unsetenv("VELTRAMOX_GAME");
    setenv("XDG_DATA_HOME", folder.directory.c_str(), 1);
    Follow(folder, {{"tables make krk", 0, folder.Path("veltramox/tables").c_str()}});
    unsetenv("XDG_DATA_HOME");
}

TEST(CommandLineTest, BooksLearningAndStatistics) {
    Scratch folder;
    folder.Write("games.pgn", kGames);
    folder.Write("junk", "junk");
    Follow(folder, {{"book build games.pgn --min-games 1 -o b.vlx", 0, ""},
                    {"book check b.vlx", 0, ""},
                    {"book dump b.vlx", 0, "e2e4"},
                    {"book merge b.vlx b.vlx -o c.vlx", 0, ""},
                    {"book check junk", 1, ""},
                    {"book build none.pgn -o d.vlx", kRefused, "none.pgn"},
                    {"learn check junk", 1, ""},
                    {"learn check none", kRefused, "none"},
                    {"book import junk -o e.vlx --keys junk", 1, "not in junk"},
                    {"book export b.vlx -o e.vlx", kRefused, "--polyglot"},
                    {"random-games 3 --first 5", 0, "[Result "},
                    {"random-games 10 --first 4294967290", 0, "\"4294967299\""},
                    {"random-games 2 --first 18446744073709551615", 1, "numbers"},
                    {"stats query 'KRP KR' --file none", kRefused, "none"},
                    {"stats top", 1, "there is no file Veltramox.set"},
                    {"stats top --file junk", kRefused, "junk"},
                    {"nonsense", kRefused, "subcommand"}});
}

// Plain and compressed games, from files and from a pipe, make the same book; what cannot
// be read to its end makes none.
TEST(CommandLineTest, GamesFromGzipAndStandardInput) {
    Scratch folder;
    std::string games;
    for (int i = 0; i < 20000; ++i) games += kGames;
    folder.Write("games.pgn", games);
    ASSERT_EQ(
        std::system(("cd '" + folder.directory.string() +
                     "' && gzip -k games.pgn && head -c 2000 games.pgn.gz >cut.gz &&"
                     " (head -c 1000 games.pgn.gz; printf 'damage, damage';"
                     " tail -c +1015 games.pgn.gz) >broken.gz")
                        .c_str()),
        0);
    for (const char* build :
         {"book build games.pgn -o a", "book build games.pgn.gz -o b",
          "book build - -o c <games.pgn", "book build -o d -- - <games.pgn.gz"})
        EXPECT_EQ(Tool(folder, build).status, 0) << build;
    EXPECT_GT(folder.Read("a").size(), 100u);
    for (const char* same : {"b", "c", "d"})
        EXPECT_TRUE(folder.Read("a") == folder.Read(same)) << same;
    Follow(folder, {{"book build cut.gz -o e", 1, "cannot read cut.gz: "},
                    {"book build broken.gz games.pgn -o e", 1, "cannot read broken.gz: "},
                    {"book build - -o e <.", 1, "cannot read -"}});
    EXPECT_FALSE(std::filesystem::exists(folder.Path("e")));
}

TEST(CommandLineTest, AnEmptyBookSaysWhy) {
    Scratch folder;
    folder.Write("games", kGames);
    folder.Write("set-up", "[FEN \"8/8/8/8/8/8/8/K1k5 w - - 0 1\"]\n\n1. Ka2 *\n");
    folder.Write("unknown", "[Result \"*\"]\n\n1. Sf3 *\n");
    folder.Write("nothing", "1. e4 e5\n");
    Follow(
        folder,
        {{"book build games -o b", 1,
          "in 3 games, which is --min-games; the most frequent"},
         {"book build set-up -o b", 1, "all games (1) begin at a position of their own"},
         {"book build unknown -o b", 1, "of 1 games no first move could be told"},
         {"book build nothing -o b", 1, "a game begins with its tags"},
         {"book build - -o b", 1, "there are no games"}});
    EXPECT_FALSE(std::filesystem::exists(folder.Path("b")));
}

// The work goes on, the status tells that its report is lost; and a closed standard
// output is not taken for the book that is opened next.
TEST(CommandLineTest, AReportThatCannotBeWrittenIsStatusOne) {
    Scratch folder;
    folder.Write("games.pgn", kGames);
    folder.Write("Veltramox.set", std::string(648 * 648 * 6, '\1'));
    folder.Write("learn", "Veltramox learning file" + std::string(4 << 16, '\0'));
    // A name that is no UTF-8 does not keep a report from being written.
    EXPECT_EQ(
        Packed(Tool(folder, "stats merge Veltramox.set Veltramox.set -o \xff --json"))
            .substr(0, 14),
        "{\"file\":\"\uFFFD\",");
    for (const char* redirection : {">/dev/full", ">&-"}) {
        for (const char* command :
             {"book build games.pgn --min-games 1 -o b.vlx", "book check b.vlx",
              "book check b.vlx --json", "book dump b.vlx",
              "book merge b.vlx b.vlx -o c.vlx", "learn check learn",
              "learn dump learn --json", "learn compact learn", "stats top",
              "stats query 'KR K'", "stats merge Veltramox.set Veltramox.set -o sum",
              "random-games 10", "tables make krk kqk kpk -o t", "tables check t",
              "tables probe --dir t '8/8/8/3k4/8/8/8/K6R w'", "tables pack t/krk.nbw",
              "--help", "book --help"}) {
            const Outcome outcome = Tool(folder, command, redirection);
            EXPECT_EQ(outcome.status, 1) << command << redirection;
            EXPECT_EQ(outcome.text, "veltramox-tool: the report could not be written\n")
                << command << redirection;
        }
        for (const char* file : {"b.vlx", "c.vlx", "sum", "t/krk.nbw", "t/kqk.nbb",
                                 "t/kpk.nbb", "t/krk.nbw.emd"})
            EXPECT_GT(folder.Read(file).size(), 100u) << file << redirection;
        for (const char* made : {"b.vlx", "c.vlx", "sum", "t"})
            std::filesystem::remove_all(folder.Path(made));
    }
    EXPECT_EQ(Tool(folder, "random-games 1000000000", "| head -n 1").text,
              "[Event \"Random games\"]\n");
}

}  // namespace
#endif
