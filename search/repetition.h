// Draws by repetition inside a search.
#pragma once

#include "board/board.h"

// One earlier occurrence, in the game or in the current line, is a draw.
inline bool RepeatsPosition() {
    // Two moves in a row take a man there and back where the front end switched sides
    // between them.
    if (Board.FiftyCounter < 2) return false;
    const int last = Board.GamePly - 1;
    if (last < 0 || !IsReversible(Board.MoveHistory[last])) return false;
    for (int i = Board.GamePly - 2; i >= 0 && IsReversible(Board.MoveHistory[i]); i -= 2)
        if (Board.Hash1History[i] == Board.hash1 && Board.Hash2History[i] == Board.hash2)
            return true;
    return false;
}
