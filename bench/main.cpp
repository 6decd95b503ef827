// Benchmarks: search speed with a node total that every faithful build reproduces, perft,
// and the time of single operations.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/enginestate.h"
#include "bench/magics.h"
#include "bench/micro.h"
#include "bench/searchbench.h"
#include "bench/tables.h"
#include "board/fen.h"
#include "board/generate.h"
#include "board/notation.h"
#include "platform/clock.h"
#include "platform/version.h"
#include "search/strong/helpers.h"

namespace {

// Where perft begins when no position is given.
constexpr char kStart[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
constexpr int kBenchDepth = 10;  // plies of the last iteration, as shown to the user

[[noreturn]] void Fail(const char* message) {
    std::fprintf(stderr, "veltramox-bench: %s\n", message);
    std::exit(EXIT_FAILURE);
}

// The user's text may be no position at all: that ends the program with a line.
void SetPosition(const char* fen) {
    if (!SetFen(fen)) Fail("bad FEN");
}

// The node total is exact and the same on every machine; only the speed is a measurement.
// Several threads are measured by the clock.
void BenchSearch(int depth, bool strong, int threads) {
    const SearchBench bench =
        SearchBenchPositions(depth, strong ? StrongSearch : ClassicSearch, threads);
    const auto nodes = static_cast<double>(bench.nodes);
    std::printf("Nodes: %lld\n", static_cast<long long>(bench.nodes));
    if (threads > 1) {
        std::printf("Speed: %.0f nodes per second (%.2f s)\n", nodes / bench.elapsed,
                    bench.elapsed);
        return;
    }
    std::printf("Speed: %.0f nodes per second of user CPU time (%.2f s)\n",
                nodes / bench.seconds, bench.seconds);
}

// Leaves below the position on the board, whose moves go to the stack from `start` on.
// The last ply is counted, not made (bulk counting): the legal generator has tested its
// moves.
std::int64_t Perft(int depth, int start) {
    GenerateLegalMoves(start);
    const int end = Generated.MoveStackTop;
    if (depth <= 1) return end - start;
    std::int64_t leaves = 0;
    for (int i = start; i < end; ++i) {
        MakeMove(Generated.MoveStack[i]);
        leaves += Perft(depth - 1, end);
        UnmakeMove();
    }
    return leaves;
}

// `divide` writes the leaves below each first move as well, which is how a wrong count is
// traced to its move.
void BenchPerft(int depth, const char* fen, bool divide) {
    if (depth < 1 || depth > 20) Fail("perft needs a depth of 1 to 20");
    SetPosition(fen);
    const double start = UserSeconds();
    std::int64_t leaves = 0;
    GenerateLegalMoves(0);
    const int end = Generated.MoveStackTop;
    for (int i = 0; i < end; ++i) {
        MakeMove(Generated.MoveStack[i]);
        // A first move is a leaf itself at depth 1.
        const std::int64_t below = depth == 1 ? 1 : Perft(depth - 1, end);
        UnmakeMove();
        leaves += below;
        char text[kMoveTextSize];
        MoveToText(text, Generated.MoveStack[i]);
        if (divide) std::printf("%s %lld\n", text, static_cast<long long>(below));
    }
    const double seconds = UserSeconds() - start;
    std::printf("Leaves: %lld\n", static_cast<long long>(leaves));
    std::printf("Speed: %.0f leaves per second of user CPU time (%.2f s)\n",
                seconds > 0 ? static_cast<double>(leaves) / seconds : 0.0, seconds);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures Veltramox: search, move generation, single operations");
    app.set_version_flag("--version", std::string("veltramox-bench ") + kVersion);
    app.require_subcommand(1);
    int depth = kBenchDepth, leafDepth = 0, status = EXIT_SUCCESS;
    std::string fen = kStart, folder;

    CLI::App* search = app.add_subcommand("search", "Search speed and node total");
    search->add_option("DEPTH", depth, "Plies")
        ->check(CLI::Range(3, 98))
        ->capture_default_str();
    bool strong = false;
    search->add_flag("--strong", strong, "The strong search");
    int threads = 1;
    search->add_option("--threads", threads, "Cores that the strong search uses")
        ->check(CLI::Range(1, kMostThreads));
    search->callback([&] { BenchSearch(depth, strong, threads); });
    for (const bool divide : {false, true}) {
        CLI::App* perft = app.add_subcommand(
            divide ? "divide" : "perft",
            divide ? "The leaves of perft by first move" : "Leaves of the legal tree");
        perft->add_option("DEPTH", leafDepth, "Plies")
            ->required()
            ->check(CLI::Range(1, 20));
        perft->add_option("FEN", fen, "The position; by default that of a game's start");
        perft->callback([&, divide] { BenchPerft(leafDepth, fen.c_str(), divide); });
    }
    // Its arguments are the benchmark library's own.
    CLI::App* micro = app.add_subcommand("micro", "Single operations");
    micro->prefix_command();
    micro->callback([&] { status = RunMicroBenchmarks(argc - 1, argv + 1); });
    CLI::App* tables = app.add_subcommand("tables", "Probes of endgame tables");
    tables->add_option("DIR", folder, "Where the tables are");
    tables->callback(
        [&] { status = RunTablesBenchmark(folder.empty() ? nullptr : folder.c_str()); });

    app.add_subcommand("magics", "The factors of the sliding attacks, found anew")
        ->callback(PrintMagics);

    if (!PrepareEngine()) Fail("no memory");
    CLI11_PARSE(app, argc, argv);
    return status;
}
