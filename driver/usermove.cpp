#include "driver/usermove.h"

#include <algorithm>

#include "board/legalmoves.h"
#include "board/notation.h"
#include "platform/output.h"

namespace {

// Moves of the position that a line typed during a search is matched against.
struct {
    Move moves[kMaxMoves];
    int count;
} MatchList;

// EMPTY for any other letter: the move does not promote.
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

int ParseSquare(const char* text) { return SquareOf(text[0], text[1]); }

}  // namespace

bool LooksLikeSquare(char file, char rank) { return SquareOf(file, rank) != kNoSquare; }

bool LooksLikeMove(char fromFile, char fromRank, char toFile, char toRank) {
    return LooksLikeSquare(fromFile, fromRank) && LooksLikeSquare(toFile, toRank);
}

Move ParseCoordinateMove(const char* text, char promotion) {
    const int from = ParseSquare(text), to = ParseSquare(text + 2);
    if (from < 0 || to < 0) return NO_MOVE;
    return MakeWord(from, to, Board.Piece[from], Board.Piece[to],
                    PromotionCode(promotion));
}

bool IsLegalUserMove(Move m) { return LegalMoves().Contains(m) && Captured(m) != KING; }

void WriteIllegalMove(const char* text) {
    Write("Illegal move: %s\n", text);
    FlushOutput();
}

void BuildMatchList() {
    const LegalMoves legal;
    std::copy(legal.begin(), legal.end(), MatchList.moves);
    MatchList.count = legal.count;
}

// A promotion must name its piece: without the letter no promotion matches.
Move MatchListMove(const char* text) {
    const int from = ParseSquare(text), to = from < 0 ? -1 : ParseSquare(text + 2);
    if (to < 0) return NO_MOVE;
    const int promotion = PromotionCode(text[4]);
    for (int i = 0; i < MatchList.count; ++i) {
        const Move m = MatchList.moves[i];
        if (From(m) == from && To(m) == to && Promotion(m) == promotion) return m;
    }
    return NO_MOVE;
}

bool IsInMatchList(Move m) {
    return std::find(MatchList.moves, MatchList.moves + MatchList.count, m) !=
           MatchList.moves + MatchList.count;
}
