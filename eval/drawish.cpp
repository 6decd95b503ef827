// Scaling by the kind of ending first, then by the piece units when the stronger side has
// no pawns.
#include "eval/drawish.h"

#include <cstdlib>

#include "eval/endgame.h"
#include "eval/state.h"

namespace {

constexpr int kRook = 5, kMinor = 3, kRookAndMinor = 8;  // piece units of one side
// With more units a side, bishops of opposite colours help the attacker.
constexpr int kOppositeBishopsBelow = 12;
constexpr int kSmallLead = 200;  // centipawns

bool HasRookAlone(int c) { return Board.Units[c] == kRook; }

// Rook and pawn against rook: the defending king stands before the pawn, the attacking
// king does not support it.
template <int c>
int RookAndPawnAgainstRook(int score) {
    // A rook's pawn is the hardest to win, a pawn in the centre the least so.
    constexpr int kDivisor[8] = {6, 5, 3, 3, 3, 3, 5, 6};  // [pawn's file]
    const int pawn = LowestSquare(Board.Pawns[c]);
    const int king = Board.KingSquare[c];
    if ((PasserZone<c>(pawn) & Board.Kings[1 - c]) != 0) score /= kDivisor[FileOf(pawn)];
    if (RelativeRank<c>(king) < RelativeRank<c>(pawn) || FileDistance(king, pawn) > 1)
        score = 3 * score / 4;
    return score;
}

// One bishop each, on squares of different colours, and little besides.
bool BishopsOfOppositeColours() {
    return ExactlyOne(Board.Bishops[WHITE]) && ExactlyOne(Board.Bishops[BLACK]) &&
           Board.Units[WHITE] < kOppositeBishopsBelow &&
           Board.Units[BLACK] < kOppositeBishopsBelow &&
           OnLightAndDark(Board.Bishops[WHITE] | Board.Bishops[BLACK]);
}

// A small lead counts for less; of a large one what the pieces have added is halved.
int ScaleOppositeBishops(int score, int balance) {
    const int white = Board.Units[WHITE], black = Board.Units[BLACK];
    const bool bare = white == kMinor && black == kMinor;
    if (std::abs(balance) <= kSmallLead) return bare ? score / 3 : score;
    if (bare) return 2 * score / 3;
    if (white != black) return score;
    const int kept = white == kRookAndMinor ? 4 * balance / 5 : balance;
    return (score - balance) / 2 + kept;
}

// The weaker king on the edge with the rook cutting it off there.
bool CutOffAtEdge(int king, int rook) {
    const auto cut = [](int k, int r) {
        return (k == 0 && r == 1) || (k == 7 && r == 6);
    };
    return cut(FileOf(king), FileOf(rook)) || cut(RankOf(king), RankOf(rook));
}

// Rook and minor piece against rook.
int RookAndMinorDivisor(int strong) {
    const bool bishop = Board.Bishops[strong] != 0;
    const int king = Board.KingSquare[1 - strong];
    const SquareSet rooks = Board.Rooks[strong];
    if (rooks != 0 && CutOffAtEdge(king, LowestSquare(rooks))) return bishop ? 5 : 7;
    return bishop ? 7 : 9;
}

// What the score is divided by when the stronger side has no pawns, by the piece units.
// The harder the pieces are to win with, the larger the divisor.
int PawnlessDivisor(int strong) {
    const int weak = 1 - strong;
    const auto key = [](int s, int w) { return s * 16 + w; };
    const int units = Board.Units[strong], against = Board.Units[weak];
    if (units > 12 || against > 9) return 1;
    switch (key(units, against)) {
        case key(12, 9):
            return 4;
        case key(5, 5):
            return 3;
        case key(6, 5):
            return 16;
        case key(8, 5):
            return RookAndMinorDivisor(strong);
        case key(8, 6):
            return 4;
        case key(6, 6):
            return 3;
        case key(5, 3):
            return Board.Knights[weak] != 0 ? 3 : 8;
        case key(3, 3):
            return 3;
        case key(6, 3):
            return Board.Bishops[weak] == 0 ? 12 : 24;
        default:
            return 1;
    }
}

// Endings known by their kind, whoever is ahead.
int ScaleByKind(int score, int balance) {
    const int white = Board.PawnCount[WHITE], black = Board.PawnCount[BLACK];
    if (HasRookAlone(WHITE) && HasRookAlone(BLACK) && white + black == 1)
        return white == 1 ? RookAndPawnAgainstRook<WHITE>(score)
                          : RookAndPawnAgainstRook<BLACK>(score);
    return BishopsOfOppositeColours() ? ScaleOppositeBishops(score, balance) : score;
}

}  // namespace

// CantWin is the last ending's that RecogniseEnding went through to its end.
int ClampCantWin(int score) {
    const int side = Board.SideToMove;
    if (score > 0 && LastEvaluation.CantWin[side] != 0) return 0;
    if (score < 0 && LastEvaluation.CantWin[ChangeSide(side)] != 0) return 0;
    return score;
}

int ScaleDrawish(int score, int balance) {
    score = ScaleByKind(ClampCantWin(score), balance);
    const int side = Board.SideToMove;
    const int strong = score > 0 ? side : ChangeSide(side);
    if (score == 0 || Board.Pawns[strong] != 0) return score;
    return score / PawnlessDivisor(strong);
}
