// The operations that most of a search's time goes into, each alone, so that a change of
// speed can be traced to one of them.
#include "bench/micro.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <limits>
#include <utility>

#include "bench/positions.h"
#include "board/attacks.h"
#include "board/fen.h"
#include "eval/evaluate.h"
#include "platform/clock.h"
#include "platform/input.h"
#include "search/alphabeta.h"
#include "search/control.h"
#include "search/rootmoves.h"

namespace {

// Each benchmark runs over all positions in turn; a time is for a round of 64 calls on
// one position, the set-up of the position left out. `operation` returns how many
// operations one call was, which gives the rate of items.
template <typename Operation>
void OverPositions(benchmark::State& state, Operation operation) {
    // Pausing the clock costs more than one operation: it must not weigh.
    constexpr int kRepeats = 64;
    std::size_t next = 0;
    std::int64_t operations = 0;
    for (auto _ : state) {
        state.PauseTiming();
        if (!SetFen(kBenchPositions[next])) std::abort();
        next = (next + 1) % std::size(kBenchPositions);
        Generated.MoveStackTop = 0;
        state.ResumeTiming();
        for (int i = 0; i < kRepeats; ++i) operations += operation();
    }
    state.SetItemsProcessed(operations);
}

void MicroEvaluate(benchmark::State& state) {
    OverPositions(state, [] {
        // A full window, so that no evaluation ends early by a lazy bound. After the
        // first call the pawn terms come from the pawn hash table, as they mostly do in a
        // search.
        benchmark::DoNotOptimize(Evaluated(-kFullWindow, kFullWindow));
        return 1;
    });
}

void MicroGenerateCaptures(benchmark::State& state) {
    OverPositions(state, [] {
        Generated.MoveStackTop = 0;
        GenerateCaptures(Board.Occupied[ChangeSide(Board.SideToMove)]);
        return 1;
    });
}

void MicroGenerateQuiet(benchmark::State& state) {
    OverPositions(state, [] {
        Generated.MoveStackTop = 0;
        GenerateQuiet();
        return 1;
    });
}

// The generator's time is part of it, shared among the moves of the position.
void MicroMakeUnmake(benchmark::State& state) {
    OverPositions(state, [] {
        GenerateLegalMoves(0);
        for (int i = 0; i < Generated.MoveStackTop; ++i) {
            MakeMove(Generated.MoveStack[i]);
            UnmakeMove();
        }
        return Generated.MoveStackTop;
    });
}

// Captures of the position, each exchanged out.
void MicroStaticExchange(benchmark::State& state) {
    OverPositions(state, [] {
        Generated.MoveStackTop = 0;
        GenerateCaptures(Board.Occupied[ChangeSide(Board.SideToMove)]);
        int exchanges = 0;
        for (int i = 0; i < Generated.MoveStackTop; ++i) {
            if (!CapturesOrPromotes(Generated.MoveStack[i])) continue;
            benchmark::DoNotOptimize(
                StaticExchange(To(Generated.MoveStack[i]), From(Generated.MoveStack[i])));
            ++exchanges;
        }
        return exchanges;
    });
}

// Every square once, by alternating colours.
void MicroIsAttacked(benchmark::State& state) {
    OverPositions(state, [] {
        for (int square = 0; square < 64; ++square)
            benchmark::DoNotOptimize(IsAttacked(square & 1, square));
        return 64;
    });
}

// One look at input and clock, standard input being a pipe on which nothing waits. The
// search does it once in kLongPollInterval nodes, with little time left once in
// kShortPollInterval.
void MicroPollPoint(benchmark::State& state) {
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[0], STDIN_FILENO) < 0) std::abort();
    // A search with time in plenty: every question is answered "go on".
    Control.StopSearch = 0;
    Control.DepthLimit = kTimedDepthLimit;
    Root.RootMoveIndex = 1;
    Control.TimeBudget = GameClock.EngineClock = std::numeric_limits<int>::max() / 8;
    Control.SearchStartTime = ClockMilliseconds();
    // Benchmarks ignore input, so the question to the operating system is put here.
    for (auto _ : state)
        if (InputWaiting() != 0 || PollPoint()) std::abort();
    close(ends[0]);
    close(ends[1]);
}

}  // namespace

int RunMicroBenchmarks(int argc, char** argv) {
    const std::pair<const char*, void (*)(benchmark::State&)> all[] = {
        {"Evaluate", MicroEvaluate},
        {"GenerateCaptures", MicroGenerateCaptures},
        {"GenerateQuiet", MicroGenerateQuiet},
        {"LegalMovesMakeUnmake", MicroMakeUnmake},
        {"CapturesStaticExchange", MicroStaticExchange},
        {"IsAttacked", MicroIsAttacked},
        {"PollPoint", MicroPollPoint},
    };
    for (const auto& [name, run] : all) benchmark::RegisterBenchmark(name, run);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
