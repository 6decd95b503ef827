#include "driver/newgame.h"

#include "board/board.h"
#include "book/book.h"
#include "book/booklearn.h"
#include "driver/modes.h"
#include "driver/settings.h"
#include "eval/evaluate.h"
#include "search/control.h"
#include "search/rootmoves.h"
#include "search/searcher.h"

namespace {

// A new game right after the engine's move, with the score at zero: the players agreed to
// a draw. The score must be one of the game, not of analysis. The engine's own last move
// is taken back, so that the side to move is its own.
void LearnAbandonedDraw() {
    if (Settings.UseBookLearning == 0 || Book.file == nullptr ||
        BookLearnedThisGame != 0 || Result.ForGame == 0 || RootScore != 0 ||
        Board.SideToMove == EvaluationInput.RootSide || Board.GamePly == 0)
        return;
    TakeBackGameMove();
    BookLearn(kGameDrawn);
}

}  // namespace

// The draw is learned first: it needs the moves of the game that is left.
void NewGame() {
    LearnAbandonedDraw();
    BookLearnedThisGame = 0;
    SetStartPosition();
    Modes.MaxDepth = kMaxDepthDefault;
    Modes.ForceMode = 0;
    ActiveSearch().forget();
    UpdateMatingFlags();
    ResetMargins();
}
