#include "search/tableprobe.h"

#include <cstdlib>

#include "board/board.h"
#include "egtb/tablebase.h"
#include "search/hash.h"
#include "search/rootmoves.h"

namespace {

constexpr int kAlwaysProbedPly = 2;  // up to here the last move does not matter

// Depth of a table's result in the transposition table: beyond any search.
constexpr int kTableDepth = 7740;

// Table values count moves, scores half-moves: a win in n is 32767 - n there, and
// MateScore less 2n - 1 here.
constexpr int kWinOffset = 32834;
constexpr int kLossOffset = 32832;
constexpr int kTableMate = 32400;  // converted scores beyond it are mates

// Material in centipawns and pawn units of the endings that the evaluation knows.
constexpr int kOnePawn = PieceValue[PAWN];
constexpr int kOneMinor = PieceValue[BISHOP];
constexpr int kOneRook = PieceValue[ROOK];
constexpr int kEvenUnits = 11;     // pieces alone, equal: less than this
constexpr int kHopelessUnits = 6;  // against clearly more: less than this
constexpr int kClearLead = 4;

// No pawns of `weak`, and too little against the other side's pieces.
bool IsOutclassed(int weak) {
    const int strong = ChangeSide(weak);
    return Board.Units[weak] + kClearLead < Board.Units[strong] &&
           Board.Units[weak] < kHopelessUnits && Board.Pawns[weak] == 0;
}

// A lone pawn against a lone bishop: the bishop cannot win.
bool IsPawnAgainstBishop(int side) {
    const int other = ChangeSide(side);
    return Board.Material[side] == kOnePawn && Board.Material[other] == kOneMinor &&
           Board.Bishops[other] != 0;
}

// The side has one pawn and nothing else, and the other side's pieces should cope with
// it.
bool IsPawnAgainstPieces(int side) {
    const int other = ChangeSide(side);
    if (Board.Material[side] != kOnePawn) return false;
    if (Board.Units[other] > 7 && Board.Bishops[other] != 0) return true;
    if (Board.Material[other] == kOneRook && Board.MajorCount[other] != 0) return true;
    if (Board.MajorCount[other] <= 1) return false;
    const int rank = RankOf(LowestSquare(Board.Pawns[side]));
    const int advance = side == WHITE ? rank : 7 - rank;
    return Board.Rooks[other] != 0 || advance < 5;
}

// Endings that the evaluation handles well enough where the search is only looking
// around.
bool IsLeftToEvaluation(Move last) {
    if (Board.Material[WHITE] == 0 || Board.Material[BLACK] == 0) return true;
    const bool bothHavePawns = Board.Pawns[WHITE] != 0 && Board.Pawns[BLACK] != 0;
    if (!bothHavePawns) {
        const bool even = Board.Units[WHITE] == Board.Units[BLACK] &&
                          Board.Units[WHITE] < kEvenUnits &&
                          (Board.Pawns[WHITE] | Board.Pawns[BLACK]) == 0;
        return even || IsOutclassed(WHITE) || IsOutclassed(BLACK);
    }
    const bool underPromotion = Promotion(last) != EMPTY && Promotion(last) != QUEEN;
    if (IsPawnAgainstBishop(WHITE) || IsPawnAgainstBishop(BLACK) || underPromotion)
        return true;
    return Line.Ply >= Root.RootDepth &&
           (IsPawnAgainstPieces(WHITE) || IsPawnAgainstPieces(BLACK));
}

// A probe may read from disk: it is made where the material has just changed.
bool IsProbeNode() {
    if (TbMaxPieces == 0) return false;
    const Move last = LastMove();
    if (Line.Ply > kAlwaysProbedPly && IsQuiet(last)) return false;
    return PopCount(AllOccupied()) <= TbMaxPieces && !CastlingRightsLeft() &&
           !(Line.Ply > Root.RootDepth >> 1 && IsLeftToEvaluation(last));
}

// A table's value turned into a score at the current Ply, which shifts mates to count
// from the root.
int ScoreOf(int value) {
    int score = 0;
    if (value > 0) score = 2 * value - kWinOffset;
    if (value < 0) score = 2 * value + kLossOffset;
    if (std::abs(score) > kTableMate) score += score > 0 ? 1 - Line.Ply : Line.Ply;
    if (score != 0) return score;
    // Not turned to the side to move's view: the sign is White's lead.
    const int lead = Board.Material[WHITE] - Board.Material[BLACK];
    return lead > 0 ? 1 : lead < 0 ? -1 : 0;
}

}  // namespace

bool AskTables(int& score) {
    int value;
    if (!IsProbeNode() || !ProbeTablebase(ChangeSide(Board.SideToMove), value))
        return false;
    score = ScoreOf(value);
    return true;
}

bool ProbeTableScore(int& score) {
    if (!AskTables(score)) return false;
    HashStore(kTableDepth, score, NULL_MOVE, kExact, 0);
    return true;
}
