// FEN is parsed field by field straight onto the board; what cannot be a position is
// refused at the first field that shows it.
#include "board/fen.h"

#include <charconv>

#include "board/notation.h"

namespace {

// ---- Reading ----
// Cuts the first blank-separated field off the text; empty when nothing is left.
std::string_view TakeField(std::string_view& text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    const std::string_view field = text.substr(0, text.find(' '));
    text.remove_prefix(field.size());
    return field;
}

// The first field, on an empty board. False unless it names eight ranks of eight squares.
bool PlaceMen(std::string_view placement) {
    int file = 0, rank = 7;
    for (const char c : placement) {
        if (c == '/') {
            if (file != 8 || rank == 0) return false;
            file = 0;
            --rank;
        } else if (c >= '1' && c <= '8') {
            file += c - '0';
            if (file > 8) return false;
        } else {
            const int code = PieceOfLetter(c);
            if (code == EMPTY || file > 7) return false;
            AddPiece(SquareAt(file, rank), ToLower(c) == c ? BLACK : WHITE, code);
            ++file;
        }
    }
    return file == 8 && rank == 0;
}

// The rights field; also sets the flags of kings and rooks that are not at home. False
// for a letter that names no right. A missing field means no rights.
bool SetCastling(std::string_view rights) {
    // A right without king and rook at home is dropped, as after editing.
    DeriveCastlingFlags();
    int keepH1 = 1, keepA1 = 1, keepH8 = 1, keepA8 = 1;
    if (rights == "-") rights = "";
    for (const char c : rights) {
        switch (c) {
            case 'K':
                keepH1 = 0;
                break;
            case 'Q':
                keepA1 = 0;
                break;
            case 'k':
                keepH8 = 0;
                break;
            case 'q':
                keepA8 = 0;
                break;
            default:
                return false;
        }
    }
    Board.H1 |= keepH1;
    Board.A1 |= keepA1;
    Board.H8 |= keepH8;
    Board.A8 |= keepA8;
    return true;
}

// The double step that led here stands on the history stack: there the generators look.
bool SetEnPassant(std::string_view field) {
    if (field == "-") return true;
    const int S = Board.SideToMove, O = ChangeSide(S);
    if (field.size() != 2 || field[1] != (S == WHITE ? '6' : '3')) return false;
    const int passed = SquareOf(field[0], field[1]);
    if (passed == kNoSquare) return false;
    const int step = S == WHITE ? 8 : -8;
    const int from = passed + step, to = passed - step;
    if ((Board.Pawns[O] & SquareMask(to)) == 0 || Board.Piece[passed] != EMPTY ||
        Board.Piece[from] != EMPTY)
        return false;
    // Made on the position before it, so that the history entry is a true one.
    RemovePiece(to);
    AddPiece(from, O, PAWN);
    Board.SideToMove = O;
    MakeMove(MakeWord(from, to, PAWN, EMPTY));
    return true;
}

// ---- Writing: each part appends to the text and returns its new end ----
// Rank 8 first, runs of empty squares as digits.
// At most 71 characters: 64 squares and seven slashes.
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
            *text++ = white ? PieceLetter(code) : SmallPieceLetter(code);
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
        *text++ = FileLetter(passed);
        *text++ = RankDigit(passed);
    } else {
        *text++ = '-';
    }
    *text++ = ' ';
    return text;
}

}  // namespace

bool SetFen(std::string_view fen) {
    Board.GamePly = 0;
    ClearGameArchive();
    ClearBoard();
    for (int c : {WHITE, BLACK}) Board.CastledKingside[c] = Board.CastledQueenside[c] = 0;
    if (!PlaceMen(TakeField(fen)) || !HasBothKings()) return false;
    const std::string_view side = TakeField(fen);
    if (side != "w" && side != "b" && !side.empty()) return false;
    Board.SideToMove = side == "b" ? BLACK : WHITE;
    if (!SetCastling(TakeField(fen))) return false;
    const std::string_view enPassant = TakeField(fen);
    if (!enPassant.empty() && !SetEnPassant(enPassant)) return false;
    const std::string_view fifty = TakeField(fen);
    int halfMoves = 0;
    if (!fifty.empty()) {
        const auto [end, error] =
            std::from_chars(fifty.data(), fifty.data() + fifty.size(), halfMoves);
        if (error != std::errc{} || end != fifty.data() + fifty.size() || halfMoves < 0 ||
            halfMoves > 1000)
            return false;
    }
    // After the double step, which has reset the counter.
    Board.FiftyCounter = halfMoves;
    UpdateMatingFlags();
    return true;
}

char* WriteEpd(char (&text)[kEpdSize]) {
    char* end = AppendPlacement(text);
    *end++ = ' ';
    *end++ = Board.SideToMove == WHITE ? 'w' : 'b';
    *end++ = ' ';
    end = AppendEnPassant(AppendCastling(end));
    *end = '\0';
    return end;
}
