// The node of the alpha-beta search: a fail-soft principal-variation search with null
// move, singular-move test, extensions, futility pruning, reductions of late quiet moves
// and staged move generation.
#include "search/alphabeta.h"

#include <algorithm>
#include <cstdlib>

#include "egtb/tablebase.h"
#include "eval/evaluate.h"
#include "search/control.h"
#include "search/extend.h"
#include "search/hash.h"
#include "search/history.h"
#include "search/learnedscore.h"
#include "search/movewalk.h"
#include "search/outward.h"
#include "search/reduction.h"
#include "search/repetition.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/singular.h"
#include "search/tableprobe.h"

namespace {

// ---- Margins in centipawns by the opponent's non-pawn material in pawn units ----
constexpr int kUnitsCount = 128;
struct MarginTable {
    int values[kUnitsCount];
};
// From `from` units on the margin is `value`, until the next step.
struct MarginStep {
    int from, value;
};
template <std::size_t n>
consteval MarginTable MakeMargins(const MarginStep (&steps)[n]) {
    MarginTable table{};
    for (int i = 0; i < kUnitsCount; ++i)
        for (const MarginStep& step : steps)
            if (i >= step.from) table.values[i] = step.value;
    return table;
}
// The fewer pieces the opponent has, the more a single move can change: the margins grow.
constexpr MarginTable RazorMargin = MakeMargins({{0, 1100}, {1, 800}});
// Of frontier nodes (depth below two plies) and of pre-frontier nodes (below three).
constexpr MarginTable FutilityMargin1 =
    MakeMargins({{0, 800}, {3, 460}, {4, 460}, {5, 360}, {8, 300}, {9, 220}, {14, 180}});
constexpr MarginTable FutilityMargin2 =
    MakeMargins({{0, 800}, {3, 600}, {4, 550}, {5, 500}, {8, 420}});

// ---- Depths in depth units ----
constexpr int kNullMoveDepth = 2 * OnePly;      // least depth for the null move
constexpr int kNullReduction = 2 * OnePly;      // and how much it takes off,
constexpr int kNullDeepReduction = 3 * OnePly;  // at large depth with many pieces
constexpr int kNullDeepFrom = 6 * OnePly;
constexpr int kNullPretestDepth = 4 * OnePly;    // a quiescence search goes first above
constexpr int kNullFewPiecesDepth = 8 * OnePly;  // not deeper with few pieces
constexpr int kSingularDepth = 5 * OnePly;
constexpr int kSingularExtendedDepth = 4 * OnePly;  // after an extended move
constexpr int kFutilityDepth = 4 * OnePly;
constexpr int kReductionDepth = 4 * OnePly;

constexpr int kSingularBonus = 45;
constexpr int kSingularBonusDeep = 22;  // beyond four times the iteration depth

// Depth taken off simple endings: bare king; no pawns at all; lopsided with pawns.
constexpr int kEndgameUnits = 11;  // both sides below it
constexpr int kBareKingCut = 45;
constexpr int kPawnlessEvenCut = 45;
constexpr int kPawnlessUnevenCut = 30;
constexpr int kPawnlessUneven = 3;
constexpr int kLopsidedCut = 20;
constexpr int kLopsided = 6;

constexpr int kHopelessUnits = 6;  // less than this and no mating material: cannot win
constexpr int kBareMaterial = 6;

// Everything that one node knows, for the steps to share.
struct Node {
    int alpha, beta, depth;
    int S, O;
    bool inCheck;
    // from the transposition table
    Move hashMove = NO_MOVE;
    bool mateThreat = false;
    bool nullWorthwhile = true;
    int nullDepth = 0;
    // extensions
    bool fullExtensions = false;
    int singularBonus = 0;
    Move singularMove = NO_MOVE;
    // result so far
    int best, scoutBeta;
    Move bestMove = NO_MOVE;
    bool searchedAny = false;
    // pruning
    bool futility = false;
    int futilityGap = 0;
};

// Edited positions can hold more pieces than the tables have entries.
inline int Clamped(int units) { return std::min(units, kUnitsCount - 1); }

// Draws and won-at-most draws of simple endings, and the depth cut for them. True when
// the node is settled with `score`.
inline bool EndgameShortcut(Node& node, int& score) {
    const int S = node.S, O = node.O;
    if (Board.Units[WHITE] >= kEndgameUnits || Board.Units[BLACK] >= kEndgameUnits)
        return false;
    if (Board.MatingFlagsValid == 0) UpdateMatingFlags();
    if (Board.NoMatingMaterial[WHITE] != 0 && Board.NoMatingMaterial[BLACK] != 0 &&
        Board.Material[WHITE] + Board.Material[BLACK] <= kBareMaterial) {
        score = 0;
        return true;
    }
    // A side that cannot win scores zero at best, which the window tells from its other
    // edge.
    if (node.alpha >= 0 && Board.NoMatingMaterial[S] != 0 &&
        Board.Units[S] < kHopelessUnits) {
        score = node.alpha;
        return true;
    }
    if (node.beta <= 0 && Board.NoMatingMaterial[O] != 0 &&
        Board.Units[O] < kHopelessUnits) {
        score = 0;
        return true;
    }
    // What is left is decided by technique that the evaluation knows, so less depth will
    // do.
    const int lead = std::abs(Board.Units[WHITE] - Board.Units[BLACK]);
    if (Board.Material[BLACK] == 0 || Board.Material[WHITE] == 0) {
        node.depth -= kBareKingCut;
    } else if ((Board.Pawns[WHITE] | Board.Pawns[BLACK]) == 0) {
        if (lead == 0) node.depth -= kPawnlessEvenCut;
        if (lead > kPawnlessUneven) node.depth -= kPawnlessUnevenCut;
    } else if (lead > kLopsided) {
        node.depth -= kLopsidedCut;
    }
    return false;
}

// A null move is not worthwhile where the table says that the node fails low.
inline bool NullWorthwhile(const Node& node, const HashHit& hit) {
    if ((hit.boundType & kUpperBound) == 0) return true;
    if (hit.depth < node.depth && hit.depth < node.nullDepth) return true;
    return hit.score >= node.beta;
}

// Takes over what the table knows; true when it settles the node.
inline bool ProbeTable(Node& node, int& score) {
    HashHit hit;
    if (!HashProbe(hit)) return false;
    node.mateThreat = hit.mateThreat != 0;
    if (hit.move != NULL_MOVE && hit.move != NO_MOVE && FitsPosition(hit.move))
        node.hashMove = hit.move;
    node.nullWorthwhile = NullWorthwhile(node, hit);
    if (hit.depth < node.depth) return false;
    // An entry that is deep enough settles the node if its bound lies outside the window.
    score = hit.score;
    if (hit.boundType == kExact) {
        score = ScoreFromTable(hit.score);
        return true;
    }
    return (hit.boundType == kUpperBound && hit.score <= node.alpha) ||
           (hit.boundType == kLowerBound && hit.score >= node.beta);
}

// Not without pieces, where zugzwang rules; with one minor or rook only at small depth.
inline bool NullMoveAllowed(const Node& node) {
    const int S = node.S, units = Board.Units[S];
    if (node.depth < kNullMoveDepth || units == 0 || node.inCheck) return false;
    return units > 5 || (node.depth <= kNullFewPiecesDepth &&
                         (Board.Material[S] > 400 || Board.Bishops[S] != 0));
}

// Lets the opponent move twice: if that does not bring the score below beta, nothing
// will. True when the node is settled (or the search stopped).
bool TryNullMove(Node& node, int& score) {
    MakeNullMove();
    Line.InCheckAt[Line.Ply + 1] = 0;
    Line.ExtFlags[Line.Ply + 1] = 0;
    int v = node.alpha;
    // A quiescence search of the passed position is cheap and shows most of the null
    // moves that would fail, before the real one is paid for.
    if (node.depth > kNullPretestDepth)
        v = SearchChild(node.alpha - 1, node.alpha, 0, false);
    if (Control.StopSearch == 0 && v >= node.alpha)
        v = SearchChild(node.beta - 1, node.beta, node.nullDepth, false);
    UnmakeNullMove();
    score = 0;
    if (Control.StopSearch != 0) return true;
    score = v;
    if (v >= node.beta) {
        HashStore(node.depth, v, NULL_MOVE, kLowerBound, node.mateThreat);
        return true;
    }
    // The opponent mates right after the pass.
    // A threatened mate extends every move of the node.
    if (v == Line.Ply + 2 - MateScore) node.mateThreat = true;
    return false;
}

// The move that alone holds the position is searched deeper.
inline void FindSingularMove(Node& node) {
    constexpr int kExtended = kExtCheck | kExtMateThreat | kExtPawnPush;
    // The test costs many searches at half depth; an extended line is worth them a ply
    // earlier.
    const bool deep = node.depth > kSingularDepth;
    if (!deep && (node.depth <= kSingularExtendedDepth ||
                  (Line.ExtFlags[Line.Ply] & kExtended) == 0))
        return;
    Move m = NO_MOVE;
    if (SingularTest(node.alpha, node.depth / 2, node.hashMove, node.mateThreat,
                     node.fullExtensions, m) == 0)
        return;
    node.singularMove = m;
    node.singularBonus =
        Line.Ply > 4 * Root.RootDepth ? kSingularBonusDeep : kSingularBonus;
}

// Depth change of the move just made.
inline int DepthChange(const Node& node, Move m, bool mayGiveCheck) {
    int delta =
        ExtendMove(node.depth, node.mateThreat, node.fullExtensions, mayGiveCheck);
    if (m == node.singularMove)
        delta += node.fullExtensions ? node.singularBonus : node.singularBonus / 2;
    return delta;
}

// A cut-off by `m`: true value v.
inline void CutOff(const Node& node, Move m, int v) {
    if (IsQuiet(m) && !node.inCheck) UpdateGoodMove(m, node.depth);
    if (!IsEnPassant(m)) HashStore(node.depth, v, m, kLowerBound, node.mateThreat);
}

// The table's move goes first, before any move is generated. True when it settles the
// node.
bool SearchHashMove(Node& node, int& score) {
    const Move m = node.hashMove;
    MakeMove(m);
    PrefetchHashEntry();
    const int child = node.depth + DepthChange(node, m, true) + Root.HashMoveBonus;
    const int v = SearchChild(node.alpha, node.beta, child, true);
    UnmakeMove();
    score = 0;
    if (Control.StopSearch != 0) return true;
    score = v;
    if (v >= node.beta) {
        CutOff(node, m, v);
        return true;
    }
    if (v > node.alpha) {
        node.best = v;
        node.bestMove = m;
    }
    node.searchedAny = true;
    node.scoutBeta = node.best + 1;
    return false;
}

// Near the horizon and far below alpha: one ply less, and moves that cannot make up the
// gap are not searched.
inline void SetUpFutility(Node& node) {
    // Beyond it the window is about mates, which no material margin bounds.
    constexpr int kNoMate = 32600;
    if ((Board.Units[WHITE] == 0 && Board.Units[BLACK] == 0) || node.mateThreat ||
        node.singularBonus != 0 || node.inCheck || node.depth >= kFutilityDepth ||
        node.alpha <= -kNoMate || node.alpha >= kNoMate)
        return;
    const int n = Clamped(Board.Units[node.O]);
    const int razor = RazorMargin.values[n], margin1 = FutilityMargin1.values[n];
    const int e = Evaluated(node.alpha - 1 - razor, node.alpha + 1 - margin1);
    // Limited razoring: the node is searched, but one ply less deep.
    if (e + razor <= node.alpha) node.depth -= OnePly;
    if (node.depth >= 3 * OnePly) return;
    const int margin = node.depth < 2 * OnePly ? margin1 : FutilityMargin2.values[n];
    if (e + margin > node.alpha) return;
    node.futility = true;
    node.futilityGap = node.alpha - (e + margin);
}

// Known before the move is made, once a legal move has been searched: it gives no check,
// gains too little to bring the score up to alpha, and leaves both sides with mating
// material, which the enemy's second pawn stands for when a man is taken.
inline bool IsHopeless(const Node& node, Move m, const CheckingSquares& checking) {
    if (checking.MayGiveCheck(m) || PieceValue[Captured(m)] > node.futilityGap)
        return false;
    if (Captured(m) != EMPTY && Board.PawnCount[node.O] < 2) return false;
    if (Board.MatingFlagsValid == 0) UpdateMatingFlags();
    return Board.NoMatingMaterial[WHITE] == 0 && Board.NoMatingMaterial[BLACK] == 0;
}

// The move just made gains too little to bring the score up to alpha.
inline bool IsFutile(const Node& node, Move m) {
    if (!node.futility || Line.InCheckAt[Line.Ply + 1] != 0) return false;
    if (Board.MatingFlagsValid == 0) UpdateMatingFlags();
    // A capture that leaves a side without mating material decides by more than its
    // value.
    if (Board.NoMatingMaterial[WHITE] != 0 || Board.NoMatingMaterial[BLACK] != 0)
        return false;
    int gain = PieceValue[Captured(m)];
    if (Promotion(m) != EMPTY) gain += PieceValue[Promotion(m)] - PieceValue[PAWN];
    return gain <= node.futilityGap;
}

inline LateMoves SetUpReductions(const Node& node) {
    LateMoves late;
    if (node.depth >= kReductionDepth && (Line.ExtFlags[Line.Ply] & ~kExtRecapture) == 0)
        late.SetUp(node.S, node.alpha);
    return late;
}

// A late quiet move is tried at less depth against the best score. True when it fails low
// there and need not be searched on; also when the search stops.
inline bool FailsReduced(const Node& node, Move m, const MoveWalk& walk, LateMoves& late,
                         int delta) {
    if (!late.on || walk.stage != kQuietStage || node.inCheck) return false;
    ++late.quietCount;
    if (late.kingAttack && IsExemptFromReduction(m, node.S)) return false;
    if (Line.ExtFlags[Line.Ply + 1] != 0) return false;
    // The first quiet moves are searched in full as long as none of the moves has raised
    // alpha.
    if (late.quietCount <= std::max(2, walk.quietMoves / 8) && node.best <= node.alpha)
        return false;
    // The child sees that it is reduced and does not reduce again itself.
    Line.ExtFlags[Line.Ply + 1] = kExtReduced;
    const int child = node.depth + late.Reduction(node.S, node.depth, delta, node.best);
    const int v = SearchChild(node.best, node.best + 1, child, true);
    Line.ExtFlags[Line.Ply + 1] &= static_cast<std::uint8_t>(~kExtReduced);
    return Control.StopSearch != 0 || v <= node.best;
}

// Null window first; when the move beats the best inside the node's window, once more
// with the window opened.
inline int SearchMove(const Node& node, int child) {
    const int v = SearchChild(node.best, node.scoutBeta, child, true);
    if (Control.StopSearch != 0 || v <= node.best || v >= node.beta ||
        node.scoutBeta >= node.beta)
        return v;
    return SearchChild(v, node.beta, child, true);
}

// The move loop. True when it settles the node.
bool SearchMoves(Node& node, int& score) {
    LateMoves late = SetUpReductions(node);
    const SquareSet exposed = ExposedSquares(node.S);
    const CheckingSquares checking(node.S);
    const auto isHopeless = [&](Move m) {
        return node.futility && node.searchedAny && IsHopeless(node, m, checking);
    };
    MoveWalk walk(node.hashMove);
    while (const Move m = walk.Next(isHopeless)) {
        if (isHopeless(m)) continue;
        if (!MakeIfLegal(m, node.S, exposed)) continue;
        PrefetchHashEntry();
        const int delta = DepthChange(node, m, checking.MayGiveCheck(m));
        const bool pruned = IsFutile(node, m) || FailsReduced(node, m, walk, late, delta);
        const int v = pruned ? 0 : SearchMove(node, node.depth + delta);
        UnmakeMove();
        score = 0;
        if (Control.StopSearch != 0) return true;
        node.searchedAny = true;
        if (pruned) continue;
        if (v > node.best) {
            node.best = v;
            node.bestMove = m;
            if (v >= node.beta) {
                CutOff(node, m, v);
                score = v;
                return true;
            }
        }
        node.scoutBeta = node.best + 1;
    }
    return false;
}

// No move cut off: the best score, mate or stalemate.
inline int FinishNode(const Node& node) {
    if (!node.searchedAny) return node.inCheck ? Line.Ply - MateScore : 0;
    const Move m = node.bestMove;
    if (m != NO_MOVE && IsQuiet(m) && !node.inCheck) UpdateGoodMove(m, node.depth);
    if (!IsEnPassant(m))
        HashStore(node.depth, node.best, m, m != NO_MOVE ? kExact : kUpperBound,
                  node.mateThreat);
    return node.best;
}

}  // namespace

