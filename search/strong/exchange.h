// What a move wins or loses on its square.
#pragma once

#include "board/attacks.h"

// Material outcome in centipawns for the side to move; promotions and en passant count as
// even. The move must be pseudo-legal.
inline int ExchangeValue(Move m) {
    if (Promotion(m) != EMPTY || IsEnPassant(m)) return 0;
    return StaticExchange(To(m), From(m));
}

// At least so much. A man that takes one of no less worth loses nothing.
inline bool ExchangeAtLeast(Move m, int threshold) {
    if (threshold <= 0 && PieceValue[Captured(m)] >= PieceValue[Moving(m)]) return true;
    return ExchangeValue(m) >= threshold;
}
