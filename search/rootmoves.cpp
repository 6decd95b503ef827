// Builds the root list with the generator's stages, tests each move for legality by
// making it, and puts the table's move in front.
#include "search/rootmoves.h"

#include <algorithm>

#include "board/attacks.h"
#include "search/control.h"
#include "search/searcher.h"

RootList Root;

namespace {

// Where the generator writes before the legal moves go to the root list.
constexpr int kRootScratch = kMaxMoves;

// The table's move, when it knows the position exactly; its score becomes RootScore.
Move TableRootMove() {
    Move move = NO_MOVE;
    RootScore = Result.PreviousScore;
    return ActiveSearch().exactResult(move, RootScore) ? move : NO_MOVE;
}

void AppendRootMove(Move m, int S) {
    Move* end = RootMoves + Root.RootMoveCount;
    // Killers come again among the quiet moves. A king that could be taken, which only
    // editing sets up, stays on the board.
    if (Captured(m) == KING || std::find(RootMoves, end, m) != end) return;
    const int O = ChangeSide(S);
    MakeMove(m);
    const bool legal = !IsAttacked(O, Board.KingSquare[S]);
    const bool givesCheck = legal && IsAttacked(S, Board.KingSquare[O]);
    UnmakeMove();
    if (!legal) return;
    RootMoves[Root.RootMoveCount] = m;
    Root.RootGivesCheck[Root.RootMoveCount] = givesCheck ? 1 : 0;
    ++Root.RootMoveCount;
}

// Killers and checks' evasions come in the generator's order, the other stages sorted.
void ListMoves(Move hashMove) {
    const int S = Board.SideToMove;
    Root.RootMoveCount = 0;
    int stage = kFirstStage;
    do {
        Generated.MoveStackTop = kRootScratch;
        stage = GenerateStage(stage, hashMove);
        if (Line.InCheckAt[Line.Ply] == 0 && stage != kKillerStage)
            SortMoves(kRootScratch, Generated.MoveStackTop);
        const int end = Generated.MoveStackTop;
        for (int i = kRootScratch; i < end; ++i)
            AppendRootMove(Generated.MoveStack[i], S);
    } while (stage != kNoMoreStages);
    Generated.MoveStackTop = Root.RootMoveCount;
}

// Brings the move to the front of the list; false when it is not in it.
// RootScores are not moved along: every move's search writes its own, and the first is
// the expected score.
bool PutFirst(Move m) {
    Move* end = RootMoves + Root.RootMoveCount;
    Move* found = std::find(RootMoves, end, m);
    if (found == end) return false;
    const auto index = found - RootMoves;
    std::rotate(RootMoves, found, found + 1);
    std::rotate(Root.RootGivesCheck, Root.RootGivesCheck + index,
                Root.RootGivesCheck + index + 1);
    return true;
}

}  // namespace

bool BuildRootMoves() {
    Move hashMove = TableRootMove();
    if (hashMove == NULL_MOVE) hashMove = NO_MOVE;
    Root.RootDepth = 2;
    const int S = Board.SideToMove;
    Line.InCheckAt[Line.Ply] = IsAttacked(ChangeSide(S), Board.KingSquare[S]) ? 1 : 0;
    ListMoves(hashMove);
    return hashMove != NO_MOVE && PutFirst(hashMove);
}
