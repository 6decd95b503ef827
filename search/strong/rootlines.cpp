#include "search/strong/rootlines.h"

#include <algorithm>

#include "search/control.h"
#include "search/outward.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/strong/state.h"

namespace {

constexpr std::int64_t kQuietNodes = 10000;  // no bounds and news before so many

RootLines& Lines = Strong.rootLines;

void Tell(int line, int score, int bound) {
    const RootLine& shown = Lines.shown[line];
    FullThinkingLine({.rank = line + 1,
                      .depth = bound == kExact ? shown.depth : Strong.depth,
                      .deepest = std::max(shown.deepest, shown.depth),
                      .score = score,
                      .bound = bound,
                      .permille = ResultsPermille(),
                      .tableHits = Strong.tableHits,
                      .moves = shown.moves.moves,
                      .count = shown.moves.length});
}

bool IsTalkative() { return FullThinkingWanted() && Result.NodeCount > kQuietNodes; }

}  // namespace

void ClearLines(int wanted, int told) {
    Lines.wanted = wanted;
    Lines.told = told;
    Lines.foundCount = Lines.shownCount = 0;
    Lines.toldAtNodes = -1;
}

// A single line is shown as soon as it is found.
void NoteLine(int line, int score, int bound, std::uint64_t key) {
    Lines.found[line] = {.score = score,
                         .bound = bound,
                         .depth = Strong.depth,
                         .deepest = Strong.deepest,
                         .key = key,
                         .moves = Strong.lines[0]};
    if (Lines.wanted > 1) return;
    Lines.foundCount = 1;
    SettleLines();
}

void NoteOnlyLine() {
    ClearLines(1, 1);
    Strong.depth = Strong.deepest = 1;
    Strong.lines[0].moves[0] = RootMoves[0];
    Strong.lines[0].length = 1;
    NoteLine(0, RootScore, kExact, 0);
}

void SortLine(int line) {
    Lines.foundCount = line + 1;
    int to = line;
    while (to > 0 && Lines.found[to - 1].score < Lines.found[line].score) --to;
    if (to == line) return;
    std::rotate(Lines.found + to, Lines.found + line, Lines.found + line + 1);
    MoveRootMove(line, to);
}

void SettleLines() {
    std::copy_n(Lines.found, Lines.foundCount, Lines.shown);
    Lines.shownCount = Lines.foundCount;
}

int LastScoreOf(Move m, int otherwise) {
    for (int i = 0; i < Lines.shownCount; ++i)
        if (Lines.shown[i].moves.moves[0] == m) return Lines.shown[i].score;
    return otherwise;
}

void PlayLine(int line) {
    if (line >= Lines.shownCount) return;
    std::rotate(Lines.shown, Lines.shown + line, Lines.shown + line + 1);
    if (line > 0) Lines.toldAtNodes = -1;
    Move* const end = RootMoves + Root.RootMoveCount;
    Move* const move = std::find(RootMoves, end, Lines.shown[0].moves.moves[0]);
    if (move != end) MoveRootMove(static_cast<int>(move - RootMoves), 0);
    RootScore = Lines.shown[0].score;
}

void MoveRootMove(int index, int to) {
    const auto bring = [&](auto* list) {
        std::rotate(list + to, list + index, list + index + 1);
    };
    bring(RootMoves);
    bring(Root.RootScores);
    bring(Root.RootGivesCheck);
    bring(Strong.effort);
}

bool TellLines() {
    if (Lines.toldAtNodes != Result.NodeCount)
        for (int i = 0; i < std::min(Lines.told, Lines.shownCount); ++i)
            Tell(i, Lines.shown[i].score, Lines.shown[i].bound);
    Lines.toldAtNodes = Result.NodeCount;
    return Lines.shownCount > 0;
}

void TellNewLine() {
    if (Lines.wanted == 1 && IsTalkative()) TellLines();
}

void TellBound(int score, int bound) {
    if (Lines.wanted == 1 && Lines.shownCount == 1 && IsTalkative())
        Tell(0, score, bound);
}
