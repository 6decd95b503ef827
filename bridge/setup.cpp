// Retroanalysis of at most three half-moves: depth-first over quiet moves taken back,
// each way tried out forwards on the board. Purposes say what each half-move is for.
#include "bridge/setup.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "board/notation.h"
#include "bridge/game.h"
#include "driver/edit.h"

namespace {

// A position without its history: what edit mode can say, with the rights it implies.
struct Placement {
    std::uint8_t piece[64];
    SquareSet men[2];
    int toMove;
};

Placement FromBoard() {
    Placement p;
    std::copy(Board.Piece, Board.Piece + 64, p.piece);
    for (int c : {WHITE, BLACK}) p.men[c] = Board.Occupied[c];
    p.toMove = Board.SideToMove;
    return p;
}

// The board with the placement on it; castling rights are those that edit mode implies,
// as the engine derives them.
void ToBoard(const Placement& p) {
    Board.GamePly = 0;
    ClearGameArchive();
    ClearBoard();
    for (int c : {WHITE, BLACK}) {
        for (SquareSet men = p.men[c]; men != 0;) {
            const int square = TakeLowest(men);
            AddPiece(square, c, p.piece[square]);
        }
        Board.CastledKingside[c] = Board.CastledQueenside[c] = 0;
    }
    Board.SideToMove = p.toMove;
    Board.FiftyCounter = 0;
    DeriveCastlingFlags();
    UpdateMatingFlags();
}

// A quiet move in either direction; `to` must be empty.
void Shift(Placement& p, int colour, int from, int to) {
    p.piece[to] = p.piece[from];
    p.piece[from] = EMPTY;
    p.men[colour] ^= SquareMask(from) | SquareMask(to);
}

// Castling rights as bits: kingside 1, queenside 2.
int Rights(int colour) {
    const int king = colour == WHITE ? Board.WK : Board.BK;
    const int h = colour == WHITE ? Board.H1 : Board.H8;
    const int a = colour == WHITE ? Board.A1 : Board.A8;
    return king != 0 ? 0 : (h == 0 ? 1 : 0) | (a == 0 ? 2 : 0);
}

// One half-move taken back: a man of the side that has moved returned to where it may
// have come from.
struct BackStep {
    int from, to;  // in the direction of play
};

// What a half-move on the way has to do.
enum class Purpose { Tempo, LoseRights, DoubleStep };

// Empty squares from which the man on `square` can have come without capture. A pawn's
// double step is left out: it would leave an en passant square.
SquareSet QuietOrigins(const Placement& p, int mover, int square) {
    ToBoard(p);
    SquareSet lines = 0;
    switch (p.piece[square]) {
        case KING:
            for (int s = 0; s < 64; ++s)
                if (s != square && std::abs(FileOf(s) - FileOf(square)) <= 1 &&
                    std::abs(RankOf(s) - RankOf(square)) <= 1)
                    lines |= SquareMask(s);
            break;
        case KNIGHT:
            for (int s = 0; s < 64; ++s)
                if (std::abs(FileOf(s) - FileOf(square)) *
                        std::abs(RankOf(s) - RankOf(square)) ==
                    2)
                    lines |= SquareMask(s);
            break;
        case ROOK:
            lines = RookLines(square);
            break;
        case BISHOP:
            lines = BishopLines(square);
            break;
        case QUEEN:
            lines = QueenLines(square);
            break;
        case PAWN: {
            const int from = mover == WHITE ? square - 8 : square + 8;
            if (RankOf(from) > 0 && RankOf(from) < 7) lines = SquareMask(from);
            break;
        }
        default:
            break;
    }
    return lines & ~(p.men[WHITE] | p.men[BLACK]);
}

// All candidates for one half-move of the purpose, the likeliest first. `passed`: the en
// passant square of the target.
std::vector<BackStep> BackSteps(const Placement& p, int mover, Purpose purpose,
                                int passed) {
    std::vector<BackStep> steps;
    if (purpose == Purpose::DoubleStep) {
        const int step = mover == WHITE ? 8 : -8;
        return {{passed - step, passed + step}};
    }
    // Pawn moves first: no repetition reaches back over them.
    std::vector<int> squares;
    for (SquareSet men = p.men[mover]; men != 0;) squares.push_back(TakeLowest(men));
    std::stable_partition(squares.begin(), squares.end(),
                          [&](int square) { return p.piece[square] == PAWN; });
    const int home = mover == WHITE ? E1 : E8;
    for (const int square : squares) {
        const bool atHome = square == home || square == home - 4 || square == home + 3;
        if (purpose == Purpose::LoseRights && !atHome) continue;
        for (SquareSet origins = QuietOrigins(p, mover, square); origins != 0;)
            steps.push_back({TakeLowest(origins), square});
    }
    return steps;
}

// What is to be reached.
struct Target {
    Placement placement;
    int rights[2];
    int passed;  // en passant square, -1: none
};

// The board, after the moves, is the target in all that edit mode leaves open.
bool Arrives(const Target& target, const Placement& start,
             const std::vector<BackStep>& path) {
    ToBoard(start);
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        const Move m = LegalMove(MoveText(MakeWord(step->from, step->to, 0, 0)));
        if (m == NO_MOVE) return false;
        MakeMove(m);
    }
    return std::equal(Board.Piece, Board.Piece + 64, target.placement.piece) &&
           Rights(WHITE) == target.rights[WHITE] && Rights(BLACK) == target.rights[BLACK];
}

