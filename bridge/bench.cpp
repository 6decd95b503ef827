#include "bridge/bench.h"

#include <cstdlib>

#include "bench/positions.h"
#include "bridge/engine.h"
#include "bridge/game.h"
#include "bridge/lines.h"
#include "bridge/session.h"

namespace {

constexpr int kStandardDepth = 7;

int BenchDepth;
std::size_t Position;
long long Nodes, Milliseconds;

// Each position is searched by an engine just started: no table knows the ones before.
void Next() {
    for (; Position < std::size(kBenchPositions); ++Position) {
        // Some of the list are no positions of a game.
        if (!StartGame(kBenchPositions[Position]) || GameResult() != nullptr) continue;
        ForgetGames();
        SearchLimits limits;
        limits.depth = BenchDepth;
        BeginSearch(limits);
        return;
    }
    QuitRequested = true;
}

void OnLine(const std::string& line) {
    if (line == "quit") QuitRequested = true;
}

void OnMove(const std::string& move, bool) {
    Nodes += LastReport.nodes;
    Milliseconds += SearchTime();
    Say("%2zu %-5s %6d %10lld  %s", Position + 1, move.c_str(), LastReport.score,
        LastReport.nodes, kBenchPositions[Position]);
    ++Position;
    Next();
}

void OnNoMove(const std::string&) {
    ++Position;
    Next();
}

void OnNotice(const std::string& text) { Say("# %s", text.c_str()); }
void OnThinking(const ThinkingReport&) {}
void OnStatus(const std::string&) {}

constexpr Protocol kBench = {OnLine, OnThinking, OnMove, OnNoMove, OnStatus, OnNotice};

}  // namespace

int RunBench(int depth) {
    BenchDepth = depth > 0 ? depth : kStandardDepth;
    const int status = RunAlone(kBench, Next);
    if (Position < std::size(kBenchPositions)) return EXIT_FAILURE;
    Say("%lld nodes %lld nps", Nodes, Milliseconds > 0 ? Nodes * 1000 / Milliseconds : 0);
    return status;
}