bool PollPoint() { return PollInput() || CheckClock(); }

int AlphaBeta(int alpha, int beta, int depth, bool nullAllowed) {
    ++Result.NodeCount;
    if (--Control.PollCountdown < 0 && PollPoint()) return 0;

    Node node{.alpha = alpha,
              .beta = beta,
              .depth = depth,
              .S = Board.SideToMove,
              .O = ChangeSide(Board.SideToMove),
              .inCheck = Line.InCheckAt[Line.Ply] != 0,
              .best = alpha,
              .scoutBeta = beta};
    int score = 0;

    // 1. Endings without mating material are drawn; simple ones are searched less deep.
    if (EndgameShortcut(node, score)) return score;

    // 2. Draws by the fifty-move rule and by repetition.
    if (Board.FiftyCounter >= kFiftyMoves || RepeatsPosition()) return 0;

    // 3. Transposition table: may settle the node, else gives a move to try first.
    const bool shallowNull = node.depth <= kNullDeepFrom || Board.Units[node.S] < 9;
    node.nullDepth = node.depth - (shallowNull ? kNullReduction : kNullDeepReduction);
    if (ProbeTable(node, score)) return score;

    // 4. Endgame tables, and positions learned from earlier games.
    if (TbMaxPieces != 0 && ProbeTableScore(score)) return score;
    if (LearnedScore(node.depth, score)) return score;

    // 5. Null move: a position that stands passing will stand a move.
    if (nullAllowed && node.nullWorthwhile && NullMoveAllowed(node) &&
        TryNullMove(node, score))
        return score;

    // 6. Singular-move test: the one move that holds is extended.
    node.fullExtensions = Line.Ply <= 2 * Root.RootDepth;
    FindSingularMove(node);
    if (Control.StopSearch != 0) return 0;

    // 7. The table's move, before any move is generated.
    if (node.hashMove != NO_MOVE && SearchHashMove(node, score)) return score;

    // 8. Near the horizon: one ply less or hopeless moves left out, far below alpha.
    SetUpFutility(node);

    // 9. All other moves, stage by stage, late quiet ones reduced.
    const int top = Generated.MoveStackTop;
    const bool settled = SearchMoves(node, score);
    Generated.MoveStackTop = top;

    // 10. No cut-off: the best score, mate or stalemate.
    return settled ? score : FinishNode(node);
}
