// How squares, men and moves are written.
#pragma once

#include <string>
#include <string_view>

#include "board/board.h"

// ---- Squares: "e4" ----
constexpr char FileLetter(int square) { return static_cast<char>('a' + FileOf(square)); }
constexpr char RankDigit(int square) { return static_cast<char>('1' + RankOf(square)); }
// The square of a letter a-h and a digit 1-8; kNoSquare for anything else.
constexpr int SquareOf(char file, char rank) {
    const bool fits = file >= 'a' && file <= 'h' && rank >= '1' && rank <= '8';
    return fits ? SquareAt(file - 'a', rank - '1') : kNoSquare;
}
// The square's name, "e4"; for 0..63 only.
std::string SquareText(int square);

// ---- Men ----
// [piece code]; no man has the letters '.' and '?'.
inline constexpr std::string_view kPieceLetters = ".knp?rbq";
// Lower case stands for Black where colours are told apart (FEN), and for the promoted
// piece of a move.
constexpr char SmallPieceLetter(int code) {
    return kPieceLetters[static_cast<std::size_t>(code)];
}
constexpr char PieceLetter(int code) {
    const char small = SmallPieceLetter(code);
    return small >= 'a' ? static_cast<char>(small - 'a' + 'A') : small;
}
// The code of a man's letter in either case; EMPTY for anything else.
constexpr int PieceOfLetter(char letter) {
    const std::size_t code = kPieceLetters.find(ToLower(letter));
    return code == std::string_view::npos || code == NO_PIECE ? EMPTY
                                                              : static_cast<int>(code);
}

// ---- Moves in coordinate notation ----
// [promotion code]: the fifth character of a move's text; NUL ends the text early.
inline constexpr char PromotionChar[8] = {'\0', 'k', 'n', 'p', '?', 'r', 'b', 'q'};
inline constexpr int kMoveTextSize = 6;
// Both write a terminating NUL.
void MoveToText(char (&text)[kMoveTextSize], Move m);                  // "e2e4", "e7e8q"
void MoveToTextWithoutPromotion(char (&text)[kMoveTextSize], Move m);  // "e7e8"
// MoveToText as a string, for tools and messages.
std::string MoveText(Move m);
