// The recognisers run from the cheapest and surest to CantWin, which only limits the
// score. Squares are turned to one side's view, so that each is written once.
#include "eval/endgame.h"

#include "board/attacks.h"
#include "eval/rookpawn.h"
#include "eval/state.h"

namespace {

constexpr int kKnightUnits = PieceUnits[KNIGHT];
constexpr int kRookUnits = PieceUnits[ROOK];
constexpr int kQueenUnits = PieceUnits[QUEEN];
constexpr int kRookBeatsPawn = 300;  // centipawns
// BareKingTest's results; a mate by the colour of the mated king.
constexpr int kStalemate = 1;
constexpr int kMateOf[2] = {2, 3};

constexpr EndingVerdict kNone;
constexpr EndingVerdict kDraw = {Verdict::Draw};
constexpr EndingVerdict kLoss = {Verdict::Loss};

bool IsDark(int square) { return (DarkSquares & SquareMask(square)) != 0; }
bool SameShade(int a, int b) { return IsDark(a) == IsDark(b); }
// Only a set-up board has pawns elsewhere.
bool IsPawnRank(int square) { return RankOf(square) >= 1 && RankOf(square) <= 6; }

// The only pawn on the board and who is who around it. Squares as on the board; `flip`
// turns a square to the view of the pawn's side, its pawn moving up the board.
struct LonePawn {
    int colour;    // the pawn's side
    int defender;  // the other side
    int flip;
    int pawn, king, enemyKing;
    bool toMove;  // the pawn's side is to move

    LonePawn()
        : colour(Board.PawnCount[WHITE] != 0 ? WHITE : BLACK),
          defender(ChangeSide(colour)),
          flip(colour == WHITE ? 0 : 56),
          pawn(LowestSquare(Board.Pawns[colour])),
          king(Board.KingSquare[colour]),
          enemyKing(Board.KingSquare[defender]),
          toMove(Board.SideToMove == colour) {}

