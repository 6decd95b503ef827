// The legal moves of a position as a list of their own, for all who want to look at them:
// rules, notation, tools. The search takes its moves from the stack instead.
#pragma once

#include <algorithm>

#include "board/generate.h"

// A copy taken at construction: moves may be made and generated while it is walked. Some
// 8 KB; meant for the stack of the caller, not for recursion in the search.
struct LegalMoves {
    Move moves[kMaxMoves];
    int count;

    // Of the position on the board, in the order of GenerateLegalMoves; none when a king
    // is missing. The move stack is as before afterwards.
    LegalMoves() {
        const int top = Generated.MoveStackTop;
        GenerateLegalMoves(top);
        count = Generated.MoveStackTop - top;
        std::copy_n(Generated.MoveStack + top, count, moves);
        Generated.MoveStackTop = top;
    }
    const Move* begin() const { return moves; }
    const Move* end() const { return moves + count; }
    // Compares whole move words: promotion and captured man must agree.
    bool Contains(Move m) const { return std::find(begin(), end(), m) != end(); }
};
