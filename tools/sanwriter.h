// Moves as players write them.
#pragma once

#include <string>

#include "board/board.h"

// The legal move of the current position in short algebraic notation: "Nbd7", "exd8=Q+".
std::string SanOf(Move move);
