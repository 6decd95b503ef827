// The companion program's command line: books, learning files, statistics, games and
// endgame tables outside of play. The parser fills the variables below and calls the
// command that was named; exceptions of any command end here.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <limits>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "board/tables.h"
#include "book/statistics.h"
#include "driver/settings.h"
#include "platform/output.h"
#include "platform/version.h"
#include "tools/bookcommands.h"
#include "tools/learncommands.h"
#include "tools/polyglotbook.h"
#include "tools/progress.h"
#include "tools/randomgames.h"
#include "tools/report.h"
#include "tools/statscommands.h"
#include "tools/tables_commands.h"

namespace {

// What the command line says, and what came of it.
struct {
    std::vector<std::string> files, lines;
    std::string output, fen, materials, keysFile;
    bool polyglot = false;
    std::string statisticsFile = "Veltramox.set";
    int topCount = 20;
    BuildOptions options;
    bool json = false;
    std::uint64_t gameCount = 0, firstGame = 0;
    int longestGame = 160;

    int status = 0;  // of the command that has run
} Said;

void AddJson(CLI::App* command) {
    command->add_flag("--json", Said.json, "Write the report as JSON");
}

// One existing file.
void AddInput(CLI::App* command, const char* name, const char* help) {
    command->add_option(name, Said.files, help)
        ->required()
        ->expected(1)
        ->check(CLI::ExistingFile);
}

// ---- The commands: each says what it needs and runs when the line has been read ----
void AddBookBuild(CLI::App* book) {
    CLI::App* build = book->add_subcommand(
        "build", "Build a book from games, whose results count, and from opening lines");
    build
        ->add_option("GAMES", Said.files,
                     "PGN files, plain or compressed by gzip; \"-\" is standard input")
        ->check(CLI::ExistingFile | CLI::IsMember({"-"}));
    build->add_option("-o,--output", Said.output, "The book to write")->required();
    build
        ->add_option("--max-ply", Said.options.maxPly,
                     "Half-moves of each game that count")
        ->check(CLI::Range(1, 600))
        ->capture_default_str();
    build
        ->add_option("--min-games", Said.options.minGames,
                     "Games that a move must occur in")
        ->check(CLI::Range(1, 1000000000))
        ->capture_default_str();
    build
        ->add_option("--lines", Said.lines,
                     "A text file of opening lines, \"Name: 1. e4 e5\"")
        ->allow_extra_args(false)
        ->check(CLI::ExistingFile);
    AddJson(build);
    build->callback([] {
        if (Said.files.empty() && Said.lines.empty())
            throw CLI::ValidationError("GAMES",
                                       "name games, or opening lines with --lines");
        Said.status =
            BuildBook(Said.files, Said.lines, Said.output, Said.options, Said.json);
    });
}

using PolyglotWork = int (*)(const std::string& name, const std::string& output,
                             const PolyglotKeys& keys, bool json);

// What the two ways between our books and Polyglot's have in common.
void AddPolyglot(CLI::App* command, PolyglotWork work) {
    command->add_option("-o,--output", Said.output, "The book to write")->required();
    command
        ->add_option("--keys", Said.keysFile,
                     "A file that has Polyglot's random numbers; without it, the package "
                     "polyglot or xboard")
        ->check(CLI::ExistingFile);
    AddJson(command);
    command->callback([work] {
        PolyglotKeys keys;
        std::string reason;
        Said.status = FindPolyglotKeys(keys, Said.keysFile, reason)
                          ? work(Said.files[0], Said.output, keys, Said.json)
                          : Fail(reason);
    });
}

// "export" is C++'s own word, so that command is `leave`.
void AddBook(CLI::App& app) {
    CLI::App* book = app.add_subcommand("book", "Opening books")->require_subcommand(1);
    AddBookBuild(book);

    CLI::App* dump = book->add_subcommand("dump", "Show what is in a book");
    AddInput(dump, "BOOK", "The book");
    dump->add_option("--fen", Said.fen, "Only this position");
    AddJson(dump);
    dump->callback([] { Said.status = DumpBook(Said.files[0], Said.fen, Said.json); });

    CLI::App* check = book->add_subcommand(
        "check", "Verify order, offsets, squares and legality; status 1 when damaged");
    AddInput(check, "BOOK", "The book");
    AddJson(check);
    check->callback([] { Said.status = CheckBook(Said.files[0], Said.json); });

    CLI::App* merge = book->add_subcommand("merge", "Add two books up");
    merge->add_option("A B", Said.files, "The two books")
        ->required()
        ->expected(2)
        ->check(CLI::ExistingFile);
    merge->add_option("-o,--output", Said.output, "The book to write")->required();
    AddJson(merge);
    merge->callback([] {
        Said.status = MergeBooks(Said.files[0], Said.files[1], Said.output, Said.json);
    });

    CLI::App* leave = book->add_subcommand("export", "Write a book for other programs");
    AddInput(leave, "BOOK", "The book");
    leave->add_flag("--polyglot", Said.polyglot, "In the format of Polyglot")->required();
    AddPolyglot(leave, ExportPolyglot);

    CLI::App* import =
        book->add_subcommand("import", "Make a book from one in the format of Polyglot");
    AddInput(import, "BIN", "The Polyglot book");
    AddPolyglot(import, ImportPolyglot);
}

void AddLearn(CLI::App& app) {
    CLI::App* learn =
        app.add_subcommand("learn", "Position-learning files")->require_subcommand(1);

    CLI::App* dump = learn->add_subcommand("dump", "Show the positions learned");
    AddInput(dump, "FILE", "The learning file");
    AddJson(dump);
    dump->callback([] { Said.status = DumpLearning(Said.files[0], Said.json); });

    CLI::App* check = learn->add_subcommand(
        "check", "Verify header, links and records; status 1 when damaged");
    AddInput(check, "FILE", "The learning file");
    AddJson(check);
    check->callback([] { Said.status = CheckLearning(Said.files[0], Said.json); });

    CLI::App* compact = learn->add_subcommand(
        "compact",
        "Rewrite a file without what nothing leads to; not while an engine has it "
        "open");
    AddInput(compact, "FILE", "The learning file");
    compact->add_option("-o,--output", Said.output, "Write here instead of in place");
    AddJson(compact);
    compact->callback(
        [] { Said.status = CompactLearning(Said.files[0], Said.output, Said.json); });
}

void AddStatistics(CLI::App& app) {
    CLI::App* stats = app.add_subcommand("stats", "Results of games by material")
                          ->require_subcommand(1);
    const auto addFile = [](CLI::App* command) {
        command->add_option("--file", Said.statisticsFile, "The statistics file")
            ->check(CLI::ExistingFile)
            ->capture_default_str();
        AddJson(command);
    };

    CLI::App* query = stats->add_subcommand("query", "Results of a pair of materials");
    query
        ->add_option(
            "MATERIALS", Said.materials,
            "Like \"KRP KR\"; B is any bishop, L one on light, D on dark squares")
        ->required();
    addFile(query);
    query->callback([] {
        Said.status = QueryStatistics(Said.statisticsFile, Said.materials, Said.json);
    });

    CLI::App* top = stats->add_subcommand("top", "The most frequent pairs of materials");
    top->add_option("--count", Said.topCount, "How many")
        ->check(CLI::Range(1, kMaterialPairs))
        ->capture_default_str();
    addFile(top);
    top->callback([] {
        Said.status = TopStatistics(Said.statisticsFile, Said.topCount, Said.json);
    });

    CLI::App* merge = stats->add_subcommand("merge", "Add two statistics files up");
    merge->add_option("A B", Said.files, "The two files")
        ->required()
        ->expected(2)
        ->check(CLI::ExistingFile);
    merge->add_option("-o,--output", Said.output, "The file to write")->required();
    AddJson(merge);
    merge->callback([] {
        Said.status =
            MergeStatistics(Said.files[0], Said.files[1], Said.output, Said.json);
    });
}

// As they are made: there may be millions.
void WriteRandomGames() {
    constexpr std::uint64_t kLast = std::numeric_limits<std::uint64_t>::max();
    if (Said.gameCount > 0 && Said.gameCount - 1 > kLast - Said.firstGame) {
        Said.status = Fail("the numbers of games end at " + std::to_string(kLast));
        return;
    }
    for (std::uint64_t i = 0; i < Said.gameCount && !OutputIsLost(); ++i)
        WriteText(PgnOf(MakeRandomGame(Said.firstGame + i, Said.longestGame),
                        Said.firstGame + i));
}

void AddGamesCommand(CLI::App& app) {
    CLI::App* games =
        app.add_subcommand("random-games", "Random legal games, for load tests");
    games->add_option("COUNT", Said.gameCount, "How many")->required();
    games->add_option("--first", Said.firstGame,
                      "Number of the first; equal numbers, equal games");
    games->add_option("--longest", Said.longestGame, "Most half-moves of a game")
        ->check(CLI::Range(1, 700))
        ->capture_default_str();
    games->callback(WriteRandomGames);
}

void AddSettingsCommand(CLI::App& app) {
    app.add_subcommand("settings", "Print a settings file: every setting at its default")
        ->callback([] { WriteText(DefaultSettingsText()); });
}

// The parser's own words: help, or what is wrong with the command line.
int ShowParserText(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream help, complaint;
    const int status = app.exit(error, help, complaint);
    WriteText(help.str());
    FlushOutput();
    EndProgress();
    std::fputs(complaint.str().c_str(), stderr);
    return status;
}

}  // namespace

// The tables of the board are built before the line is parsed, for commands run in
// parsing.
int main(int count, char** words) {
    PrepareReport();
    CLI::App app("Tools for Veltramox: books, learning files, statistics, tables",
                 "veltramox-tool");
    app.set_version_flag("--version", std::string("veltramox-tool ") + kVersion);
    app.require_subcommand(1);
    AddBook(app);
    AddLearn(app);
    AddStatistics(app);
    AddGamesCommand(app);
    AddSettingsCommand(app);
    AddTablesCommands(app);
    BuildTables();
    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        Said.status = ShowParserText(app, error);
    } catch (const std::bad_alloc&) {
        Said.status = Fail("not enough memory");
    } catch (const std::exception& error) {
        Said.status = Fail(error.what());
    }
    return FinishReport(Said.status);
}
