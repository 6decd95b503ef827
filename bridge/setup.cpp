#include "bridge/setup.h"

#include <algorithm>
#include <cstdlib>

#include "board/attacks.h"
#include "bridge/game.h"

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

SquareSet QuietOrigins(const Placement& p, int square) {
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
        default:
            break;
    }
    return lines & ~(p.men[WHITE] | p.men[BLACK]);
}

std::vector<BackStep> BackSteps(const Placement& p, int mover, Purpose purpose,
                                int passed) {
    std::vector<BackStep> steps;
    if (purpose == Purpose::DoubleStep) {
        const int step = mover == WHITE ? 8 : -8;
        return {{passed - step, passed + step}};
    }
    const int home = mover == WHITE ? E1 : E8;
    for (SquareSet men = p.men[mover]; men != 0;) {
        const int square = TakeLowest(men);
        const bool atHome = square == home || square == home - 4 || square == home + 3;
        if (purpose == Purpose::LoseRights && !atHome) continue;
        for (SquareSet origins = QuietOrigins(p, square); origins != 0;)
            steps.push_back({TakeLowest(origins), square});
    }
    return steps;
}

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
    const auto or_tempo = [](bool needed) {
        return needed ? Purpose::LoseRights : Purpose::Tempo;
    };
    std::vector<Purpose> purposes;
    if (target.passed >= 0) {
        purposes = {Purpose::DoubleStep};
        if (ownLoss || otherLoss) purposes.push_back(or_tempo(ownLoss));
        if (otherLoss) purposes.push_back(Purpose::LoseRights);
    } else {
        if (ownLoss || otherLoss) purposes = {or_tempo(otherLoss)};
        if (ownLoss) purposes.push_back(Purpose::LoseRights);
    }
    return purposes;
}

std::string EditCommands(const Placement& p) {
    constexpr char kLetters[] = "?KNP?RBQ";
    std::string text = "new\nforce\n";
    text += p.toMove == WHITE ? "white\n" : "black\n";
    text += "edit\n#\n";
    for (int c : {WHITE, BLACK}) {
        if (c == BLACK) text += "c\n";
        for (SquareSet men = p.men[c]; men != 0;) {
            const int square = TakeLowest(men);
            text += {kLetters[p.piece[square]], static_cast<char>('a' + FileOf(square)),
                     static_cast<char>('1' + RankOf(square)), '\n'};
        }
    }
    return text + ".\n";
}

int PassedSquare() {
    for (const Move m : AllLegalMoves())
        if (IsEnPassant(m)) return To(m);
    return -1;
}

}  // namespace

SetUp PlanSetUp(const std::string& fen) {
    if (fen == kStartFen) return {"new\nforce\n", {}, ""};
    SetUp plan;
    SetPlayableFen(fen);
    const bool counter = Board.FiftyCounter > 0;
    Target target = {FromBoard(), {Rights(WHITE), Rights(BLACK)}, PassedSquare()};
    Placement start = target.placement;
    std::vector<BackStep> path;
    const std::vector<Purpose> purposes = Purposes(target);
    if (!FindWay(target, purposes, start, path)) {
        // The double step alone matters more than a right too many.
        path.clear();
        start = target.placement;
        plan.remark = "castling rights cannot be carried over";
        target.rights[WHITE] = target.rights[BLACK] = -1;
        if (target.passed >= 0) {
            path = BackSteps(start, ChangeSide(start.toMove), Purpose::DoubleStep,
                             target.passed);
            Shift(start, ChangeSide(start.toMove), path[0].to, path[0].from);
            start.toMove = ChangeSide(start.toMove);
        }
    }
    if (counter) {
        if (!plan.remark.empty()) plan.remark += "; ";
        plan.remark += "the half-move counter starts at 0";
    }
    plan.commands = EditCommands(start);
    for (auto step = path.rbegin(); step != path.rend(); ++step)
        plan.moves.push_back(MoveText(MakeWord(step->from, step->to, 0, 0)));
    return plan;
}
