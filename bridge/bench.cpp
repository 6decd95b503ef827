// The benchmark of the developers' tools, linked in: no engine process is started, so
// that its start and the pipes cost nothing in the speed.
#include "bridge/bench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench/enginestate.h"
#include "bench/searchbench.h"

int RunBench(int depth) {
    if (!PrepareEngine()) {
        std::fputs("veltramox-bridge: no memory\n", stderr);
        return EXIT_FAILURE;
    }
    const SearchBench bench =
        SearchBenchPositions(depth == 0 ? kSignatureDepth : std::clamp(depth, 3, 98));
    const auto nodes = static_cast<double>(bench.nodes);
    std::printf("%lld nodes %.0f nps\n", static_cast<long long>(bench.nodes),
                bench.seconds > 0 ? nodes / bench.seconds : 0);
    return EXIT_SUCCESS;
}
