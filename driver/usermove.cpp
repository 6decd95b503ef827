#include "driver/usermove.h"

#include <algorithm>

#include "board/generate.h"

namespace {

int MatchListEnd = kMatchListStart;

int PromotionCode(char letter) {
    switch (letter) {
        case 'q':
            return QUEEN;
        case 'r':
            return ROOK;
        case 'b':
            return BISHOP;
        case 'n':
            return KNIGHT;
        default:
            return EMPTY;
    }
}

// -1 when the characters name no square.
int ParseSquare(const char* text) {
    return LooksLikeSquare(text[0], text[1]) ? SquareAt(text[0] - 'a', text[1] - '1')
                                             : -1;
}

}  // namespace

bool LooksLikeSquare(char file, char rank) {
    return file >= 'a' && file <= 'h' && rank >= '1' && rank <= '8';
}

bool LooksLikeMove(char fromFile, char fromRank, char toFile, char toRank) {
    return LooksLikeSquare(fromFile, fromRank) && LooksLikeSquare(toFile, toRank);
}

Move ParseCoordinateMove(const char* text, char promotion) {
    const int from = ParseSquare(text), to = ParseSquare(text + 2);
    if (from < 0 || to < 0) return NO_MOVE;
    return MakeWord(from, to, Board.Piece[from], Board.Piece[to],
                    PromotionCode(promotion));
}

bool IsLegalUserMove(Move m) {
    const int top = MoveStackTop;
    GenerateLegalMoves(kUserMoveStart);
    Move* const end = MoveStack + MoveStackTop;
    const bool found = std::find(MoveStack + kUserMoveStart, end, m) != end;
    MoveStackTop = top;
    return found && Captured(m) != KING;
}

void BuildMatchList() {
    const int top = MoveStackTop;
    GenerateLegalMoves(kMatchListStart);
    MatchListEnd = MoveStackTop;
    MoveStackTop = top;
}

Move MatchListMove(const char* text) {
    const int from = ParseSquare(text), to = from < 0 ? -1 : ParseSquare(text + 2);
    if (to < 0) return NO_MOVE;
    const int promotion = PromotionCode(text[4]);
    for (int i = kMatchListStart; i < MatchListEnd; ++i) {
        const Move m = MoveStack[i];
        if (From(m) == from && To(m) == to && Promotion(m) == promotion) return m;
    }
    return NO_MOVE;
}

bool IsInMatchList(Move m) {
    Move* const end = MoveStack + MatchListEnd;
    return std::find(MoveStack + kMatchListStart, end, m) != end;
}