    int Rank() const { return RankOf(pawn ^ flip); }
    bool WinsAlone() const {
        return PawnWinsAlone(colour, pawn, king, enemyKing, toMove);
    }
};

// ---- King and pawn against king ----

// A won pawn is worth more the further it has come.
EndingVerdict KingAndPawn(const LonePawn& p) {
    if (!PawnWins(p.colour, p.pawn, p.king, p.enemyKing, p.toMove)) return kDraw;
    const int score = 500 + (100 * p.Rank() - 200) / 10;
    return {Verdict::Score, p.toMove ? score : -score};
}

// ---- Knight and rook's pawn against a bare king ----

// The pawn on its seventh rank has its own king in the corner before it, and the enemy
// king steps to and fro beside: the knight cannot lose the move that would drive it away.
bool KnightCannotFreeKing(const LonePawn& p) {
    const int pawn = p.pawn ^ p.flip, king = p.king ^ p.flip,
              enemyKing = p.enemyKing ^ p.flip;
    const bool boxed =
        (pawn == A7 && king == A8 && (enemyKing == C8 || enemyKing == C7)) ||
        (pawn == H7 && king == H8 && (enemyKing == F8 || enemyKing == F7));
    if (!boxed || Board.Knights[p.colour] == 0) return false;
    return SameShade(LowestSquare(Board.Knights[p.colour]), p.enemyKing) == p.toMove;
}

// ---- Minor piece and pawn against a minor piece ----

bool GuardsWithMinor(int colour, int square) {
    return (KnightAttacks[square] & Board.Knights[colour]) != 0 ||
           (BishopLines(square) & Board.Bishops[colour]) != 0;
}

// The pawn as it stands when the defender is to move: its side's move is a step of it,
// onto whatever stands in front, or the free double step.
int PawnAfterItsMove(const LonePawn& p) {
    if (!p.toMove) return p.pawn;
    const int step = p.colour == WHITE ? 8 : -8;
    const int front = p.pawn + step;
    if (p.Rank() != 1) return front;
    const SquareSet path = SquareMask(front) | SquareMask(front + step);
    return (path & AllOccupied()) == 0 ? front + step : front;
}

// The knight reaches the pawn's path in time, or the new queen falls at once. A pawn that
// wins the race against the king is not looked at.
bool KnightStopsPawn(const LonePawn& p) {
    if (p.WinsAlone()) return false;
    const int pawn = PawnAfterItsMove(p),
              knight = LowestSquare(Board.Knights[p.defender]);
    if (RankOf(pawn ^ p.flip) == 7)
        return (KnightAttacks[knight] & SquareMask(pawn)) != 0 ||
               (Distance[p.king][pawn] != 1 && !GuardsWithMinor(p.colour, pawn));
    const int down = p.flip ^ 56;  // KnightCatch has the pawn running down the board
    return (KnightCatch[pawn ^ down][p.king ^ down] & SquareMask(knight ^ down)) != 0;
}

// Bishops on opposite colours: the defender's aims at the pawn's path, or its king stands
// in it. With the defender to move the bishop may take the pawn itself.
bool BishopStopsPawn(const LonePawn& p) {
    const int back = p.colour == WHITE ? -8 : 8;
    const int pawn = p.toMove ? p.pawn : p.pawn + back;
    const SquareSet path = p.colour == WHITE ? FileAbove[pawn] : FileBelow[pawn];
    if ((BishopLines(LowestSquare(Board.Bishops[p.defender])) & path) != 0) return true;
    return RankOf(pawn ^ p.flip) <= 4 && (path & SquareMask(p.enemyKing)) != 0;
}

// Bishops on one colour, and a bishop against a knight, are left to the evaluation.
bool MinorStopsPawn(const LonePawn& p) {
    if (!IsPawnRank(p.pawn)) return false;
    if (Board.Knights[p.defender] != 0) return KnightStopsPawn(p);
    return Board.Bishops[p.colour] != 0 &&
           !SameShade(LowestSquare(Board.Bishops[p.colour]),
                      LowestSquare(Board.Bishops[p.defender])) &&
           BishopStopsPawn(p);
}

// ---- Queen against a pawn about to promote ----

// White's queen against Black's pawn on h2 or f2. The pawn holds when its king is beside
// it and White's king too far off, by a step more when White is to move.
bool QueenCannotStop(int pawn, int blackKing, int whiteKing, bool whiteToMove) {
    const int lowestFile = pawn == H2 ? 5 : 4;
    if (FileOf(blackKing) < lowestFile || RankOf(blackKing) > 1) return false;
    const auto beyond = [&](int file, int rank) {
        return FileOf(whiteKing) < file || RankOf(whiteKing) > rank;
    };
    if (pawn == H2) return whiteToMove ? beyond(3, 4) : beyond(4, 3);
    if (whiteToMove && blackKing == F1) return beyond(3, 4) || whiteKing == D5;
    return beyond(4, 3) || whiteKing == E4;
}

// Knight's and centre pawns always lose, so only the other four files matter; the left
// half of the board is mirrored onto the h- and f-files.
bool PawnHoldsQueen(const LonePawn& p) {
    if (Board.Queens[p.defender] == 0) return false;  // three minor pieces
    int turn = p.flip ^ 56;                           // the pawn moves down the board
    if (FileOf(p.pawn) < 4) turn ^= 7;
    const int pawn = p.pawn ^ turn;
    return (pawn == H2 || pawn == F2) &&
           QueenCannotStop(pawn, p.king ^ turn, p.enemyKing ^ turn, !p.toMove);
}

// ---- Colours that cannot win ----

// The pawns of the colour all stand on one rook's file and no bishop of it guards their
// corner: the enemy king holds it when it is there first, unless a pawn runs through.
bool CornerIsHeld(int colour, int corner) {
    const SquareSet shade = IsDark(corner) ? DarkSquares : LightSquares;
    if ((Board.Bishops[colour] & shade) != 0) return false;
    const int king = Board.KingSquare[colour],
              enemyKing = Board.KingSquare[ChangeSide(colour)];
    const int enemyAway = Distance[enemyKing][corner], away = Distance[king][corner];
    if (enemyAway <= 1) return true;
    const bool toMove = Board.SideToMove == colour;
    // The side to move is a step nearer.
    if (toMove ? enemyAway >= away - 1 : enemyAway - 1 >= away) return false;
    const SquareSet pawns = Board.Pawns[colour];
    const int foremost = colour == WHITE ? HighestSquare(pawns) : LowestSquare(pawns);
    return !PawnWinsAlone(colour, foremost, king, enemyKing, toMove);
}

// Knights and majors always leave chances; so do three pawns.
bool CannotWin(int colour) {
    const bool noMaterial = Board.NoMatingMaterial[colour] != 0;
    if (Board.PawnCount[colour] > 2 || Board.MajorCount[colour] != 0 ||
        Board.Knights[colour] != 0)
        return noMaterial;
    const SquareSet pawns = Board.Pawns[colour], bishops = Board.Bishops[colour];
    if (pawns == 0) return (bishops & LightSquares) == 0 || (bishops & DarkSquares) == 0;
    const int corner = colour == WHITE ? A8 : A1;
    if ((pawns & ~FileSet(0)) == 0) return CornerIsHeld(colour, corner);
    if ((pawns & ~FileSet(7)) == 0) return CornerIsHeld(colour, corner + 7);
    return noMaterial;
}

// ---- The order of the recognisers ----

// Without a rook or a queen: the three endings told apart by the pieces on the board.
EndingVerdict MinorPieceVerdict() {
    const LonePawn p;
    switch (Board.Units[p.colour] + Board.Units[p.defender]) {
        case 0:
            return KingAndPawn(p);
        case kKnightUnits:
            return Board.Units[p.defender] == 0 && KnightCannotFreeKing(p) ? kDraw
                                                                           : kNone;
        case 2 * kKnightUnits:
            return Board.Units[p.defender] == kKnightUnits && MinorStopsPawn(p) ? kDraw
                                                                                : kNone;
        default:
            return kNone;
    }
}

// A bare pawn against a rook or a queen.
EndingVerdict MajorPieceVerdict() {
    const LonePawn p;
    if (Board.Units[p.colour] != 0) return kNone;
    if (Board.Units[p.defender] == kQueenUnits) return PawnHoldsQueen(p) ? kDraw : kNone;
    if (Board.Units[p.defender] != kRookUnits) return kNone;
    switch (RookPawnRecogniser(p.colour)) {
        case kRookPawnDraw:
            return kDraw;
        case kRookSideWins:
            return {Verdict::None, 0, p.toMove ? -kRookBeatsPawn : kRookBeatsPawn};
        default:
            return kNone;
    }
}

}  // namespace

