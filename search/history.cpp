#include "search/history.h"

#include "board/generate.h"

namespace {

// The next addition still fits the counter.
constexpr std::int32_t kHistoryLimit = 1 << 30;

}  // namespace

void UpdateGoodMove(Move m, int depth) {
    if (!IsQuiet(m)) return;
    const int S = Board.SideToMove;
    std::int32_t& counter =
        Ordering.HistoryTable[FromTo(m) * 2 + static_cast<std::size_t>(S)];
    // Deep cut-offs save more, hence the square.
    counter += depth * depth;
    // Halving all of them keeps their order.
    if (counter > kHistoryLimit)
        for (std::int32_t& entry : Ordering.HistoryTable) entry >>= 1;
    // The two killers of a ply stay different.
    if (Ordering.Killer1[S][Line.Ply] == m) return;
    Ordering.Killer2[S][Line.Ply] = Ordering.Killer1[S][Line.Ply];
    Ordering.Killer1[S][Line.Ply] = m;
}

void ClearHistoryAndKillers() {
    for (std::int32_t& entry : Ordering.HistoryTable) entry = 0;
    for (int c : {WHITE, BLACK})
        for (int ply = 0; ply < kMaxPly; ++ply)
            Ordering.Killer1[c][ply] = Ordering.Killer2[c][ply] = NO_MOVE;
}

void AgeHistoryAndKillers() {
    // A move decision later the same positions stand two plies nearer to the root.
    constexpr int kAgedBits = 8, kPliesPassed = 2;
    for (std::int32_t& entry : Ordering.HistoryTable) entry >>= kAgedBits;
    for (int c : {WHITE, BLACK})
        for (int ply = 0; ply < kMaxPly; ++ply) {
            const bool inside = ply + kPliesPassed < kMaxPly;
            Ordering.Killer1[c][ply] =
                inside ? Ordering.Killer1[c][ply + kPliesPassed] : NO_MOVE;
            Ordering.Killer2[c][ply] =
                inside ? Ordering.Killer2[c][ply + kPliesPassed] : NO_MOVE;
        }
}
