// The node: a fail-soft principal-variation search. Before the moves whole-node pruning,
// in the moves pruning and reduction of late ones, extension of singular ones.
#include "search/strong/node.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "egtb/tablebase.h"
#include "search/control.h"
#include "search/learnedscore.h"
#include "search/repetition.h"
#include "search/scores.h"
#include "search/strong/evaluation.h"
#include "search/strong/exchange.h"
#include "search/strong/picker.h"
#include "search/strong/quiesce.h"
#include "search/strong/reductions.h"
#include "search/strong/step.h"
#include "search/tableprobe.h"

namespace {

// ---- Margins in centipawns, depths in plies ----
constexpr int kReverseFutilityDepth = 7, kReverseFutility = 75;
constexpr int kRazorDepth = 3, kRazor = 250, kRazorPerPly = 150;
constexpr int kNullMoveDepth = 2;
constexpr int kNullMoveBelow = 20;  // a ply that the evaluation may be below beta
constexpr int kNullReduction = 3;   // and a quarter of the depth,
constexpr int kNullPerPly = 180;    // and a ply for so much above beta,
constexpr int kMostNullGain = 3;    // so many at most
constexpr int kVerifiedDepth = 10;  // from here on, and with few pieces, it is verified
constexpr int kFewUnits = 5;
constexpr int kProbCutDepth = 5, kProbCut = 120, kProbCutReduction = 4;
constexpr int kIterativeDepth = 4;  // without a table's move a ply less
constexpr int kSingularDepth = 7, kSingularPerPly = 2, kDoubleMargin = 25,
              kMostDoubles = 5;
constexpr int kFutilityDepth = 6, kFutility = 90, kFutilityPerPly = 80;
constexpr int kLateMoves = 3;  // and the depth's square
constexpr int kHistoryDepth = 3, kPoorHistory = 3500;
constexpr int kQuietExchangeDepth = 7, kQuietExchange = 25;
constexpr int kCaptureExchangeDepth = 6, kCaptureExchange = 90;
constexpr int kHistoryPerPly = 8192;  // of history that reduces by a ply less
constexpr int kOldCount = 90;  // half-moves: the table does not know the fifty moves

constexpr int kMostQuiets = 64, kMostCaptures = 32;  // remembered as tried

struct Node {
    int alpha, beta, depth;
    int entryAlpha;
    bool pv, cutNode;
    int S;
    bool inCheck;
    SearchFrame* frame;
    Move excluded;
    std::uint64_t key = 0;
    KnownResult known = {};
    int raw = kNoEvaluation, evaluation = kNoEvaluation;
    int estimate = kNoEvaluation;  // the evaluation, or a table's score that tells more
    bool improving = false;
    int best = -ScoreBound;
    Move bestMove = NO_MOVE;
};

// The moves of a node as they are tried.
struct Tried {
    Move quiets[kMostQuiets], captures[kMostCaptures];
    int quietCount = 0, captureCount = 0;
    int count = 0;  // legal ones that were searched

