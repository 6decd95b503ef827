// Endgame knowledge: recognisers that know the result of endings with little material.
#pragma once

#include "board/board.h"
#include "eval/endgametables.h"

// What the recognisers say of a position. Loss is the side to move's; that it wins is
// left to the search.
enum class Verdict { None, Draw, Loss, Score };

struct EndingVerdict {
    Verdict verdict = Verdict::None;
    int score = 0;  // with Score: centipawns, side to move's view
    int bonus = 0;  // with None: +-300 for a rook that beats a pawn, side to move's view
};

// Runs all recognisers in their order and, when none settles the position before,
// sets LastEvaluation.CantWin. Both kings must be on the board and
// MatingFlagsValid be 1.
EndingVerdict RecogniseEnding();

// A mate or stalemate of a side to move that has a bare king, or blocked pawns besides,
// at the edge opposite to the enemy king: 0 neither, 1 stalemate, 2 Black wins, 3 White
// wins.
int BareKingTest();

// The pawn of the colour, alone with both kings, wins with best play of both sides.
// Squares as on the board. `PawnWinsAlone` asks for a win in which the pawn runs by
// itself.
inline bool PawnWins(int colour, int pawn, int attackerKing, int defenderKing,
                     bool pawnSideToMove) {
    const int turn = colour == WHITE ? 0 : 63;
    return ProbeKPK(KPKTable, pawn ^ turn, pawnSideToMove ? 0 : 1, attackerKing ^ turn,
                    defenderKing ^ turn) != 0;
}
inline bool PawnWinsAlone(int colour, int pawn, int attackerKing, int defenderKing,
                          bool pawnSideToMove) {
    const int turn = colour == WHITE ? 0 : 63;
    return ProbeKPK(KPKTableB, pawn ^ turn, pawnSideToMove ? 0 : 1, attackerKing ^ turn,
                    defenderKing ^ turn) != 0;
}
