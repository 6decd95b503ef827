// King and rook against king and pawn.
#pragma once

inline constexpr int kRookSideWins = 0;
inline constexpr int kRookPawnDraw = 1;
inline constexpr int kRookPawnUnknown = 2;

// Judges the position on the board, in which `pawnColour` has one pawn and no piece and
// the other side one rook: kRookSideWins, kRookPawnDraw or kRookPawnUnknown.
int RookPawnRecogniser(int pawnColour);
