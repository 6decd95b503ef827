// Values are kept in the table, the static evaluation with them: in this search it is the
// dearest part of a node.
#include "search/strong/quiesce.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "search/control.h"
#include "search/repetition.h"
#include "search/scores.h"
#include "search/strong/evaluation.h"
#include "search/strong/exchange.h"
#include "search/strong/picker.h"
#include "search/strong/step.h"

namespace {

constexpr int kDeltaMargin = 150;  // what a capture may gain beside the man
constexpr int kRepetitionLevel =
    -2;  // captures alone do not repeat: later none is looked for

struct QuietNode {
    int alpha, beta;
    bool inCheck;
    std::uint64_t key;
    KnownResult known = {};
    int raw = kNoEvaluation, evaluation = kNoEvaluation;
    int best = 0;
    Move bestMove = NO_MOVE;
};

// The table settles the node: any depth will do. Not in the principal variation, which is
// to be shown.
bool SettledByTable(const QuietNode& node) {
    const KnownResult& known = node.known;
    if (node.beta - node.alpha > 1) return false;
    return known.bound == kExact ||
           (known.bound == kUpperBound && known.score <= node.alpha) ||
           (known.bound == kLowerBound && known.score >= node.beta);
}

// The side to move may leave it at what stands on the board. True when that is enough.
bool StandsPat(QuietNode& node) {
    node.raw = node.known.evaluation != kNoEvaluation ? node.known.evaluation
                                                      : StaticEvaluation();
    node.best = node.evaluation = CorrectedEvaluation(node.raw);
    const KnownResult& known = node.known;
    const int telling = known.score > node.best ? kLowerBound : kUpperBound;
    if (std::abs(known.score) < kMateBound && (known.bound & telling) != 0)
        node.best = known.score;
    if (node.best < node.beta) {
        node.alpha = std::max(node.alpha, node.best);
        return false;
    }
    if (!known.found) StoreResult(node.key, NO_MOVE, node.best, node.raw, 0, kLowerBound);
    return true;
}

// The capture cannot bring the score up to alpha.
bool IsHopeless(QuietNode& node, Move m) {
    if (Promotion(m) != EMPTY) return false;
    const int victim = IsEnPassant(m) ? PieceValue[PAWN] : PieceValue[Captured(m)];
    const int most = node.evaluation + kDeltaMargin + victim;
    if (most > node.alpha) return m == node.known.move && !ExchangeAtLeast(m, 0);
    node.best = std::max(node.best, std::min(node.alpha, most));
    return true;
}

// Out of check, once one move is known not to be mated: quiet moves are left out below
// the first level.
bool IsSpared(const QuietNode& node, Move m, int tried, int level) {
    return tried > 0 && node.best > -kMateBound && Captured(m) == EMPTY && level < 0;
}

// True when the search stops.
bool SearchCaptures(QuietNode& node, int level) {
    const int S = Board.SideToMove;
    SearchFrame* const frame = FrameAt(Line.Ply);
    const SquareSet exposed = ExposedAt(S);
    const Move first =
        node.inCheck || !IsQuiet(node.known.move) ? node.known.move : NO_MOVE;
    MovePicker picker(first, frame, true);
    int tried = 0;
    while (const Move m = picker.Next()) {
        if (node.inCheck ? IsSpared(node, m, tried, level) : IsHopeless(node, m))
            continue;
        if (!StepInto(m, S, exposed, frame)) continue;
        ++tried;
        const int v = -QuiesceStrong(-node.beta, -node.alpha, level - 1);
        StepBack();
        if (Control.StopSearch != 0) return true;
        node.best = std::max(node.best, v);
        if (v <= node.alpha) continue;
        node.alpha = v;
        node.bestMove = m;
        if (v >= node.beta) break;
    }
    return false;
}

}  // namespace

int QuiesceStrong(int alpha, int beta, int level) {
    Strong.lines[Line.Ply].length = 0;
    if (beta - alpha > 1) Strong.deepest = std::max(Strong.deepest, Line.Ply);
    if (CountNode()) return 0;
    if (Board.FiftyCounter >= kFiftyMoves) return 0;
    QuietNode node{.alpha = alpha,
                   .beta = beta,
                   .inCheck = Line.InCheckAt[Line.Ply] != 0,
                   .key = PositionKey()};
    if (LineIsFull()) return node.inCheck ? 0 : StaticEvaluation();
    if (level > kRepetitionLevel && RepeatsPosition()) return 0;
    node.known = LookUpResult(node.key);
    if (SettledByTable(node)) return node.known.score;
    if (node.inCheck)
        node.best = Line.Ply - MateScore;
    else if (StandsPat(node))
        return node.best;
    if (SearchCaptures(node, level)) return 0;
    const bool exact = node.best > alpha && beta - alpha > 1;
    const int bound = node.best >= beta ? kLowerBound : exact ? kExact : kUpperBound;
    StoreResult(node.key, node.bestMove, node.best, node.raw, 0, bound);
    return node.best;
}

void TestStrongQuiescence() {
    constexpr int kMostNodes = 1000000;
    Line.Ply = 0;
    Generated.MoveStackTop = 0;
    Control.StopSearch = 0;
    Control.PollCountdown = kMostNodes;
    const int S = Board.SideToMove;
    Line.InCheckAt[0] = IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 1 : 0;
    Strong.time.alone = true;
    QuiesceStrong(-ScoreBound, ScoreBound, 0);
    Strong.time.alone = false;
}
