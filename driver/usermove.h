// Moves as the user types them: coordinate notation on a line of its own.
#pragma once

#include "board/board.h"

// File letter a-h, rank digit 1-8, twice. Short-circuits: later characters are only
// looked at after the earlier ones fit.
bool LooksLikeSquare(char file, char rank);
bool LooksLikeMove(char fromFile, char fromRank, char toFile, char toRank);

// The move word of four characters and a promotion letter (q, r, b, n; anything else:
// none) on the current board. Nothing is checked but that the characters name squares.
Move ParseCoordinateMove(const char* text, char promotion);
// The move is legal in the current position and captures no king.
bool IsLegalUserMove(Move m);

// Tells the user, and flushes.
void WriteIllegalMove(const char* text);

// ---- The match list: legal moves of the position whose moves may be typed during a
// search
void BuildMatchList();
// The list's move of that text ("e7e8q"), NO_MOVE when it is not in the list.
Move MatchListMove(const char* text);
// The move itself is in the list.
bool IsInMatchList(Move m);
