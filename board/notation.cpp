#include "board/notation.h"

std::string SquareText(int square) { return {FileLetter(square), RankDigit(square)}; }

// The fifth character is cleared as well: a caller may put the promoted piece there.
void MoveToTextWithoutPromotion(char (&text)[kMoveTextSize], Move m) {
    text[0] = FileLetter(From(m));
    text[1] = RankDigit(From(m));
    text[2] = FileLetter(To(m));
    text[3] = RankDigit(To(m));
    text[4] = text[5] = '\0';
}

void MoveToText(char (&text)[kMoveTextSize], Move m) {
    MoveToTextWithoutPromotion(text, m);
    text[4] = PromotionChar[Promotion(m)];
}

std::string MoveText(Move m) {
    char text[kMoveTextSize];
    MoveToText(text, m);
    return text;
}
