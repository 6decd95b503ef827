// The searches run in this process, by depth alone: no clock can
// end one, so that node counts are exact.
#include "bench/searchbench.h"

#include <cstdio>
#include <cstdlib>

#include "bench/positions.h"
#include "board/fen.h"
#include "board/notation.h"
#include "driver/startup.h"
#include "platform/clock.h"
#include "search/control.h"
#include "search/root.h"
#include "search/rootmoves.h"

SearchBench SearchBenchPositions(int depth, const Searcher& searcher, int threads) {
    SearchBench bench;
    int number = 0;
    for (const char* fen : kBenchPositions) {
        // Hash tables, history and killers of the position before would change the count.
        if (!ResetEngine(0, searcher, threads) || !SetFen(fen)) std::abort();
        const double start = UserSeconds();
        StartSearchClock();
        Search(depth, false);
        bench.seconds += UserSeconds() - start;
        bench.elapsed += static_cast<double>(ElapsedMilliseconds()) / 1000;
        bench.nodes += NodesInAll();
        char text[kMoveTextSize];
        MoveToText(text, RootMoves[0]);
        std::printf("%2d %-5s %6d %10lld  %s\n", ++number, text, RootScore,
                    static_cast<long long>(NodesInAll()), fen);
    }
    return bench;
}
