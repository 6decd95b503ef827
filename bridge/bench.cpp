#include "bridge/bench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench/searchbench.h"
#include "driver/input.h"
#include "driver/settings.h"
#include "driver/state.h"

int RunBench(int depth) {
    SetEarlyDefaults();
    SetLateDefaults();
    PostThinking = 0;
    IgnoreInput();
    if (!FreshState()) {
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