// A king with no piece to move besides is mated or stalemated when it has no square to go
// to.
int BareKingTest() {
    const int side = Board.SideToMove, enemy = ChangeSide(side);
    const int king = Board.KingSquare[side], enemyKing = Board.KingSquare[enemy];
    if (Board.Units[side] != 0 ||
        (OppositionSquares[king] & SquareMask(Rotate(enemyKing))) == 0)
        return 0;
    const SquareSet pawns = Board.Pawns[side];
    if (((side == WHITE ? pawns << 8 : pawns >> 8) & ~AllOccupied()) != 0) return 0;
    // A square behind the king on a checking line does not count as attacked: such mates
    // and stalemates are left to the search.
    SquareSet escapes =
        KingAttacks[king] & ~KingAttacks[enemyKing] & ~Board.Occupied[side];
    while (escapes != 0)
        if (!IsAttacked(enemy, TakeLowest(escapes))) return 0;
    return IsAttacked(enemy, king) ? kMateOf[side] : kStalemate;
}

// Runs at every node of an ending: most positions have more pawns than one and pieces on
// both sides, and pass with a few loads.
EndingVerdict RecogniseEnding() {
    const bool onePawn = Board.PawnCount[WHITE] + Board.PawnCount[BLACK] == 1;
    EndingVerdict found;
    if (onePawn) found = MinorPieceVerdict();
    if (found.verdict != Verdict::None) return found;
    if (const int bare = BareKingTest(); bare != 0)
        return bare == kStalemate ? kDraw : kLoss;
    if (onePawn) found = MajorPieceVerdict();
    if (found.verdict != Verdict::None) return found;
    for (const int colour : {WHITE, BLACK})
        LastEvaluation.CantWin[colour] = CannotWin(colour) ? 1 : 0;
    if (LastEvaluation.CantWin[WHITE] != 0 && LastEvaluation.CantWin[BLACK] != 0)
        return kDraw;
    return found;
}
