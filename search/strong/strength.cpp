#include "search/strong/strength.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "board/board.h"
#include "egtb/tablebase.h"
#include "eval/pawns.h"
#include "search/control.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/strong/state.h"

namespace {

StrengthState& State = Strong.strength;

// Found by games of neighbouring levels.
struct NamedLevel {
    int elo;
    StrengthLevel level;
};
constexpr NamedLevel kLevels[] = {
    {800, {45, 10, 200}},  {1200, {220, 4, 70}},   {1600, {2600, 3, 30}},
    {2000, {7000, 3, 20}}, {2400, {18000, 2, 12}},
};

// A limited search has this part of the table to itself, emptied before.
constexpr std::size_t kLimitedBuckets = 1 << 13;

// The finaliser of a 64-bit mixing generator.
std::uint64_t Mixed(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    return x ^ (x >> 31);
}

double Blend(double from, double to, double share) { return from + (to - from) * share; }

// Score of the root move that has led to the position on the board; false when no table
// knows it.
bool TableScore(int& score) {
    int value = 0;
    constexpr int kMated = -32766, kWin = 32767;  // as ProbeTablebase counts moves
    const bool bareKings = PopCount(AllOccupied()) == 2;
    if (!bareKings && !ProbeTablebase(ChangeSide(Board.SideToMove), value)) return false;
    score = 0;
    if (value < 0) score = MateScore - (2 * (value - kMated) + 1);
    if (value > 0) score = 2 * (kWin - value) - MateScore;
    return true;
}

// The worse a line, the smaller its share.
int Draw(int margin) {
    const RootLines& lines = Strong.rootLines;
    const int best = lines.shown[0].score;
    std::uint64_t weights[kMostLines], sum = 0;
    for (int i = 0; i < lines.shownCount; ++i) {
        const int loss = best - lines.shown[i].score;
        weights[i] = loss <= margin ? static_cast<std::uint64_t>(margin - loss + 1) : 0;
        sum += weights[i];
    }
    std::uint64_t lot = Mixed(State.seed ^ Mixed(PositionKey())) % sum;
    for (int i = 0; i < lines.shownCount; ++i) {
        if (lot < weights[i]) return i;
        lot -= weights[i];
    }
    return 0;
}

}  // namespace

StrengthLevel LevelOf(int elo) {
    const int within = std::clamp(elo, kWeakest, kStrongest);
    const NamedLevel* upper = kLevels + 1;
    while (upper->elo < within) ++upper;
    const NamedLevel& lower = upper[-1];
    const double share =
        static_cast<double>(within - lower.elo) / (upper->elo - lower.elo);
    const StrengthLevel &a = lower.level, &b = upper->level;
    const auto nodes = [](const StrengthLevel& level) {
        return std::log(static_cast<double>(level.nodes));
    };
    return {.nodes = std::llround(std::exp(Blend(nodes(a), nodes(b), share))),
            .lines = static_cast<int>(std::lround(Blend(a.lines, b.lines, share))),
            .margin = static_cast<int>(std::lround(Blend(a.margin, b.margin, share)))};
}

void HearStrength(const char* rest) {
    char *elo = nullptr, *seed = nullptr;
    const long long level = std::strtoll(rest, &elo, 10);
    const unsigned long long number = std::strtoull(elo, &seed, 10);
    if (elo == rest || seed == elo || level < 0) return;
    State.elo =
        level == 0 ? 0
                   : static_cast<int>(std::clamp<long long>(level, kWeakest, kStrongest));
    State.seed = number;
}

bool IsLimited() { return State.elo != 0 && Result.ForGame != 0; }

void BeginLimited() {
    State.buckets = Strong.results.count;
    Strong.results.count = std::min(Strong.results.count, kLimitedBuckets);
    ClearResults();
    ClearHistory();
    ClearCorrections();
    NarrowPawnTable();
    BuildRootMoves();  // in an order that no earlier result has changed
    RootScore = 0;
}

bool FindTableMove() {
    if (TbMaxPieces == 0 || PopCount(AllOccupied()) > TbMaxPieces || CastlingRightsLeft())
        return false;
    int best = 0, bestScore = -ScoreBound;
    for (int i = 0; i < Root.RootMoveCount; ++i) {
        int score = 0;
        MakeMove(RootMoves[i]);
        const bool known = TableScore(score);
        UnmakeMove();
        if (!known) return false;
        if (score > bestScore) best = i;
        bestScore = std::max(score, bestScore);
    }
    MoveRootMove(best, 0);
    RootScore = bestScore;
    return true;
}

void EndLimited() {
    Strong.results.count = State.buckets;
    WidenPawnTable();
    if (Strong.rootLines.shownCount > 0) PlayLine(Draw(LevelOf(State.elo).margin));
}
