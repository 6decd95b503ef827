// Moves as players write them. For reports; reading is book/san.h.
#pragma once

#include <string>

#include "board/board.h"

// The legal move of the current position in short algebraic notation: "Nbd7", "exd8=Q+",
// "O-O", with "+" or "#" where it gives check or mates. Makes the move and takes it back,
// for which the history stack must have room.
std::string SanOf(Move move);