    void Note(Move m) {
        if (!IsQuiet(m)) {
            if (captureCount < kMostCaptures) captures[captureCount++] = m;
        } else if (quietCount < kMostQuiets) {
            quiets[quietCount++] = m;
        }
    }
};

// What decides about one move.
struct Candidate {
    Move m;
    bool quiet, directCheck;
    int history;
    int reduction;  // 1024ths of a ply
    int extension = 0;
};

template <bool pv>
int Visit(int alpha, int beta, int depth, bool cutNode);

int VisitNull(int beta, int depth, bool cutNode) {
    return Visit<false>(beta - 1, beta, depth, cutNode);
}

bool IsMateScore(int score) { return std::abs(score) >= kMateBound; }

// ---- Before the moves ----

// Fifty moves without progress, unless the last one mates.
bool IsDrawnByCount(const Node& node) {
    if (Board.FiftyCounter < kFiftyMoves) return false;
    if (!node.inCheck) return true;
    const int top = Generated.MoveStackTop;
    if (!SearchHasRoom()) return true;
    GenerateLegalMoves(top);
    const bool mated = Generated.MoveStackTop == top;
    Generated.MoveStackTop = top;
    return !mated;
}

// Draws, the ends of the arrays, and mates that are nearer elsewhere. True when the node
// is settled.
bool EndsHere(Node& node, int& score) {
    score = 0;
    if (IsDrawnByCount(node) || RepeatsPosition()) return true;
    if (LineIsFull()) {
        score = node.inCheck ? 0 : StaticEvaluation();
        return true;
    }
    node.alpha = std::max(node.alpha, Line.Ply - MateScore);
    node.beta = std::min(node.beta, MateScore - Line.Ply - 1);
    score = node.alpha;
    return node.alpha >= node.beta;
}

// A position without one of its moves is another one, of which the table knows nothing.
bool SettledByTable(Node& node, int& score) {
    if (node.excluded != NO_MOVE) return false;
    node.key = PositionKey();
    node.known = LookUpResult(node.key);
    const KnownResult& known = node.known;
    if (node.pv || known.depth < node.depth || Board.FiftyCounter >= kOldCount)
        return false;
    score = known.score;
    return known.bound == kExact ||
           (known.bound == kUpperBound && known.score <= node.alpha) ||
           (known.bound == kLowerBound && known.score >= node.beta);
}

// Endgame tables and positions learned from earlier games. A table's draw tells who had
// more men: here it is one.
bool SettledByKnowledge(const Node& node, int& score) {
    if (node.excluded != NO_MOVE) return false;
    if (TbMaxPieces != 0 && AskTables(score)) {
        if (!IsMateScore(score)) score = 0;
        ++Strong.tableHits;
        StoreResult(node.key, NO_MOVE, score, kNoEvaluation, kTableDepth, kExact);
        return true;
    }
    return LearnedScore(node.depth * OnePly, score);
}

// The static evaluation, from the table if it has it.
void Evaluate(Node& node) {
    const KnownResult& known = node.known;
    node.raw = known.evaluation;
    if (node.raw == kNoEvaluation) {
        node.raw = StaticEvaluation();
        if (!known.found) StoreResult(node.key, NO_MOVE, 0, node.raw, 0, 0);
    }
    node.frame->evaluation = CorrectedEvaluation(node.raw);
}

// What the position looks to be worth. With a move excluded the node has been here
// before.
void Assess(Node& node) {
    const KnownResult& known = node.known;
    FrameAt(Line.Ply + 1)->killers[0] = FrameAt(Line.Ply + 1)->killers[1] = NO_MOVE;
    if (node.inCheck) {
        node.frame->evaluation = kNoEvaluation;
        return;
    }
    if (node.excluded == NO_MOVE) Evaluate(node);
    node.evaluation = node.estimate = node.frame->evaluation;
    const int telling = known.score > node.evaluation ? kLowerBound : kUpperBound;
    if ((known.bound & telling) != 0) node.estimate = known.score;
    const int before = node.frame[-2].evaluation;
    node.improving = before == kNoEvaluation || node.evaluation > before;
}

// So far above beta that a shallow search will not come down to it.
bool FailsHighAsItStands(const Node& node, int& score) {
    const int plies = node.depth - (node.improving ? 1 : 0);
    score = node.estimate;
    return node.depth <= kReverseFutilityDepth && !IsMateScore(node.estimate) &&
           node.estimate - kReverseFutility * plies >= node.beta &&
           Board.Units[node.S] > 0;
}

// So far below alpha that captures alone can help.
bool FailsLowQuietly(const Node& node, int& score) {
    if (node.depth > kRazorDepth ||
        node.estimate + kRazor + kRazorPerPly * (node.depth - 1) > node.alpha)
        return false;
    score = QuiesceStrong(node.alpha, node.alpha + 1, 0);
    return Control.StopSearch != 0 || score <= node.alpha;
}

bool NullMoveAllowed(const Node& node) {
    const KnownResult& known = node.known;
    if (node.depth < kNullMoveDepth || node.estimate < node.beta ||
        node.evaluation < node.beta - kNullMoveBelow * node.depth ||
        Board.Units[node.S] == 0 || node.frame[-1].pieceTo == kNoPieceTo ||
        Line.Ply < Strong.nullMoveFrom)
        return false;
    return known.bound != kUpperBound || known.depth < node.depth - 4 ||
           known.score >= node.beta;
}

// Lets the opponent move twice. Deep in the tree, and where zugzwang is near, a search
// without null moves must bear it out.
bool FailsHighWithoutMoving(Node& node, int& score) {
    if (!NullMoveAllowed(node)) return false;
    const int gain = std::min((node.estimate - node.beta) / kNullPerPly, kMostNullGain);
    const int depth = node.depth - (kNullReduction + node.depth / 4 + gain);
    MakeNullMove();
    node.frame->move = NULL_MOVE;
    node.frame->pieceTo = kNoPieceTo;
    ++Line.Ply;
    Line.InCheckAt[Line.Ply] = 0;
    score = -VisitNull(-node.beta + 1, depth, !node.cutNode);
    --Line.Ply;
    UnmakeNullMove();
    if (Control.StopSearch != 0) return true;
    if (score < node.beta) return false;
    if (score > kMateBound) score = node.beta;
    const bool trusted = node.depth < kVerifiedDepth && Board.Units[node.S] > kFewUnits;
    if (trusted || Strong.nullMoveFrom != 0) return true;
    Strong.nullMoveFrom = Line.Ply + 3 * depth / 4 + 1;
    const int verified = VisitNull(node.beta, depth, false);
    Strong.nullMoveFrom = 0;
    return Control.StopSearch != 0 || verified >= node.beta;
}

// A capture that is far above beta at little depth will be above it at full depth.
bool FailsHighByCapture(const Node& node, int& score) {
    const KnownResult& known = node.known;
    const int bound = node.beta + kProbCut;
    if (node.depth < kProbCutDepth ||
        (known.found && known.depth >= node.depth - 3 && known.score < bound))
        return false;
    const SquareSet exposed = ExposedAt(node.S);
    MovePicker picker(IsQuiet(known.move) ? NO_MOVE : known.move, node.frame, true);
    while (const Move m = picker.Next()) {
        if (!ExchangeAtLeast(m, bound - node.evaluation) ||
            !StepInto(m, node.S, exposed, node.frame))
            continue;
        score = -QuiesceStrong(-bound, -bound + 1, 0);
        if (score >= bound && Control.StopSearch == 0)
            score = -VisitNull(-bound + 1, node.depth - kProbCutReduction, !node.cutNode);
        StepBack();
        if (Control.StopSearch != 0) return true;
        if (score < bound) continue;
        StoreResult(node.key, m, score, node.raw, node.depth - kProbCutReduction + 1,
                    kLowerBound);
        return true;
    }
    return false;
}

// Pruning of the whole node. True when it is settled, or the search stops.
bool IsPruned(Node& node, int& score) {
    if (node.pv || node.inCheck || node.excluded != NO_MOVE || IsMateScore(node.beta))
        return false;
    return FailsHighAsItStands(node, score) || FailsLowQuietly(node, score) ||
           FailsHighWithoutMoving(node, score) || FailsHighByCapture(node, score);
}

// ---- The moves ----

// The squares from which each kind of man gives check to the king.
struct CheckSquares {
    SquareSet of[8];

