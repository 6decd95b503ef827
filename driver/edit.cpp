#include "driver/edit.h"

#include <cstring>

#include "board/board.h"
#include "driver/input.h"
#include "platform/output.h"
#include "search/hash.h"
#include "search/history.h"

namespace {

// The table's entries from before the set-up count as old by so many searches.
constexpr int kAgedGenerations = 3;

void WriteError() {
    Write("Error\n");
    FlushOutput();
}

// The square that follows a piece letter; -1 at the first character that does not fit.
int ReadSquare() {
    const char file = ToLower(ReadInputCharacter());
    if (file < 'a' || file > 'h') return -1;
    const char rank = ReadInputCharacter();
    if (rank < '1' || rank > '8') return -1;
    return SquareAt(file - 'a', rank - '1');
}

// By piece code; "x" empties a square.
constexpr char kPieceLetters[] = "xknp?rbq";

void EditSquare(int code, int colour) {
    const int square = ReadSquare();
    if (square < 0) {
        WriteError();
        return;
    }
    RemovePiece(square);
    if (code != EMPTY) AddPiece(square, colour, code);
    CheckBoard("edit");
}

void FinishEditing() {
    DeriveCastlingFlags();
    for (int c : {WHITE, BLACK}) Board.CastledKingside[c] = Board.CastledQueenside[c] = 0;
    UpdateMatingFlags();
    Board.GamePly = 0;
    ClearGameArchive();
    ClearHistoryAndKillers();
    AdvanceTableAge(kAgedGenerations);
    CheckBoard("the end of edit");
}

}  // namespace

void EditPosition() {
    int colour = WHITE;
    for (;;) {
        const char c = ToLower(ReadInputCharacter());
        switch (c) {
            case '.':
                FinishEditing();
                return;
            case ' ':
            case '\n':
            case '\r':
                break;
            case 'c':
                colour = ChangeSide(colour);
                break;
            case '#':
                ClearBoard();
                break;
            case 'x':
            case 'k':
            case 'n':
            case 'p':
            case 'r':
            case 'b':
            case 'q':
                EditSquare(
                    static_cast<int>(std::strchr(kPieceLetters, c) - kPieceLetters),
                    colour);
                break;
            default:
                WriteError();
                break;
        }
    }
}
