#include "search/strong/history.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "search/strong/state.h"

namespace {

constexpr int kHistoryLimit = 16384;  // no counter goes beyond it

// Gravity: the nearer to the limit a counter is, the less a bonus moves it, so that it
// never passes the limit and old experience fades.
void Add(std::int16_t& counter, int bonus) {
    counter = static_cast<std::int16_t>(counter + bonus -
                                        counter * std::abs(bonus) / kHistoryLimit);
}

}  // namespace

int QuietHistory(Move m, int S, const SearchFrame* frame) {
    const MoveHistory& history = *Strong.history;
    const int index = PieceTo(m, S);
    int score = history.butterfly[S][FromTo(m)];
    for (const int before : {1, 2})
        if (const int earlier = frame[-before].pieceTo; earlier != kNoPieceTo)
            score += history.continuation[before - 1][earlier][index];
    return score;
}

int CaptureHistory(Move m, int S) {
    return Strong.history->capture[PieceTo(m, S)][Captured(m)];
}

int HistoryBonus(int depth) {
    return std::min(1600, 16 * depth * depth + 64 * depth - 32);
}

void UpdateQuiet(Move m, int S, const SearchFrame* frame, int bonus) {
    MoveHistory& history = *Strong.history;
    const int index = PieceTo(m, S);
    Add(history.butterfly[S][FromTo(m)], bonus);
    for (const int before : {1, 2})
        if (const int earlier = frame[-before].pieceTo; earlier != kNoPieceTo)
            Add(history.continuation[before - 1][earlier][index], bonus);
}

void UpdateCapture(Move m, int S, int bonus) {
    Add(Strong.history->capture[PieceTo(m, S)][Captured(m)], bonus);
}

void RememberCutOff(Move m, SearchFrame* frame) {
    if (frame->killers[0] != m) {
        frame->killers[1] = frame->killers[0];
        frame->killers[0] = m;
    }
    if (frame[-1].pieceTo != kNoPieceTo) Strong.history->counter[frame[-1].pieceTo] = m;
}

void ClearHistory() {
    std::memset(static_cast<void*>(Strong.history), 0, sizeof *Strong.history);
}

void AgeHistory() {
    for (auto& colour : Strong.history->butterfly)
        for (std::int16_t& counter : colour)
            counter = static_cast<std::int16_t>(counter * 3 / 4);
}
