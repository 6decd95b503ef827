#include "driver/think.h"

#include <algorithm>
#include <cstdlib>

#include "board/notation.h"
#include "book/book.h"
#include "book/booklearn.h"
#include "book/positionlearn.h"
#include "driver/modes.h"
#include "driver/newgame.h"
#include "driver/settings.h"
#include "driver/thinkingline.h"
#include "driver/usermove.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/history.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/searcher.h"

namespace {

// ---- The engine's last moves, oldest first ----
constexpr int kRemembered = 10;
OwnMove ComputerMoveHistory[kRemembered];

void RememberMove() {
    // The only move says nothing about the position: the last score stands.
    const int score =
        Root.RootMoveCount == 1 ? ComputerMoveHistory[kRemembered - 1].score : RootScore;
    std::copy(ComputerMoveHistory + 1, ComputerMoveHistory + kRemembered,
              ComputerMoveHistory);
    ComputerMoveHistory[kRemembered - 1] = {Board.hash1, Board.hash2, score,
                                            Result.BookMovePlayed};
}

// The remembered move led to the game's position at that ply, which exists.
bool LedTo(const OwnMove& move, int ply) {
    if (ply < 0) return false;
    const bool current = ply == Board.GamePly;
    return move.hash1 == (current ? Board.hash1 : Board.Hash1History[ply]) &&
           move.hash2 == (current ? Board.hash2 : Board.Hash2History[ply]);
}

// So many moves in a row, without take-backs between, stood below the resign value.
bool Resigns() {
    int count = 0;
    for (int i = kRemembered - 1, ply = Board.GamePly;
         i >= 0 && count < Settings.ResignTimes; --i, ply -= 2) {
        const OwnMove& move = ComputerMoveHistory[i];
        if (!LedTo(move, ply) || move.score >= -Settings.ResignValue) break;
        ++count;
    }
    return count >= Settings.ResignTimes;
}

// The score passed the bound at which the game counts as decided: the book's moves in it
// are credited, once a game.
void LearnDecidedGame() {
    if (Settings.UseBookLearning == 0 || Book.file == nullptr ||
        Result.BookMovePlayed != 0 || BookLearnedThisGame != 0 ||
        std::abs(RootScore) <= Settings.BookLearningBound)
        return;
    BookLearn(RootScore < 0 ? kGameLost : kGameWon);
}

// The three newest moves show whether the score has just collapsed.
void LearnFromSearch() {
    if (Settings.UseLearning == 0) return;
    constexpr int kNewest = kRemembered - 1;
    PositionLearnAfterMove(
        RootScore, Root.RootDepth,
        {ComputerMoveHistory[kNewest], ComputerMoveHistory[kNewest - 1],
         ComputerMoveHistory[kNewest - 2]});
}

// Searches the current position; true when there is nothing to move.
// Without a clock the depth limit ends the search, with one the clock alone.
bool SearchPosition() {
    StartSearchClock();
    AgeHistoryAndKillers();
    ClearRequests();
    if (GameClock.EngineClock == -1) {
        SetUnlimitedBudget();
        return Search(Modes.MaxDepth, true);
    }
    ComputeTimeBudget();
    return Search(kTimedDepthLimit, true);
}

// Writes and makes the engine's move; false when a new game was asked for instead.
// A ponder probe and an analysis never come here: this score is the one later moves
// compare with.
bool PlayBestMove() {
    Result.PreviousScore = RootScore;
    if (Result.BookMovePlayed == 0) FinalThinkingLine();
    if (Request.NewGameRequested != 0) return false;
    LearnDecidedGame();
    const Move best = RootMoves[0];
    PlayGameMove(best);
    RememberMove();
    if (Resigns()) Write("resign\n");
    char text[kMoveTextSize];
    MoveToText(text, best);
    Write("move %s\n", text);
    LearnFromSearch();
    FlushOutput();
    return true;
}

// What to do after a step of pondering.
enum class Next { Search, Finish };

// The opponent's real move came: it is made, and answered outside force mode.
Next AnswerPendingMove() {
    LeavePondering();
    PlayGameMove(Request.PendingMove);
    return Modes.ForceMode != 0 ? Next::Finish : Next::Search;
}

// An "undo" that ended the pondering takes back one ply, as the command loop would.
Next FinishPondering() {
    if (Request.UndoRequested != 0 && Board.GamePly > 0) TakeBackGameMove();
    return Next::Finish;
}

// The search on the predicted move ended without a hit: the move is taken back.
Next EndPonderSearch() {
    LeavePondering();
    TakeBackGameMove();
    if (Ponder.PonderMiss != 0 && Request.PendingMove != NO_MOVE)
        return AnswerPendingMove();
    return FinishPondering();
}

// Searches a move to ponder on for a second, silently, on the opponent's position. True
// when it was found; otherwise `next` says how to go on.
bool ProbePonderMove(Next& next) {
    BeginPonderProbe();
    ClearRequests();
    StartSearchClock();
    const bool over = Search(kTimedDepthLimit, true);
    EndPonderProbe();
    next = Next::Finish;
    if (over || Request.NewGameRequested != 0 || Request.QuitRequested != 0) return false;
    if (Ponder.PonderMiss == 0 && Ponder.ProbeTimeUp != 0) {
        BeginPondering(RootMoves[0]);
        return true;
    }
    next = Ponder.PonderMiss != 0 && Request.PendingMove != NO_MOVE ? AnswerPendingMove()
                                                                    : FinishPondering();
    return false;
}

// Predicts the opponent's move and makes it, for the search to go on from there.
Next StartPondering() {
    BuildMatchList();
    const Move tableMove = ActiveSearch().bestKnown();
    BeginPondering(IsInMatchList(tableMove) ? tableMove : NO_MOVE);
    Next next = Next::Finish;
    if (Ponder.PonderMove == NO_MOVE && !ProbePonderMove(next)) return next;
    if (Ponder.PonderMove == NO_MOVE) return Next::Finish;
    char text[kMoveTextSize];
    MoveToTextWithoutPromotion(text, Ponder.PonderMove);
    Write("Hint: %s\n", text);
    FlushOutput();
    PlayGameMove(Ponder.PonderMove);
    return Next::Search;
}

// One search and what follows from it.
Next ThinkOnce() {
    const bool nothingToMove = SearchPosition();
    if (Request.QuitRequested != 0) return Next::Finish;
    if (Ponder.PonderSearch != 0) return EndPonderSearch();
    if (nothingToMove || !PlayBestMove() || Ponder.PonderAllowed == 0)
        return Next::Finish;
    return StartPondering();
}

}  // namespace

void Think() {
    while (ThinkOnce() == Next::Search) {
    }
    LeavePondering();
    if (Request.NewGameRequested != 0) NewGame();
}
