// From the to-square back: the attack tables give the men that reach it, what the text
// says of the from-square leaves one or two, and only those are tested for legality.
#include "book/san.h"

#include "board/attacks.h"
#include "board/legalmoves.h"

namespace {

constexpr int kNone = -1;

// What a text says; parts that it leaves open are kNone.
struct San {
    int piece = PAWN;
    int fromFile = kNone, fromRank = kNone, toFile = kNone, toRank = kNone;
    int promotion = EMPTY;
    bool capture = false;
};

// [square]: the squares on its rank and file, and on its diagonals, to the board's edge.
struct LineTables {
    SquareSet straight[64], diagonal[64];
};
// For sliders as seen from the king: a first sieve before the men between are looked at.
consteval LineTables MakeLines() {
    LineTables lines{};
    for (int a = 0; a < 64; ++a)
        for (int b = 0; b < 64; ++b) {
            const int files = FileOf(a) - FileOf(b), ranks = RankOf(a) - RankOf(b);
            if (a == b) continue;
            if (files == 0 || ranks == 0) lines.straight[a] |= SquareMask(b);
            if (files == ranks || files == -ranks) lines.diagonal[a] |= SquareMask(b);
        }
    return lines;
}
constexpr LineTables kLines = MakeLines();

// ---- Legality of one move ----

// The king of the side to move is not attacked once the move has been made. Counts bits
// on the squares as they will be; the board stays as it is.
bool KingIsSafeAfter(Move m) {
    const int S = Board.SideToMove, O = ChangeSide(S);
    const int from = From(m), to = To(m);
    const int taken = IsEnPassant(m) ? SquareAt(FileOf(to), RankOf(from)) : to;
    const int king = Moving(m) == KING ? to : Board.KingSquare[S];
    const SquareSet left =
        ~SquareMask(taken);  // enemies that remain, and vacated squares
    if ((KnightAttacks[king] & Board.Knights[O] & left) != 0) return false;
    if ((PawnAttacks[S][king] & Board.Pawns[O] & left) != 0) return false;
    if ((KingAttacks[king] & Board.Kings[O]) != 0) return false;
    const SquareSet occupied = (AllOccupied() & ClearMask(from) & left) | SquareMask(to);
    SquareSet sliders = ((kLines.straight[king] & Board.StraightSliders) |
                         (kLines.diagonal[king] & Board.DiagonalSliders)) &
                        Board.Occupied[O] & left;
    while (sliders != 0)
        if ((Between[TakeLowest(sliders)][king] & occupied) == 0) return false;
    return true;
}

// Castling is legal, the right included. The flags alone do not tell of a rook that was
// taken at home, so rook and king are looked for on their squares.
bool CastlingIsLegal(bool castlesShort) {
    const int S = Board.SideToMove, O = ChangeSide(S);
    const int king = S == WHITE ? E1 : E8, step = castlesShort ? 1 : -1;
    const int corner = castlesShort ? king + 3 : king - 4;
    const int kingMoved = S == WHITE ? Board.WK : Board.BK;
    const int rookMoved = S == WHITE ? (castlesShort ? Board.H1 : Board.A1)
                                     : (castlesShort ? Board.H8 : Board.A8);
    return kingMoved == 0 && rookMoved == 0 && Board.KingSquare[S] == king &&
           (Board.Rooks[S] & SquareMask(corner)) != 0 &&
           (Between[corner][king] & AllOccupied()) == 0 && !IsAttacked(O, king) &&
           !IsAttacked(O, king + step) && !IsAttacked(O, king + 2 * step);
}

// ---- From the text to its parts ----

// EMPTY when the letter is none of a piece. Lower case "b" is always a file.
int PieceOf(char letter) {
    switch (letter) {
        case 'K':
            return KING;
        case 'Q':
            return QUEEN;
        case 'R':
            return ROOK;
        case 'B':
            return BISHOP;
        case 'N':
            return KNIGHT;
        case 'P':
            return PAWN;
        default:
            return EMPTY;
    }
}

// Letters as the standard has them, and the zeros that many writers use.
bool IsCastlingLetter(char c) { return c == 'O' || c == '0'; }

// Reads a file letter and a rank digit, each where there is one.
const char* ReadSquare(const char* text, int& file, int& rank) {
    while (*text == '-') ++text;
    if (*text >= 'a' && *text <= 'h') file = *text++ - 'a';
    if (*text >= '1' && *text <= '8') rank = *text++ - '1';
    return text;
}

// Marks are dropped first, then the parts come in their fixed order: piece, one or two
// squares, promotion. What follows them is ignored.
San ParseSan(const char* text) {
    San san;
    char rest[16];
    int length = 0;
    // As many characters as a token of a game can have.
    for (; *text != '\0' && length < 15; ++text) {
        if (*text == 'x' || *text == ':')
            san.capture = true;
        else if (*text != '=')
            rest[length++] = *text;
    }
    rest[length] = '\0';

    const char* at = rest;
    if (PieceOf(*at) != EMPTY) san.piece = PieceOf(*at++);
    int file = kNone, rank = kNone;
    at = ReadSquare(ReadSquare(at, san.toFile, san.toRank), file, rank);
    if (file != kNone || rank != kNone) {  // two squares: the first is where it came from
        san.fromFile = san.toFile;
        san.fromRank = san.toRank;
        san.toFile = file;
        san.toRank = rank;
    }
    while (*at == '-') ++at;
    san.promotion = PieceOf(*at);
    return san;
}

// ---- From the parts to the moves ----

// Men of the side to move that could go to the square, pins and checks aside; not
// castling.
SquareSet Reaching(int piece, int to, bool enPassant) {
    const int S = Board.SideToMove;
    switch (piece) {
        case KING:
            return KingAttacks[to] & Board.Kings[S];
        case KNIGHT:
            return KnightAttacks[to] & Board.Knights[S];
        case BISHOP:
            return BishopLines(to) & Board.Bishops[S];
        case ROOK:
            return RookLines(to) & Board.Rooks[S];
        case QUEEN:
            return QueenLines(to) & Board.Queens[S];
        default:
            break;
    }
    if (Board.Piece[to] != EMPTY || enPassant)
        return PawnAttacks[ChangeSide(S)][to] & Board.Pawns[S];
    const int behind = S == WHITE ? to - 8 : to + 8;
    if (behind < 0 || behind > 63) return 0;
    if (Board.Piece[behind] != EMPTY) return SquareMask(behind) & Board.Pawns[S];
    const SquareSet fourth = RankSet(S == WHITE ? 3 : 4);
    if ((fourth & SquareMask(to)) == 0) return 0;
    return SquareMask(S == WHITE ? behind - 8 : behind + 8) & Board.Pawns[S];
}

// The squares that agree with what is given of the from-square.
SquareSet GivenOrigin(const San& san) {
    SquareSet squares = ~SquareSet{0};
    if (san.fromFile != kNone) squares &= FileSet(san.fromFile);
    if (san.fromRank != kNone) squares &= RankSet(san.fromRank);
    return squares;
}

// The to-square is known: the common case, and the quick one. Conditions that need no man
// come first, for they settle most texts that are no moves.
int ResolveToSquare(const San& san, Move& move) {
    const int S = Board.SideToMove, to = SquareAt(san.toFile, san.toRank);
    if ((Board.Occupied[S] & SquareMask(to)) != 0 || Board.Piece[to] == KING) return 0;
    const bool enPassant = san.piece == PAWN && to == PassedSquare();
    if (san.capture && Board.Piece[to] == EMPTY && !enPassant) return 0;
    const bool promotes = san.piece == PAWN && san.toRank == (S == WHITE ? 7 : 0);
    if (san.promotion != EMPTY &&
        (!promotes || san.promotion == KING || san.promotion == PAWN))
        return 0;
    const int promotion = promotes && san.promotion == EMPTY ? QUEEN : san.promotion;
    int count = 0;
    for (SquareSet men = Reaching(san.piece, to, enPassant) & GivenOrigin(san);
         men != 0;) {
        const Move m =
            MakeWord(TakeLowest(men), to, san.piece, Board.Piece[to], promotion);
        if (!KingIsSafeAfter(m)) continue;
        move = m;
        ++count;
    }
    // Four pieces to promote to: without its letter the text names none of them.
    return promotes && san.promotion == EMPTY ? 4 * count : count;
}

// Texts that leave the to-square open, and castling written as a king's move: all legal
// moves are compared.
int ResolveByList(const San& san, Move& move) {
    int count = 0;
    for (const Move m : LegalMoves()) {
        if (Moving(m) != san.piece ||
            (san.promotion != EMPTY && Promotion(m) != san.promotion) ||
            (GivenOrigin(san) & SquareMask(From(m))) == 0 ||
            (san.toFile != kNone && FileOf(To(m)) != san.toFile) ||
            (san.toRank != kNone && RankOf(To(m)) != san.toRank) ||
            (san.capture && Captured(m) == EMPTY && !IsEnPassant(m)))
            continue;
        move = m;
        ++count;
    }
    return count;
}

// The move is known at once; only its legality is open.
int ResolveCastling(bool castlesShort, Move& move) {
    if (!CastlingIsLegal(castlesShort)) return 0;
    constexpr Move kCastling[2][2] = {{CASTLE_WHITE_LONG, CASTLE_WHITE_SHORT},
                                      {CASTLE_BLACK_LONG, CASTLE_BLACK_SHORT}};
    move = kCastling[Board.SideToMove][castlesShort ? 1 : 0];
    return 1;
}

}  // namespace

// A king on the e-file that is to go to file c or g may castle as well as step: only the
// list of moves says which of them are legal.
int ResolveSan(const char* text, Move& move) {
    if (IsCastlingLetter(text[0]) && text[1] == '-' && IsCastlingLetter(text[2]))
        return ResolveCastling(text[3] != '-', move);
    const San san = ParseSan(text);
    const bool castlesAsKing = san.piece == KING &&
                               Board.KingSquare[Board.SideToMove] % 8 == 4 &&
                               (san.toFile == 6 || san.toFile == 2);
    if (san.toFile == kNone || san.toRank == kNone || castlesAsKing)
        return ResolveByList(san, move);
    return ResolveToSquare(san, move);
}
