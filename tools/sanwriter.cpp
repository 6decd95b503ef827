#include "tools/sanwriter.h"

#include "board/attacks.h"
#include "board/legalmoves.h"
#include "board/notation.h"

namespace {

// What tells the man from others of its kind that can go to the same square: the file if
// that is enough, else the rank, else both.
std::string Origin(Move move) {
    bool others = false, sameFile = false, sameRank = false;
    for (const Move m : LegalMoves()) {
        if (To(m) != To(move) || Moving(m) != Moving(move) || From(m) == From(move))
            continue;
        others = true;
        sameFile |= FileOf(From(m)) == FileOf(From(move));
        sameRank |= RankOf(From(m)) == RankOf(From(move));
    }
    std::string text;
    if (others && (!sameFile || sameRank)) text += FileLetter(From(move));
    if (others && sameFile) text += RankDigit(From(move));
    return text;
}

// "+" or "#" when the side to move is in check or mated.
std::string CheckMark() {
    const int S = Board.SideToMove;
    if (!IsAttacked(ChangeSide(S), Board.KingSquare[S])) return "";
    return LegalMoves().count == 0 ? "#" : "+";
}

}  // namespace

// Origin and captures are worked out before the move is made, the check mark after it.
std::string SanOf(Move move) {
    const int from = From(move), to = To(move), piece = Moving(move);
    std::string text;
    if (piece == KING && FileDistance(from, to) == 2) {
        text = FileOf(to) == 6 ? "O-O" : "O-O-O";
    } else {
        const bool captures = Captured(move) != EMPTY || IsEnPassant(move);
        if (piece != PAWN)
            text = PieceLetter(piece) + Origin(move);
        else if (captures)
            text = FileLetter(from);
        if (captures) text += 'x';
        text += FileLetter(to);
        text += RankDigit(to);
        if (Promotion(move) != EMPTY) {
            text += '=';
            text += PieceLetter(Promotion(move));
        }
    }
    MakeMove(move);
    text += CheckMark();
    UnmakeMove();
    return text;
}
