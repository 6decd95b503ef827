// Bringing the engine to a position, in its own commands: placement by edit mode, and
// what a placement does not say by moves that lead there.
#pragma once

#include <string>

// How the engine gets to the start of a game. Made by PlanSetUp; the session sends the
// commands and keeps the count for "undo".
struct SetUpPlan {
    std::string commands;  // lines for the idle engine; it is in force mode then
    int plies = 0;         // half-moves among them, made on the engine's board
    std::string remark;    // what cannot be carried over; empty: nothing
};

// For a position as WriteFen writes it. The board is undefined afterwards.
//
// Edit mode knows neither en passant nor castling rights: a king and a rook at home may
// always castle. So the position set up is one some half-moves earlier: the pawn takes
// its double step, and the king or rook that has lost its right comes home, the other
// side making a quiet move where one is due. Where it has none, its turn is left out. No
// position is met twice on the way, so that repetition counts as it should. The half-move
// counter begins at the set-up.
SetUpPlan PlanSetUp(const std::string& fen);
