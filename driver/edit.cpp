// Reads characters, not lines: a man's three characters may be spread over lines.
#include "driver/edit.h"

#include "board/notation.h"
#include "driver/input.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/searcher.h"

namespace {

// The table's entries from before the set-up count as old by so many searches.
constexpr int kAgedGenerations = 3;

void WriteError() {
    Write("Error\n");
    FlushOutput();
}

// The end of input ends the program as well: a console's would be read over.
bool ReadCharacter(char& c) {
    if (ReadInputCharacter(c)) return true;
    RequestQuit();
    return false;
}

// The square that follows a piece letter; kNoSquare at the first character that does not
// fit.
int ReadSquare() {
    char file, rank;
    if (!ReadCharacter(file) || SquareOf(ToLower(file), '1') == kNoSquare ||
        !ReadCharacter(rank))
        return kNoSquare;
    return SquareOf(ToLower(file), rank);
}

// A man's code comes from its letter; the code EMPTY, of "x", empties the square.
void EditSquare(int code, int colour) {
    const int square = ReadSquare();
    if (square == kNoSquare) {
        if (Request.QuitRequested == 0) WriteError();
        return;
    }
    RemovePiece(square);
    if (code != EMPTY) AddPiece(square, colour, code);
    CheckBoard("edit");
}

// Nothing that was known of the game before holds for the position set up.
void FinishEditing() {
    DeriveCastlingFlags();
    for (int c : {WHITE, BLACK}) Board.CastledKingside[c] = Board.CastledQueenside[c] = 0;
    UpdateMatingFlags();
    Board.GamePly = 0;
    ClearGameArchive();
    ActiveSearch().forget();
    AdvanceTableAge(kAgedGenerations);
    CheckBoard("the end of edit");
}

}  // namespace

void EditPosition() {
    int colour = WHITE;
    for (char typed; Request.QuitRequested == 0 && ReadCharacter(typed);) {
        const char c = ToLower(typed);
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
                EditSquare(PieceOfLetter(c), colour);
                break;
            default:
                WriteError();
                break;
        }
    }
}

std::string EditCommands() {
    std::string text =
        Board.SideToMove == WHITE ? "white\nedit\n#\n" : "black\nedit\n#\n";
    for (int c : {WHITE, BLACK}) {
        if (c == BLACK) text += "c\n";
        for (SquareSet men = Board.Occupied[c]; men != 0;) {
            const int square = TakeLowest(men);
            text += PieceLetter(Board.Piece[square]) + SquareText(square) + '\n';
        }
    }
    return text + ".\n";
}
