// Commands are prefixes of the line, tried in the order of a table.
#include "driver/commands.h"

#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <limits>

#include "board/board.h"
#include "board/notation.h"
#include "book/book.h"
#include "book/booklearn.h"
#include "book/positionlearn.h"
#include "driver/analysis.h"
#include "driver/edit.h"
#include "driver/input.h"
#include "driver/modes.h"
#include "driver/newgame.h"
#include "driver/settings.h"
#include "driver/think.h"
#include "driver/usermove.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/searcher.h"

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The opponent's move; the engine answers it outside force mode.
void PlayUserMove() {
    const Move m = ParseCoordinateMove(InputLine, InputLine[4]);
    if (!IsLegalUserMove(m)) {
        WriteIllegalMove(InputLine);
        return;
    }
    PlayGameMove(m);
    if (Modes.ForceMode == 0) Think();
}

void White() { Board.SideToMove = WHITE; }
void Black() { Board.SideToMove = BLACK; }
void Time() { SetEngineClock(InputLine); }

// Of no meaning to the classic search.
void Limits() { ActiveSearch().askForLimits(InputLine); }

void Wish() { ActiveSearch().hearWish(InputLine); }
void ThinkInFull() { Modes.FullThinking = 1; }

void Level() { SetLevel(InputLine); }

// "sd N": one or two digits, a third is not looked at.
void SearchDepth() {
    const char first = InputLine[3];
    if (!IsDigit(first)) return;
    const char second = InputLine[4];
    Modes.MaxDepth = IsDigit(second) ? 10 * (first - '0') + (second - '0') : first - '0';
}

void Go() {
    Modes.ForceMode = 0;
    Think();
}

void TakeBack() {
    if (Board.GamePly > 0) TakeBackGameMove();
}

// Takes back a move of each side.
void Remove() {
    TakeBack();
    TakeBack();
}

// An empty square shows as a dot, a black man with a star before its letter.
void WriteBoard() {
    for (int rank = 7; rank >= 0; --rank) {
        for (int file = 0; file < 8; ++file) {
            const int square = SquareAt(file, rank);
            const bool black = (Board.Occupied[BLACK] & SquareMask(square)) != 0;
            Write("%c%c", black ? '*' : ' ', PieceLetter(Board.Piece[square]));
        }
        Write("\n");
    }
    FlushOutput();
}

// For debugging: the flags of moved kings and rooks, and the piece units of both sides.
void WriteFlags() {
    Write("A1=%d H1=%d A8=%d H8=%d WK=%d BK=%d\n", Board.A1, Board.H1, Board.A8, Board.H8,
          Board.WK, Board.BK);
    Write("NBP=%d NWP=%d\n", Board.Units[BLACK], Board.Units[WHITE]);
    FlushOutput();
}

void TestCaptures() {
    if (HasBothKings()) ActiveSearch().testQuiescence();
}

// The engine against itself, until a call of Think makes no move. A quit while it
// ponders, which "hard" can bring about, comes after a move.
void Demo() {
    const bool ponderAllowed = Ponder.PonderAllowed != 0;
    AllowPondering(false);
    NewGame();
    int length;
    do {
        length = Board.GamePly + ArchivedPlies();
        Think();
    } while (Request.QuitRequested == 0 && Board.GamePly + ArchivedPlies() != length);
    AllowPondering(ponderAllowed);
}

// The keys are shown as signed numbers.
void WriteBookInformation() {
    Write("Current hash1=%d, hash2=%d\n", static_cast<int>(Board.hash1),
          static_cast<int>(Board.hash2));
    if (BookLoaded != 0)
        BookListMoves();
    else
        Write("No book loaded...\n");
    FlushOutput();
}

void WriteEvaluation() {
    if (HasBothKings()) WriteEvaluationReport();
}

struct Command {
    const char* prefix;  // nullptr: a move
    void (*run)();
};

// In this order; the first that matches the line's beginning is carried out.
constexpr Command kCommands[] = {
    {"q", RequestQuit},       {nullptr, PlayUserMove}, {"new", NewGame},
    {"post", Post},           {"level", Level},        {"edit", EditPosition},
    {"nopost", NoPost},       {"sd ", SearchDepth},    {"go", Go},
    {"white", White},         {"remove", Remove},      {"analyze", Analyze},
    {"black", Black},         {"force", Force},        {"brd", WriteBoard},
    {"time", Time},           {"easy", Easy},          {"hard", Hard},
    {"evl", WriteEvaluation}, {"undo", TakeBack},      {"tst", TestCaptures},
    {"mvd", WriteFlags},      {"demo", Demo},          {"bkm", WriteBookInformation},
    {"limits", Limits},       {"lines", Wish},         {"searchmoves", Wish},
    {"details", ThinkInFull}, {"strength", Wish},
};

bool Matches(const Command& command) {
    if (command.prefix == nullptr)
        return LooksLikeMove(InputLine[0], InputLine[1], InputLine[2], InputLine[3]);
    return std::strncmp(InputLine, command.prefix, std::strlen(command.prefix)) == 0;
}

void CarryOut() {
    for (const Command& command : kCommands) {
        if (!Matches(command)) continue;
        command.run();
        return;
    }
}

}  // namespace

void ShutDown() {
    ReleaseSearch();
    FreePawnTable();
    if (BookLoaded != 0) CloseBook();
    if (Settings.UseLearning != 0 || Settings.UseLearningData != 0) CloseLearningFile();
    FlushOutput();
}

void CommandLoop() {
    ClearRequests();
    while (Request.QuitRequested == 0 && ReadCommandLine()) {
        for (char* c = InputLine; *c != '\0'; ++c) *c = ToLower(*c);
        CarryOut();
    }
}
