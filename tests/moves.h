// Positions for tests: games in coordinate notation from the start position.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "board/board.h"
#include "board/legalmoves.h"
#include "board/notation.h"

// The legal move with this text; NO_MOVE when there is none.
inline Move LegalMove(const std::string& text) {
    for (const Move m : LegalMoves())
        if (MoveText(m) == text) return m;
    return NO_MOVE;
}

// Plays moves like "e2e4 e7e5" on the current position.
inline void PlayMoves(const std::string& moves) {
    std::istringstream words(moves);
    for (std::string word; words >> word;) {
        const Move m = LegalMove(word);
        ASSERT_NE(m, NO_MOVE) << word << " in " << moves;
        PlayGameMove(m);
    }
}

inline void PlayFromStart(const std::string& moves) {
    BuildTables();
    SetStartPosition();
    PlayMoves(moves);
}