    explicit CheckSquares(int S) {
        const int king = Board.KingSquare[ChangeSide(S)];
        of[EMPTY] = of[KING] = of[NO_PIECE] = 0;
        of[PAWN] = PawnAttacks[ChangeSide(S)][king];
        of[KNIGHT] = KnightAttacks[king];
        of[BISHOP] = BishopLines(king);
        of[ROOK] = RookLines(king);
        of[QUEEN] = of[BISHOP] | of[ROOK];
    }
    bool Given(Move m) const { return (of[Moving(m)] & SquareMask(To(m))) != 0; }
};

// Late, quiet, and with nothing that speaks for it. True: the move is left out.
bool IsQuietPruned(const Node& node, const Candidate& c, int count, MovePicker& picker) {
    const int reduced = std::max(node.depth - 1 - c.reduction / kReductionUnit, 0);
    if (!node.inCheck) {
        const int most =
            (kLateMoves + node.depth * node.depth) / (node.improving ? 1 : 2);
        const bool futile =
            reduced <= kFutilityDepth &&
            node.evaluation + kFutility + kFutilityPerPly * reduced <= node.alpha;
        if (count >= most || futile) {
            picker.SkipQuiets();
            if (!picker.GaveSpecial()) return true;
        }
    }
    if (reduced <= kHistoryDepth && c.history < -kPoorHistory * (reduced + 1))
        return true;
    return reduced <= kQuietExchangeDepth &&
           !ExchangeAtLeast(c.m, -kQuietExchange * reduced * reduced);
}

bool IsMovePruned(const Node& node, const Candidate& c, int count, MovePicker& picker) {
    if (node.best <= -kMateBound || node.alpha >= kMateBound || Board.Units[node.S] == 0)
        return false;
    if (c.quiet && !c.directCheck) return IsQuietPruned(node, c, count, picker);
    return !c.quiet && !node.pv && node.depth <= kCaptureExchangeDepth &&
           picker.InBadCaptures() &&
           !ExchangeAtLeast(c.m, -kCaptureExchange * node.depth);
}

bool MayBeSingular(const Node& node, Move m) {
    const KnownResult& known = node.known;
    return m == known.move && node.depth >= kSingularDepth && node.excluded == NO_MOVE &&
           Line.Ply < 2 * Strong.depth && (known.bound & kLowerBound) != 0 &&
           known.depth >= node.depth - 3 && !IsMateScore(known.score);
}

// The table's move against all others, at half depth: alone it is extended; where another
// holds beta too, the node fails high. True when the node is settled, or the search
// stops.
bool TestSingular(const Node& node, Candidate& c, int& score) {
    if (!MayBeSingular(node, c.m)) return false;
    const int bound = node.known.score - kSingularPerPly * node.depth;
    node.frame->excluded = c.m;
    const int v = VisitNull(bound, (node.depth - 1) / 2, node.cutNode);
    node.frame->excluded = NO_MOVE;
    score = bound;
    if (Control.StopSearch != 0) return true;
    if (v < bound) {
        const bool twice = !node.pv && v < bound - kDoubleMargin &&
                           node.frame->doubleExtended <= kMostDoubles;
        c.extension = twice ? 2 : 1;
        return false;
    }
    if (bound >= node.beta) return true;
    if (node.known.score >= node.beta) c.extension = -1;
    return false;
}

// Whole plies that a late move is searched less deep.
int ReductionOf(const Node& node, const Candidate& c, const MovePicker& picker, int count,
                int newDepth, bool givesCheck) {
    if (node.depth < 3 || count <= (node.pv ? 3 : 1) ||
        (!c.quiet && !picker.InBadCaptures()))
        return 0;
    int plies = c.reduction / kReductionUnit;
    if (node.pv) --plies;
    if (node.cutNode) ++plies;
    if (!node.improving) ++plies;
    if (picker.GaveSpecial()) --plies;
    if (givesCheck || node.inCheck) --plies;
    if (c.quiet) plies -= c.history / kHistoryPerPly;
    return std::clamp(plies, 0, std::max(newDepth - 1, 0));
}

// The move stands on the board. The first one is searched in full; the others first have
// to show, reduced and against a null window, that they are better.
template <bool pv>
int SearchMove(const Node& node, int newDepth, int reduction, int count) {
    if (count == 1) {
        if constexpr (pv) return -Visit<true>(-node.beta, -node.alpha, newDepth, false);
        return -VisitNull(-node.alpha, newDepth, !node.cutNode);
    }
    int v = -VisitNull(-node.alpha, newDepth - reduction, true);
    if (v > node.alpha && reduction > 0 && Control.StopSearch == 0)
        v = -VisitNull(-node.alpha, newDepth, !node.cutNode);
    if constexpr (pv)
        if (v > node.alpha && v < node.beta && Control.StopSearch == 0)
            v = -Visit<true>(-node.beta, -node.alpha, newDepth, false);
    return v;
}

Candidate Describe(const Node& node, Move m, const CheckSquares& checks, int count) {
    Candidate c{.m = m,
                .quiet = IsQuiet(m),
                .directCheck = checks.Given(m),
                .history = 0,
                .reduction = BaseReduction(node.depth, count + 1)};
    if (c.quiet) c.history = QuietHistory(m, node.S, node.frame);
    return c;
}

// A check that does not throw the man away is worth a look further.
int CheckExtension(const Candidate& c, bool givesCheck, bool losing) {
    return givesCheck && c.extension == 0 && !losing && Line.Ply <= 2 * Strong.depth ? 1
                                                                                     : 0;
}

// True when the node is settled by its singular move, or the search stops.
template <bool pv>
bool SearchMoves(Node& node, Tried& tried, int& score) {
    const CheckSquares checks(node.S);
    const SquareSet exposed = ExposedAt(node.S);
    MovePicker picker(node.known.move, node.frame, false);
    while (const Move m = picker.Next()) {
        if (m == node.excluded) continue;
        Candidate c = Describe(node, m, checks, tried.count);
        if (IsMovePruned(node, c, tried.count, picker)) continue;
        if (TestSingular(node, c, score)) return true;
        const bool losing = c.directCheck && !ExchangeAtLeast(m, 0);
        if (!StepInto(m, node.S, exposed, node.frame)) continue;
        ++tried.count;
        if constexpr (pv) Strong.lines[Line.Ply].length = 0;
        const bool givesCheck = Line.InCheckAt[Line.Ply] != 0;
        c.extension += CheckExtension(c, givesCheck, losing);
        FrameAt(Line.Ply)->doubleExtended =
            node.frame->doubleExtended + (c.extension == 2 ? 1 : 0);
        const int newDepth = node.depth - 1 + c.extension;
        const int reduction =
            ReductionOf(node, c, picker, tried.count, newDepth, givesCheck);
        const int v = SearchMove<pv>(node, newDepth, reduction, tried.count);
        StepBack();
        if (Control.StopSearch != 0) return true;
        if (v > node.best) {
            node.best = v;
            if (v > node.alpha) {
                node.alpha = v;
                node.bestMove = m;
                if constexpr (pv) ExtendLine(m);
                if (v >= node.beta) break;
            }
        }
        tried.Note(m);
    }
    return false;
}

// ---- After the moves ----

// The move that cut off rises, those tried before it fall.
void Learn(const Node& node, const Tried& tried) {
    const int bonus = HistoryBonus(node.depth);
    if (IsQuiet(node.bestMove)) {
        RememberCutOff(node.bestMove, node.frame);
        UpdateQuiet(node.bestMove, node.S, node.frame, bonus);
        for (int i = 0; i < tried.quietCount; ++i)
            UpdateQuiet(tried.quiets[i], node.S, node.frame, -bonus);
    } else {
        UpdateCapture(node.bestMove, node.S, bonus);
    }
    for (int i = 0; i < tried.captureCount; ++i)
        UpdateCapture(tried.captures[i], node.S, -bonus);
}

// Where a quiet position's score is not just a bound on the wrong side.
void LearnEvaluation(const Node& node) {
    if (node.inCheck || node.excluded != NO_MOVE || IsMateScore(node.best)) return;
    if (node.bestMove != NO_MOVE && !IsQuiet(node.bestMove)) return;
    if (node.best >= node.beta && node.best <= node.evaluation) return;
    if (node.best <= node.entryAlpha && node.best >= node.evaluation) return;
    LearnCorrection(node.best - node.evaluation, node.depth);
}

int Finish(const Node& node, const Tried& tried) {
    // Pruning leaves out no move before one has been searched: there is none.
    if (tried.count == 0) {
        if (node.excluded != NO_MOVE) return node.alpha;
        return node.inCheck ? Line.Ply - MateScore : 0;
    }
    if (node.best >= node.beta) Learn(node, tried);
    LearnEvaluation(node);
    if (node.excluded != NO_MOVE) return node.best;
    const int bound = node.best >= node.beta        ? kLowerBound
                      : node.best > node.entryAlpha ? kExact
                                                    : kUpperBound;
    StoreResult(node.key, node.bestMove, node.best, node.raw, node.depth, bound);
    return node.best;
}

template <bool pv>
int Visit(int alpha, int beta, int depth, bool cutNode) {
    if (depth <= 0) return QuiesceStrong(alpha, beta, 0);
    if constexpr (pv) {
        Strong.lines[Line.Ply].length = 0;
        Strong.deepest = std::max(Strong.deepest, Line.Ply);
    }
    if (CountNode()) return 0;
    SearchFrame* const frame = FrameAt(Line.Ply);
    Node node{.alpha = alpha,
              .beta = beta,
              .depth = depth,
              .entryAlpha = alpha,
              .pv = pv,
              .cutNode = cutNode,
              .S = Board.SideToMove,
              .inCheck = Line.InCheckAt[Line.Ply] != 0,
              .frame = frame,
              .excluded = frame->excluded};
    int score = 0;

    // 1. Draws, ends of the arrays, nearer mates.
    if (EndsHere(node, score)) return score;
    node.entryAlpha = node.alpha;

    // 2. Table: may settle the node, else gives a move to try first.
    if (SettledByTable(node, score)) return score;

    // 3. Endgame tables and learned positions.
    if (SettledByKnowledge(node, score)) return score;

    // 4. Static evaluation.
    Assess(node);

    // 5. Pruning of the whole node.
    if (IsPruned(node, score)) return score;

    // 6. Without a move to begin with, a ply less: the next visit will have one.
    if (node.depth >= kIterativeDepth && node.known.move == NO_MOVE &&
        node.excluded == NO_MOVE && (pv || cutNode))
        --node.depth;

    // 7. The moves.
    Tried tried;
    if (SearchMoves<pv>(node, tried, score)) return score;

    // 8. What is learned from them.
    return Finish(node, tried);
}

}  // namespace

int SearchOpen(int alpha, int beta, int depth) {
    return Visit<true>(alpha, beta, depth, false);
}

int SearchNull(int beta, int depth, bool cutNode) {
    return VisitNull(beta, depth, cutNode);
}

void ExtendLine(Move m) {
    PrincipalLine& line = Strong.lines[Line.Ply];
    const PrincipalLine& below = Strong.lines[Line.Ply + 1];
    line.moves[0] = m;
    const int length = std::min(below.length, kMaxPly - 1);
    std::copy_n(below.moves, length, line.moves + 1);
    line.length = length + 1;
}
