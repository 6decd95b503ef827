// Attack detection: which squares a man attacks, whether a square is attacked, and what a
// sequence of captures on one square wins. Nothing here changes the board.
#pragma once

#include "board/board.h"

// ---- Sliding attacks with the men now on the board; the first man met is included ----
inline SquareSet RookLines(int square) { return RookAttacks(square, AllOccupied()); }
inline SquareSet BishopLines(int square) { return BishopAttacks(square, AllOccupied()); }
inline SquareSet QueenLines(int square) {
    return RookLines(square) | BishopLines(square);
}

// Men of both colours that attack the square, which may be empty or not; a man on it does
// not count. Sliders are met through no other man: those behind one are not in the set.
SquareSet AttackersOf(int square);
// At least one man of the colour attacks the square, which may be empty or not. Pins are
// not looked at: a pinned man still attacks.
bool IsAttacked(int colour, int square);
// Static exchange evaluation: material outcome in centipawns for the side to move of
// capturing on `to` with its man on `from`, both sides then capturing there with the
// least valuable man first or stopping when that is better. `to` holds an enemy man; en
// passant and promotions are not for this function. Pins and checks are not looked at; a
// king takes part last, valued so highly that nobody lets it be taken.
int StaticExchange(int to, int from);
