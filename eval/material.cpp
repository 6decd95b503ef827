// Material beyond the sum of values: tables by the difference of minors and majors, and
// the technique of mating a bare king.
#include "eval/material.h"

#include <algorithm>

#include "eval/terms.h"

namespace {

// A lone minor piece against none, by own pawns: it cannot win without them.
constexpr int kMinorWithPawns[9] = {0, 30, 100, 150, 170, 190, 210, 230, 250};

// [major difference + 3][minor difference + 3], White minus Black, both cut to +-3: the
// pieces beyond the bare count of their values. A rook counts one major, a queen two.
constexpr int kImbalanceCut = 3;
constexpr int kImbalance[7][7] = {
    {0, 0, 0, -120, 0, 0, 0},        // three majors fewer
    {-120, 0, 0, -120, 0, 0, 120},   // two fewer
    {0, 0, 0, -120, -30, 120, 120},  // one fewer
    {-120, -120, -120, 0, 120, 120, 120},
    {-120, -120, 30, 120, 0, 0, 0},  // one more
    {-120, 0, 0, 120, 0, 0, 120},    // two more
    {0, 0, 0, 120, 0, 0, 0},         // three more
};
constexpr int kQueenAgainstNone = 60;  // alike in minors and majors
constexpr int kQueenAndKnight = 15;    // the better pair of attackers
constexpr int kRookAndBishop = 15;     // against rook and knight

// A king drives the other home from close by: this less 15 for each step between them.
constexpr int kKingsTogether = 110;
constexpr int kKingsApart = 15;
constexpr int kBareKing = 300;
constexpr int kBishopAndKnight = 400;  // instead of the 300
constexpr int kRightCornerStep = 20;
constexpr int kDecisiveLead = 2;  // a lead in pawn units above this one mates

// clang-format off
// Where a king without pawns is driven: symmetric in all directions.
constexpr int EdgeBonus[64] = {
    100, 96, 93, 90, 90, 93, 96, 100,
     96, 80, 70, 60, 60, 70, 80,  96,
     93, 70, 50, 40, 40, 50, 70,  93,
     90, 60, 40, 40, 40, 40, 60,  90,
     90, 60, 40, 40, 40, 40, 60,  90,
     93, 70, 50, 40, 40, 50, 70,  93,
     96, 80, 70, 60, 60, 70, 80,  96,
    100, 96, 93, 90, 90, 93, 96, 100,
};

// The king in the ending, eighth rank on top, files a to h, from White's side.
// Pawns on both wings.
constexpr int KingEndingCentre[64] = {
    -50, -30, -30, -30, -30, -30, -30, -50,
    -30, -30,   0,   0,   0,   0, -30, -30,
    -30, -10,  30,  40,  40,  30, -10, -30,
    -30, -10,  30,  40,  40,  30, -10, -30,
    -30, -10,  20,  30,  30,  20, -10, -30,
    -30, -10,   0,  10,  10,   0, -10, -30,
    -30, -20, -10,   0,   0, -10, -20, -30,
    -50, -40, -30, -20, -20, -30, -40, -50,
};
// Pawns on the king side alone; for the queen side the files are turned over.
constexpr int KingEndingKingside[64] = {
    -90, -70, -50, -30, -30, -30, -30, -30,
    -70, -50, -30, -20,   0,   0,   0, -10,
    -70, -50, -30, -10,  30,  30,  30,   0,
    -70, -50, -30, -10,  30,  30,  30,   0,
    -70, -50, -30, -10,  30,  30,  30,   0,
    -70, -50, -30, -10,  20,  20,  20,   0,
    -70, -50, -30, -20, -10, -10, -10, -10,
    -90, -70, -50, -40, -30, -20, -20, -30,
};
// No pawns: for the side that is behind.
constexpr int KingEndingBare[64] = {
    -35, -25, -22, -20, -20, -22, -25, -35,
    -25, -10,  -5,   0,   0,  -5, -10, -25,
    -22,  -5,   5,  10,  10,   5,  -5, -22,
    -20,   0,  10,  30,  30,  10,   0, -20,
    -20,   0,  10,  30,  30,  10,   0, -20,
    -22,  -5,   5,  10,  10,   5,  -5, -22,
    -25, -10,  -5,   0,   0,  -5, -10, -25,
    -35, -25, -22, -20, -20, -22, -25, -35,
};
// clang-format on

// Both sides have at most one minor piece.
int LoneMinors() {
    const int minors[2] = {Board.MinorCount[WHITE], Board.MinorCount[BLACK]};
    if (minors[WHITE] > minors[BLACK])
        return kMinorWithPawns[std::min(Board.PawnCount[WHITE], 8)];
    if (minors[WHITE] < minors[BLACK])
        return -kMinorWithPawns[std::min(Board.PawnCount[BLACK], 8)];
    return 0;
}

// Minor and major pieces count alike: queens, and what goes well with them, decide.
int EvenPieces() {
    const SquareSet white = Board.Queens[WHITE], black = Board.Queens[BLACK];
    if (white == 0 && black == 0) return 0;
    if (black == 0) return kQueenAgainstNone;
    if (white == 0) return -kQueenAgainstNone;
    if (Board.MinorCount[WHITE] != 1 || (Board.Pawns[WHITE] | Board.Pawns[BLACK]) == 0)
        return 0;
    const bool whiteKnight = Board.Knights[WHITE] != 0,
               blackKnight = Board.Knights[BLACK] != 0;
    return kQueenAndKnight *
           (static_cast<int>(whiteKnight) - static_cast<int>(blackKnight));
}

// Minors against majors; where both are level, EvenPieces decides.
int PieceImbalance() {
    const int minors = Board.MinorCount[WHITE] - Board.MinorCount[BLACK];
    const int majors = Board.MajorCount[WHITE] - Board.MajorCount[BLACK];
    if (minors == 0 && majors == 0) return EvenPieces();
    const auto cut = [](int n) { return std::clamp(n, -kImbalanceCut, kImbalanceCut); };
    return kImbalance[cut(majors) + kImbalanceCut][cut(minors) + kImbalanceCut];
}

// A rook works better with a bishop than with a knight while there are pawns.
int RookAndMinorEach() {
    if (Board.Units[WHITE] != 8 || Board.Units[BLACK] != 8) return 0;
    if ((Board.Pawns[WHITE] | Board.Pawns[BLACK]) == 0) return 0;
    if (Board.Bishops[WHITE] != 0 && Board.Knights[BLACK] != 0) return kRookAndBishop;
    if (Board.Bishops[BLACK] != 0 && Board.Knights[WHITE] != 0) return -kRookAndBishop;
    return 0;
}

// Exactly one bishop and one knight, no pawns.
bool HasBishopAndKnightOnly(int c) {
    return Board.Material[c] == 600 && ExactlyOne(Board.Bishops[c]) &&
           ExactlyOne(Board.Knights[c]);
}

// King moves from `king` to the nearer corner of the bishop's colour.
int StepsToMatingCorner(SquareSet bishop, int king) {
    return (bishop & LightSquares) != 0
               ? std::min(Distance[king][A8], Distance[king][H1])
               : std::min(Distance[king][A1], Distance[king][H8]);
}

// The colour leads by enough to mate a king without pawns.
template <int c>
int MatingHelpFor(const bool (&ending)[2]) {
    constexpr int e = 1 - c;
    if (Board.PawnCount[e] != 0) return 0;
    if (Board.Units[c] - Board.Units[e] <= kDecisiveLead) return 0;
    const int king = Board.KingSquare[e];
    int help = 0;
    if (Board.Units[c] >= 5 && ending[c]) {
        help = kKingsTogether - kKingsApart * Distance[king][Board.KingSquare[c]];
        if (Board.Material[e] == 0) {
            if (HasBishopAndKnightOnly(c))
                return help + kBishopAndKnight -
                       kRightCornerStep * StepsToMatingCorner(Board.Bishops[c], king);
            help += kBareKing;
        }
    }
    return help + EdgeBonus[king];
}

// Black's king reads the tables with the ranks turned over, on the same wing.
template <int c>
int KingEndingFor(SquareSet pawns, bool behind) {
    const int square = MirrorRank(Relative<c>(Board.KingSquare[c]));
    if (pawns == 0) return behind ? KingEndingBare[square] : 0;
    if (BothWings(pawns)) return KingEndingCentre[square];
    return KingEndingKingside[(pawns & KingsideFiles) != 0 ? square : square ^ 7];
}

}  // namespace

int MaterialBalanceForWhite() {
    const int difference = Board.Material[WHITE] - Board.Material[BLACK];
    // Less than two minor pieces a side: only pawns can still win.
    const bool small = Board.Units[WHITE] < 4 && Board.Units[BLACK] < 4;
    return difference + (small ? LoneMinors() : PieceImbalance() + RookAndMinorEach());
}

int MaterialBalance() {
    const int balance = MaterialBalanceForWhite();
    return Board.SideToMove == WHITE ? balance : -balance;
}

int MatingHelp(const bool (&ending)[2]) {
    return MatingHelpFor<WHITE>(ending) - MatingHelpFor<BLACK>(ending);
}

int KingEndingPlacement(const bool (&ending)[2], int balance) {
    const SquareSet pawns = Board.Pawns[WHITE] | Board.Pawns[BLACK];
    int score = 0;
    if (ending[WHITE]) score += KingEndingFor<WHITE>(pawns, balance < 0);
    if (ending[BLACK]) score -= KingEndingFor<BLACK>(pawns, balance > 0);
    return score;
}
