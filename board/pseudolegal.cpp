// The geometry of each kind of man; what only castling needs is asked from the generator.
#include "board/pseudolegal.h"

#include "board/attacks.h"
#include "board/generate.h"

namespace {

constexpr int kForward[2] = {8, -8};
constexpr int kSecondRank[2] = {1, 6}, kLastRank[2] = {7, 0};

bool PromotesRightly(Move m, int S) {
    const int promotion = Promotion(m);
    if (RankOf(To(m)) != kLastRank[S]) return promotion == EMPTY;
    return promotion == QUEEN || promotion == ROOK || promotion == BISHOP ||
           promotion == KNIGHT;
}

bool PawnCanGo(Move m, int S) {
    const int from = From(m), to = To(m);
    if (!PromotesRightly(m, S)) return false;
    if ((PawnAttacks[S][from] & SquareMask(to)) != 0) {
        if (Captured(m) != EMPTY) return true;
        const int passed = PassedSquare();
        return passed == to && RankOf(passed) == RankOf(from) + (S == WHITE ? 1 : -1);
    }
    if (Captured(m) != EMPTY) return false;
    if (to == from + kForward[S]) return true;
    return to == from + 2 * kForward[S] && RankOf(from) == kSecondRank[S] &&
           Board.Piece[from + kForward[S]] == EMPTY;
}

// The generator tests rights, way and attacked squares.
bool CanCastle(Move m) {
    if (Line.InCheckAt[Line.Ply] != 0) return false;
    const int top = Generated.MoveStackTop;
    AddKillerIfValid(m);
    const bool valid = Generated.MoveStackTop > top;
    Generated.MoveStackTop = top;
    return valid;
}

bool IsCastling(Move m) {
    return m == CASTLE_WHITE_SHORT || m == CASTLE_WHITE_LONG || m == CASTLE_BLACK_SHORT ||
           m == CASTLE_BLACK_LONG;
}

bool PieceCanGo(Move m) {
    const int from = From(m);
    const SquareSet to = SquareMask(To(m));
    if (Promotion(m) != EMPTY) return false;
    switch (Moving(m)) {
        case KNIGHT:
            return (KnightAttacks[from] & to) != 0;
        case BISHOP:
            return (BishopLines(from) & to) != 0;
        case ROOK:
            return (RookLines(from) & to) != 0;
        case QUEEN:
            return (QueenLines(from) & to) != 0;
        case KING:
            return (KingAttacks[from] & to) != 0 || (IsCastling(m) && CanCastle(m));
        default:
            return false;
    }
}

}  // namespace

bool IsPseudoLegal(Move m) {
    constexpr Move kMoveBits = 0x1FFFFF;
    const int S = Board.SideToMove, from = From(m), to = To(m);
    if ((m & ~kMoveBits) != 0 || (Board.Occupied[S] & SquareMask(from)) == 0 ||
        (Board.Occupied[S] & SquareMask(to)) != 0 || Board.Piece[from] != Moving(m) ||
        Board.Piece[to] != Captured(m) || Captured(m) == KING)
        return false;
    return Moving(m) == PAWN ? PawnCanGo(m, S) : PieceCanGo(m);
}

Move UnpackedMove(std::uint32_t packed) {
    const int from = static_cast<int>(packed & 63),
              to = static_cast<int>(packed >> 6 & 63);
    const Move m = MakeWord(from, to, Board.Piece[from], Board.Piece[to],
                            static_cast<int>(packed >> 12 & 7));
    return IsPseudoLegal(m) ? m : NO_MOVE;
}
