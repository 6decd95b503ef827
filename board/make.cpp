// Making and unmaking moves: every form of the board is updated by a few bit operations,
// and what is dear to undo is saved on the history stack.

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

// Bits of the packed castling flags, as CastleFlags() packs them.
constexpr int kPackedBK = 1, kPackedWK = 2;
constexpr int kPackedH1 = 4, kPackedA1 = 8, kPackedH8 = 16, kPackedA8 = 32;

inline std::uint8_t Bit(int n) { return static_cast<std::uint8_t>(1 << n); }

// A square becomes occupied or empty for all four lines through it. Not called for the
// target of a capture, which stays occupied.
inline void ToggleLines(int square) {
    const int file = FileOf(square), rank = RankOf(square);
    Board.FileOccupancy[file] ^= Bit(rank);
    Board.RankOccupancy[rank] ^= Bit(file);
    Board.RisingOccupancy[RisingIndex(square)] ^= Bit(rank);
    Board.FallingOccupancy[FallingIndex(square)] ^= Bit(rank);
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
    const SquareSet mask = SquareMask(square);
    Board.Units[colour] += sign * PieceUnits[code];
    Board.Material[colour] += sign * PieceValue[code];
    switch (code) {
        case KNIGHT:
            Board.Knights[colour] ^= mask;
            Board.MinorCount[colour] += sign;
            break;
        case BISHOP:
            Board.Bishops[colour] ^= mask;
            Board.DiagonalSliders ^= mask;
            Board.MinorCount[colour] += sign;
            break;
        case ROOK:
            Board.Rooks[colour] ^= mask;
            Board.StraightSliders ^= mask;
            Board.MajorCount[colour] += sign;
            break;
        default:
            Board.Queens[colour] ^= mask;
            Board.StraightSliders ^= mask;
            Board.DiagonalSliders ^= mask;
            Board.MajorCount[colour] += 2 * sign;
            break;
    }
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

// Both corner flags of a colour from the packed form saved before the move.
template <int c>
inline void ReloadCorners(int packed) {
    ShortFlag<c>() = (packed & (c == WHITE ? kPackedH1 : kPackedH8)) != 0;
    LongFlag<c>() = (packed & (c == WHITE ? kPackedA1 : kPackedA8)) != 0;
}

// All of a capture but the piece array and the line bytes of `to`, where the mover
// stands.
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

// The captured man returns to `to`, which the mover has left: lines included, keys and
// piece-square sums not, which come back from the history.
template <int O>
inline void Uncapture(int captured, int to, int packed) {
    Board.Occupied[O] ^= SquareMask(to);
    Board.Piece[to] = static_cast<std::uint8_t>(captured);
    ToggleLines(to);
    if (captured == PAWN) {
        TogglePawn(O, to);
        Board.Material[O] += PieceValue[PAWN];
        ++Board.PawnCount[O];
    } else {
        ChangePiece(O, captured, to, 1);
        // Restoring both corners is the same as restoring this one: no other flag of this
        // colour changed with the move.
        if (captured == ROOK) ReloadCorners<O>(packed);
    }
    Board.MatingFlagsValid = 0;
}

// Takes the pawn passed by on `square` off the board (sign -1) or puts it back (sign 1).
template <int O>
inline void ChangeEnPassantPawn(int square, int sign) {
    Board.Occupied[O] ^= SquareMask(square);
    Board.Piece[square] = static_cast<std::uint8_t>(sign > 0 ? PAWN : EMPTY);
    ToggleLines(square);
    TogglePawn(O, square);
    Board.Material[O] += sign * PieceValue[PAWN];
    Board.PawnCount[O] += sign;
    Board.MatingFlagsValid = 0;
}

// The promoted piece appears in place of the pawn (sign 1), or goes (sign -1).
// Piece-square sums and keys are the caller's: only making a move changes them, unmaking
// reloads them.
template <int S>
inline void ChangePromoted(int promotion, int to, int sign) {
    ChangePiece(S, promotion, to, sign);
    Board.Material[S] -= sign * PieceValue[PAWN];
    Board.PawnCount[S] -= sign;
    Board.MatingFlagsValid = 0;
}

// What a pawn's move needs beyond the common part: promotion or en passant.
template <int S>
inline void MakePawnMove(Move m) {
    constexpr int O = ChangeSide(S);
    const int from = From(m), to = To(m), promotion = Promotion(m);
    TogglePawn(S, from);
    if (promotion == 0) {
        TogglePawn(S, to);
        if (Captured(m) == 0 && FileOf(from) != FileOf(to)) {
            const int passed = SquareAt(FileOf(to), RankOf(from));
            Board.Positional[O] -= PieceSquare[PAWN][O][passed];
            ToggleKeys(O, PAWN, passed);
            ChangeEnPassantPawn<O>(passed, -1);
        }
        return;
    }
    Board.Piece[to] = static_cast<std::uint8_t>(promotion);
    ToggleKeys(S, PAWN, to);
    ToggleKeys(S, promotion, to);
    Board.Positional[S] += PieceSquare[promotion][S][to] - PieceSquare[PAWN][S][to];
    ChangePromoted<S>(promotion, to, 1);
}

// The rook's part of castling, made or unmade: all but keys and piece-square sums.
// The corner's flag stays as it is: with the king's flag set no right is left on either
// wing.
template <int S>
inline void MoveCastlingRook(int from, int to) {
    const SquareSet both = SquareMask(from) | SquareMask(to);
    Board.Occupied[S] ^= both;
    Board.Rooks[S] ^= both;
    Board.StraightSliders ^= both;
    ToggleLines(from);
    ToggleLines(to);
    Board.Piece[from] = EMPTY;
    Board.Piece[to] = ROOK;
}

// Only a move from the home square can change the king's flag or be castling.
template <int S>
inline void MakeKingMove(int from, int to) {
    constexpr CastlingSquares home = kCastling[S];
    Board.Kings[S] ^= SquareMask(from) | SquareMask(to);
    Board.KingSquare[S] = to;
    if (from != home.king) return;
    KingFlag<S>() = 1;
    const bool castlesShort = to == home.shortTo;
    if (!castlesShort && to != home.longTo) return;
    const int rookFrom = castlesShort ? home.shortRook : home.longRook;
    const int rookTo = castlesShort ? home.shortRookTo : home.longRookTo;
    MoveCastlingRook<S>(rookFrom, rookTo);
    ToggleKeys(S, ROOK, rookFrom);
    ToggleKeys(S, ROOK, rookTo);
    Board.Positional[S] += PieceSquare[ROOK][S][rookTo] - PieceSquare[ROOK][S][rookFrom];
    (castlesShort ? Board.CastledKingside : Board.CastledQueenside)[S] = 1;
}

template <int S>
inline void UnmakeKingMove(int from, int to, int packed) {
    constexpr CastlingSquares home = kCastling[S];
    Board.Kings[S] ^= SquareMask(from) | SquareMask(to);
    Board.KingSquare[S] = from;
    if (from != home.king) return;
    KingFlag<S>() = (packed & (S == WHITE ? kPackedWK : kPackedBK)) != 0;
    const bool castledShort = to == home.shortTo;
    if (!castledShort && to != home.longTo) return;
    if (castledShort)
        MoveCastlingRook<S>(home.shortRookTo, home.shortRook);
    else
        MoveCastlingRook<S>(home.longRookTo, home.longRook);
    (castledShort ? Board.CastledKingside : Board.CastledQueenside)[S] = 0;
}

// Sets of a knight, bishop, rook or queen that moves either way between two squares.
// The same exclusive-or moves a man there and back.
template <int S>
inline void ShiftPiece(int piece, SquareSet fromTo) {
    switch (piece) {
        case KNIGHT:
            Board.Knights[S] ^= fromTo;
            break;
        case BISHOP:
            Board.Bishops[S] ^= fromTo;
            Board.DiagonalSliders ^= fromTo;
            break;
        case ROOK:
            Board.Rooks[S] ^= fromTo;
            Board.StraightSliders ^= fromTo;
            break;
        default:
            Board.Queens[S] ^= fromTo;
            Board.StraightSliders ^= fromTo;
            Board.DiagonalSliders ^= fromTo;
            break;
    }
}

// Saved first: what would be dear or impossible to compute back. Colours are template
// arguments, so that flags, corners and squares are constants.
template <int S>
void MakeMoveOf(Move m) {
    constexpr int O = ChangeSide(S);
    const int from = From(m), to = To(m), piece = Moving(m), captured = Captured(m);
    const int ply = Board.GamePly;

    Board.CastleFlagsHistory[ply] = static_cast<std::uint8_t>(CastleFlags());
    Board.FiftyHistory[ply] = Board.FiftyCounter;
    Board.Hash1History[ply] = Board.hash1;
    Board.Hash2History[ply] = Board.hash2;
    Board.PositionalHistory[WHITE][ply] = Board.Positional[WHITE];
    Board.PositionalHistory[BLACK][ply] = Board.Positional[BLACK];

    // Castling counts as a plain king move; a lost right does not start the count anew.
    Board.FiftyCounter = captured != 0 || piece == PAWN ? 0 : Board.FiftyCounter + 1;

    const SquareSet fromTo = SquareMask(from) | SquareMask(to);
    Board.Occupied[S] ^= fromTo;
    Board.Piece[from] = EMPTY;
    Board.Piece[to] = static_cast<std::uint8_t>(piece);
    ToggleLines(from);
    // The target of a capture was occupied and stays so.
    if (captured == 0) ToggleLines(to);
    ToggleKeys(S, piece, from);
    ToggleKeys(S, piece, to);
    Board.Positional[S] += PieceSquare[piece][S][to] - PieceSquare[piece][S][from];
    if (captured != 0) Capture<O>(captured, to);

    if (piece == PAWN) {
        MakePawnMove<S>(m);
    } else if (piece == KING) {
        MakeKingMove<S>(from, to);
    } else {
        ShiftPiece<S>(piece, fromTo);
        if (piece == ROOK) LoseCorner<S>(from);
    }

    Board.MoveHistory[ply] = m;
    Board.GamePly = ply + 1;
    Board.SideToMove = O;
}

// Sets, counts and lines are undone by the same exclusive-ors; keys and sums are
// reloaded.
template <int S>
void UnmakeMoveOf(Move m) {
    constexpr int O = ChangeSide(S);
    const int from = From(m), to = To(m), piece = Moving(m), captured = Captured(m);
    const int ply = Board.GamePly;
    const int packed = Board.CastleFlagsHistory[ply];

    const SquareSet fromTo = SquareMask(from) | SquareMask(to);
    Board.Occupied[S] ^= fromTo;
    Board.Piece[to] = EMPTY;
    Board.Piece[from] = static_cast<std::uint8_t>(piece);
    ToggleLines(to);
    ToggleLines(from);
    if (captured != 0) Uncapture<O>(captured, to, packed);

    if (piece == PAWN) {
        TogglePawn(S, from);
        if (Promotion(m) != 0) {
            ChangePromoted<S>(Promotion(m), to, -1);
        } else {
            TogglePawn(S, to);
            if (captured == 0 && FileOf(from) != FileOf(to))
                ChangeEnPassantPawn<O>(SquareAt(FileOf(to), RankOf(from)), 1);
        }
    } else if (piece == KING) {
        UnmakeKingMove<S>(from, to, packed);
    } else {
        ShiftPiece<S>(piece, fromTo);
        if (piece == ROOK) ReloadCorners<S>(packed);
    }

    Board.FiftyCounter = Board.FiftyHistory[ply];
    Board.Positional[WHITE] = Board.PositionalHistory[WHITE][ply];
    Board.Positional[BLACK] = Board.PositionalHistory[BLACK][ply];
    Board.hash1 = Board.Hash1History[ply];
    Board.hash2 = Board.Hash2History[ply];
}

}  // namespace

// In self-checking builds every move is followed by a full comparison of all forms.
void MakeMove(Move m) {
    assert(Board.GamePly < kHistoryCapacity);
    assert(Captured(m) != KING);
    if (Board.SideToMove == WHITE)
        MakeMoveOf<WHITE>(m);
    else
        MakeMoveOf<BLACK>(m);
    CheckBoard("MakeMove");
}

void UnmakeMove() {
    assert(Board.GamePly > 0);
    --Board.GamePly;
    Board.SideToMove = ChangeSide(Board.SideToMove);
    const Move m = Board.MoveHistory[Board.GamePly];
    if (Board.SideToMove == WHITE)
        UnmakeMoveOf<WHITE>(m);
    else
        UnmakeMoveOf<BLACK>(m);
    CheckBoard("UnmakeMove");
}
