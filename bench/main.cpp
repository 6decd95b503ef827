// Benchmarks: search speed with a node total that every faithful build reproduces, perft,
// and the time of single operations.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/enginestate.h"
#include "bench/micro.h"
#include "bench/searchbench.h"
#include "bench/tables.h"
#include "board/fen.h"
#include "board/generate.h"
#include "board/notation.h"
#include "platform/clock.h"
#include "platform/version.h"

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
void BenchSearch(int depth) {
    const SearchBench bench = SearchBenchPositions(depth);
    const auto nodes = static_cast<double>(bench.nodes);
    std::printf("Nodes: %lld\n", static_cast<long long>(bench.nodes));
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

[[noreturn]] void Usage(int status) {
    std::fprintf(
        status == EXIT_SUCCESS ? stdout : stderr,
        "usage: veltramox-bench search [DEPTH]         search speed and node total\n"
        "       veltramox-bench perft N [FEN]          leaves at depth N\n"
        "       veltramox-bench divide N [FEN]         the same by first move\n"
        "       veltramox-bench micro [BENCHMARK FLAGS]  single operations\n"
        "       veltramox-bench tables [DIR]           probes of endgame tables\n"
        "       veltramox-bench --version\n");
    std::exit(status);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) Usage(EXIT_FAILURE);
    if (std::strcmp(argv[1], "--help") == 0) Usage(EXIT_SUCCESS);
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("veltramox-bench %s\n", kVersion);
        return EXIT_SUCCESS;
    }
    if (!PrepareEngine()) Fail("no memory");
    const char* mode = argv[1];
    if (std::strcmp(mode, "search") == 0) {
        const int depth = argc > 2 ? std::atoi(argv[2]) : kBenchDepth;
        if (depth < 3 || depth > 98) Fail("search needs a depth of 3 to 98");
        BenchSearch(depth);
    } else if ((std::strcmp(mode, "perft") == 0 || std::strcmp(mode, "divide") == 0) &&
               argc > 2) {
        BenchPerft(std::atoi(argv[2]), argc > 3 ? argv[3] : kStart,
                   std::strcmp(mode, "divide") == 0);
    } else if (std::strcmp(mode, "micro") == 0) {
        return RunMicroBenchmarks(argc - 1, argv + 1);
    } else if (std::strcmp(mode, "tables") == 0) {
        return RunTablesBenchmark(argc > 2 ? argv[2] : nullptr);
    } else {
        Usage(EXIT_FAILURE);
    }
    return EXIT_SUCCESS;
}