// Takes back one half-move after the other, for the purposes in turn, the last of the
// game first; true when the way leads to the target. `p` and `path` are then its
// beginning and its steps, the last first.
bool FindWay(const Target& target, const std::vector<Purpose>& purposes, Placement& p,
             std::vector<BackStep>& path) {
    if (path.size() == purposes.size()) return Arrives(target, p, path);
    const int mover = ChangeSide(p.toMove);
    for (const BackStep step :
         BackSteps(p, mover, purposes[path.size()], target.passed)) {
        Placement earlier = p;
        Shift(earlier, mover, step.to, step.from);
        earlier.toMove = mover;
        path.push_back(step);
        if (FindWay(target, purposes, earlier, path)) {
            p = earlier;
            return true;
        }
        path.pop_back();
    }
    return false;
}

// The half-moves that the target needs behind it, the last first. The side that has moved
// makes the first and third of them, the side to move the second.
std::vector<Purpose> Purposes(const Target& target) {
    ToBoard(target.placement);
    const int S = target.placement.toMove, O = ChangeSide(S);
    const bool ownLoss = Rights(S) != target.rights[S];
    const bool otherLoss = Rights(O) != target.rights[O];
    const auto orTempo = [](bool needed) {
        return needed ? Purpose::LoseRights : Purpose::Tempo;
    };
    std::vector<Purpose> purposes;
    if (target.passed >= 0) {
        purposes = {Purpose::DoubleStep};
        if (ownLoss || otherLoss) purposes.push_back(orTempo(ownLoss));
        if (otherLoss) purposes.push_back(Purpose::LoseRights);
    } else {
        if (ownLoss || otherLoss) purposes = {orTempo(otherLoss)};
        if (ownLoss) purposes.push_back(Purpose::LoseRights);
    }
    return purposes;
}

std::string SideCommand(int colour) { return colour == WHITE ? "white\n" : "black\n"; }

// From a new game to the placement.
std::string SetUpCommands(const Placement& p) {
    ToBoard(p);
    return "new\nforce\n" + EditCommands();
}

// Half-moves of the one side alone, the other side's turns left out by command: for
// positions that no moves in turn lead to. Takes back what the purpose asks for, if that
// can be; the way so far follows.
bool FindSoloStep(const Target& target, int mover, Purpose purpose, Placement& p,
                  std::vector<BackStep>& path) {
    for (const BackStep step : BackSteps(p, mover, purpose, target.passed)) {
        Placement earlier = p;
        Shift(earlier, mover, step.to, step.from);
        earlier.toMove = mover;
        ToBoard(earlier);
        const Move m = LegalMove(MoveText(MakeWord(step.from, step.to, 0, 0)));
        if (m == NO_MOVE) continue;
        MakeMove(m);
        if (purpose == Purpose::LoseRights && Rights(mover) != target.rights[mover])
            continue;
        path.push_back(step);
        p = earlier;
        return true;
    }
    return false;
}

std::string StepLine(const BackStep& step) {
    return MoveText(MakeWord(step.from, step.to, 0, 0)) + '\n';
}

// The last resort. What even this does not do is remarked.
SetUpPlan PlanSolo(const Target& target) {
    SetUpPlan plan;
    Placement p = target.placement;
    const int S = p.toMove, O = ChangeSide(S);
    ToBoard(p);
    const bool losses[] = {Rights(WHITE) != target.rights[WHITE],
                           Rights(BLACK) != target.rights[BLACK]};
    std::vector<BackStep> path;
    std::string moves = target.passed >= 0 ? "" : SideCommand(S);
    if (target.passed >= 0 && FindSoloStep(target, O, Purpose::DoubleStep, p, path))
        moves = SideCommand(O) + StepLine(path.back());
    for (int c : {WHITE, BLACK}) {
        if (!losses[c]) continue;
        if (FindSoloStep(target, c, Purpose::LoseRights, p, path))
            moves = SideCommand(c) + StepLine(path.back()) + moves;
        else
            plan.remark = "castling rights cannot be carried over";
    }
    plan.commands = SetUpCommands(p) + moves;
    plan.plies = static_cast<int>(path.size());
    return plan;
}

}  // namespace

SetUpPlan PlanSetUp(const std::string& fen) {
    if (fen == kStartFen) return {"new\nforce\n", 0, ""};
    SetPlayableFen(fen);
    const bool counter = Board.FiftyCounter > 0;
    const Target target = {
        FromBoard(), {Rights(WHITE), Rights(BLACK)}, EnPassantTarget()};
    Placement start = target.placement;
    std::vector<BackStep> path;
    SetUpPlan plan;
    if (FindWay(target, Purposes(target), start, path)) {
        plan.commands = SetUpCommands(start);
        for (auto step = path.rbegin(); step != path.rend(); ++step)
            plan.commands += StepLine(*step);
        plan.plies = static_cast<int>(path.size());
    } else {
        plan = PlanSolo(target);
    }
    if (counter) {
        if (!plan.remark.empty()) plan.remark += "; ";
        plan.remark += "the half-move counter starts at 0";
    }
    return plan;
}
