// Edit mode: a position is set up man by man.
#pragma once

#include <string>

// Reads edit commands, character by character, until "." or the end of input.
void EditPosition();
// The lines with which a front end sets up the position on the board: side to move and
// placement. Castling rights, en passant and counters are lost.
std::string EditCommands();
