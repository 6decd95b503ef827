// Book learning: after a decided game the engine's own moves in it get points in the
// book.
#pragma once

// 1 once the current game has been credited; cleared by a new game.
extern int BookLearnedThisGame;

inline constexpr int kGameLost = 0;
inline constexpr int kGameWon = 1;
inline constexpr int kGameDrawn = 2;

// Credits every move of the game that the side to move has made, where the book holds it,
// with the outcome from that side's view, and sets BookLearnedThisGame. The board is as
// before afterwards. Callers test UseBookLearning and that a book file is open.
void BookLearn(int outcome);
