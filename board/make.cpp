// Making and unmaking moves: every form of the board is updated by a few bit operations;
// unmaking brings the whole state back from the history stack.
#include <cstring>

#include "board/board.h"

namespace {

// Home squares of a colour, for castling. The short wing is the h-side.
// The king's targets are compared with every king move from home: only castling goes two
// files.
struct CastlingSquares {
    int king, shortTo, longTo;
    int shortRook, shortRookTo, longRook, longRookTo;
};
constexpr CastlingSquares kCastling[2] = {
    {E1, G1, C1, H1, F1, A1, D1},
    {E8, G8, C8, H8, F8, A8, D8},
};

inline std::uint8_t Bit(int n) { return static_cast<std::uint8_t>(1 << n); }

// ---- What a man of a kind enters, [piece code] ----
// The set of its kind, as a field of the board; an empty square has none.
using SetField = SquareSet (BoardState::*)[2];
constexpr SetField kSetOf[8] = {
    nullptr, &BoardState::Kings, &BoardState::Knights, &BoardState::Pawns,
    nullptr, &BoardState::Rooks, &BoardState::Bishops, &BoardState::Queens};
constexpr SquareSet kAll = ~SquareSet{0};
constexpr SquareSet kStraight[8] = {0, 0, 0, 0, 0, kAll, 0, kAll};
constexpr SquareSet kDiagonal[8] = {0, 0, 0, 0, 0, 0, kAll, kAll};
constexpr int kMinors[8] = {0, 0, 1, 0, 0, 0, 1, 0};
constexpr int kMajors[8] = {0, 0, 0, 0, 0, 1, 0, 2};

// Men of one kind come, go or move in all sets but the colour's: a square that is in the
// mask changes.
inline void ToggleMen(int colour, int code, SquareSet mask) {
    (Board.*kSetOf[code])[colour] ^= mask;
    Board.StraightSliders ^= mask & kStraight[code];
    Board.DiagonalSliders ^= mask & kDiagonal[code];
}

inline void ToggleKeys(int colour, int code, int square) {
    Board.hash1 ^= HashKeys1[colour][code][square];
    Board.hash2 ^= HashKeys2[colour][code][square];
}

// A pawn comes or goes in all that only pawns have; material and counts are the caller's.
inline void TogglePawn(int colour, int square) {
    Board.Pawns[colour] ^= SquareMask(square);
    Board.PawnRanks[FileOf(square)][colour] ^= Bit(RankOf(square));
    Board.PawnHash1 ^= HashKeys1[WHITE][colour][square];
    Board.PawnHash2 ^= HashKeys2[WHITE][colour][square];
}

// Puts a piece other than king or pawn into its sets and counts (sign 1), or takes it out
// (sign -1).
inline void ChangePiece(int colour, int code, int square, int sign) {
    Board.Units[colour] += sign * PieceUnits[code];
    Board.Material[colour] += sign * PieceValue[code];
    Board.MinorCount[colour] += sign * kMinors[code];
    Board.MajorCount[colour] += sign * kMajors[code];
    ToggleMen(colour, code, SquareMask(square));
}

// The castling flags by colour: 1 when the king, or the rook of that wing, has left home.
template <int c>
inline int& KingFlag() {
    return c == WHITE ? Board.WK : Board.BK;
}
template <int c>
inline int& ShortFlag() {
    return c == WHITE ? Board.H1 : Board.H8;
}
template <int c>
inline int& LongFlag() {
    return c == WHITE ? Board.A1 : Board.A8;
}

// A rook that leaves its corner, or is captured there, loses the right on that wing.
template <int c>
inline void LoseCorner(int square) {
    if (square == kCastling[c].shortRook) ShortFlag<c>() = 1;
    if (square == kCastling[c].longRook) LongFlag<c>() = 1;
}

// All of a capture but the piece array, where the mover stands already.
template <int O>
inline void Capture(int captured, int to) {
    Board.Occupied[O] ^= SquareMask(to);
    Board.Positional[O] -= PieceSquare[captured][O][to];
    ToggleKeys(O, captured, to);
    if (captured == PAWN) {
        TogglePawn(O, to);
        Board.Material[O] -= PieceValue[PAWN];
        --Board.PawnCount[O];
    } else {
        ChangePiece(O, captured, to, -1);
        if (captured == ROOK) LoseCorner<O>(to);
    }
    Board.MatingFlagsValid = 0;
}

// Takes the pawn passed by on `square` off the board.
template <int O>
inline void TakePassedPawn(int square) {
    Board.Occupied[O] ^= SquareMask(square);
    Board.Piece[square] = EMPTY;
    Board.Positional[O] -= PieceSquare[PAWN][O][square];
    ToggleKeys(O, PAWN, square);
    TogglePawn(O, square);
    Board.Material[O] -= PieceValue[PAWN];
    --Board.PawnCount[O];
    Board.MatingFlagsValid = 0;
}

// What a pawn's move needs beyond the common part: promotion or en passant.
template <int S>
inline void MakePawnMove(Move m) {
    const int from = From(m), to = To(m), promotion = Promotion(m);
    TogglePawn(S, from);
    if (promotion == EMPTY) {
        TogglePawn(S, to);
        if (Captured(m) == EMPTY && FileOf(from) != FileOf(to))
            TakePassedPawn<ChangeSide(S)>(SquareAt(FileOf(to), RankOf(from)));
        return;
    }
    Board.Piece[to] = static_cast<std::uint8_t>(promotion);
    ToggleKeys(S, PAWN, to);
    ToggleKeys(S, promotion, to);
    Board.Positional[S] += PieceSquare[promotion][S][to] - PieceSquare[PAWN][S][to];
    ChangePiece(S, promotion, to, 1);
    Board.Material[S] -= PieceValue[PAWN];
    --Board.PawnCount[S];
    Board.MatingFlagsValid = 0;
}

// The corner's flag stays as it is: with the king's flag set no right is left on either
// wing.
template <int S>
inline void MoveCastlingRook(int from, int to) {
    const SquareSet both = SquareMask(from) | SquareMask(to);
    Board.Occupied[S] ^= both;
    ToggleMen(S, ROOK, both);
    Board.Piece[from] = EMPTY;
    Board.Piece[to] = ROOK;
    ToggleKeys(S, ROOK, from);
    ToggleKeys(S, ROOK, to);
    Board.Positional[S] += PieceSquare[ROOK][S][to] - PieceSquare[ROOK][S][from];
}

// Only a move from the home square can change the king's flag or be castling.
template <int S>
inline void MakeKingMove(int from, int to) {
    constexpr CastlingSquares home = kCastling[S];
    Board.Kings[S] ^= SquareMask(from) | SquareMask(to);
    Board.KingSquare[S] = to;
    if (from != home.king) return;
    KingFlag<S>() = 1;
    if (to == home.shortTo) {
        MoveCastlingRook<S>(home.shortRook, home.shortRookTo);
        Board.CastledKingside[S] = 1;
    } else if (to == home.longTo) {
        MoveCastlingRook<S>(home.longRook, home.longRookTo);
        Board.CastledQueenside[S] = 1;
    }
}

// A block of one cache line at a time, as plain moves: the compiler would make of the
// whole a call or a string instruction, which start slowly.
inline void CopyState(BoardState& to, const BoardState& from) {
    constexpr std::size_t kBlock = 64;
    static_assert(sizeof(BoardState) == 5 * kBlock);
    auto* t = reinterpret_cast<std::byte*>(&to);
    const auto* f = reinterpret_cast<const std::byte*>(&from);
    std::memcpy(t, f, kBlock);
    std::memcpy(t + kBlock, f + kBlock, kBlock);
    std::memcpy(t + 2 * kBlock, f + 2 * kBlock, kBlock);
    std::memcpy(t + 3 * kBlock, f + 3 * kBlock, kBlock);
    std::memcpy(t + 4 * kBlock, f + 4 * kBlock, kBlock);
}

// Colours are template arguments, so that flags, corners and squares are constants.
template <int S>
void MakeMoveOf(Move m) {
    constexpr int O = ChangeSide(S);
    const int from = From(m), to = To(m), piece = Moving(m), captured = Captured(m);

    // Castling counts as a plain king move; a lost right does not start the count anew.
    Board.FiftyCounter = captured != EMPTY || piece == PAWN ? 0 : Board.FiftyCounter + 1;

    const SquareSet fromTo = SquareMask(from) | SquareMask(to);
    Board.Occupied[S] ^= fromTo;
    Board.Piece[from] = EMPTY;
    Board.Piece[to] = static_cast<std::uint8_t>(piece);
    ToggleKeys(S, piece, from);
    ToggleKeys(S, piece, to);
    Board.Positional[S] += PieceSquare[piece][S][to] - PieceSquare[piece][S][from];
    if (captured != EMPTY) Capture<O>(captured, to);

    if (piece == PAWN) {
        MakePawnMove<S>(m);
    } else if (piece == KING) {
        MakeKingMove<S>(from, to);
    } else {
        ToggleMen(S, piece, fromTo);
        if (piece == ROOK) LoseCorner<S>(from);
    }
}

}  // namespace

// In self-checking builds every move is followed by a full comparison of all forms.
void MakeMove(Move m) {
    assert(Board.GamePly < kHistoryCapacity);
    assert(Captured(m) != KING);
    const int ply = Board.GamePly;
    CopyState(Board.StateHistory[ply], Board);
    Board.Hash1History[ply] = Board.hash1;
    Board.Hash2History[ply] = Board.hash2;
    Board.MoveHistory[ply] = m;
    Board.GamePly = ply + 1;
    if (Board.SideToMove == WHITE)
        MakeMoveOf<WHITE>(m);
    else
        MakeMoveOf<BLACK>(m);
    Board.SideToMove = ChangeSide(Board.SideToMove);
    CheckBoard("MakeMove");
}

void UnmakeMove() {
    assert(Board.GamePly > 0);
    --Board.GamePly;
    Board.SideToMove = ChangeSide(Board.SideToMove);
    CopyState(Board, Board.StateHistory[Board.GamePly]);
    CheckBoard("UnmakeMove");
}
