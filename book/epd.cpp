// Each part appends to the text and returns its new end.
#include "book/epd.h"

#include "board/board.h"

namespace {

// Rank 8 first, runs of empty squares as digits.
char* AppendPlacement(char* text) {
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const int square = SquareAt(file, rank), code = Board.Piece[square];
            if (code == EMPTY) {
                ++empty;
                continue;
            }
            if (empty > 0) *text++ = static_cast<char>('0' + empty);
            empty = 0;
            const bool white = (Board.Occupied[WHITE] & SquareMask(square)) != 0;
            const char letter = PromotionChar[code];
            *text++ = white ? static_cast<char>(letter - 'a' + 'A') : letter;
        }
        if (empty > 0) *text++ = static_cast<char>('0' + empty);
        if (rank > 0) *text++ = '/';
    }
    return text;
}

// Rights as the flags have them; "-" when none is left.
char* AppendCastling(char* text) {
    const char* const start = text;
    if (Board.WK == 0 && Board.H1 == 0) *text++ = 'K';
    if (Board.WK == 0 && Board.A1 == 0) *text++ = 'Q';
    if (Board.BK == 0 && Board.H8 == 0) *text++ = 'k';
    if (Board.BK == 0 && Board.A8 == 0) *text++ = 'q';
    if (text == start) *text++ = '-';
    *text++ = ' ';
    return text;
}

// The square behind a pawn that has just made its double step.
char* AppendEnPassant(char* text) {
    if (const int passed = PassedSquare(); passed != kNoSquare) {
        *text++ = static_cast<char>('a' + FileOf(passed));
        *text++ = static_cast<char>('1' + RankOf(passed));
    } else {
        *text++ = '-';
    }
    *text++ = ' ';
    return text;
}

}  // namespace

char* WriteEpd(char (&text)[kEpdSize]) {
    char* end = AppendPlacement(text);
    *end++ = ' ';
    *end++ = Board.SideToMove == WHITE ? 'w' : 'b';
    *end++ = ' ';
    end = AppendEnPassant(AppendCastling(end));
    *end = '\0';
    return end;
}
