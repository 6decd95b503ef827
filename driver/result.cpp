#include "driver/result.h"

#include <algorithm>

#include "board/attacks.h"
#include "book/booklearn.h"
#include "driver/settings.h"
#include "platform/output.h"
#include "search/hash.h"
#include "search/outward.h"
#include "search/search.h"

namespace {

constexpr int kBareMaterial = 3;  // in Material's centipawns: nothing at all

// Where GameOverCheck has moves generated before the legal ones go to the root list.
constexpr int kRootScratch = kMaxMoves;

void WriteResult(const char* line) {
    Write("%s\n", line);
    FlushOutput();
}

// A drawn game is credited to the book's moves before it is announced; mates are credited
// when the score shows them coming.
void LearnDraw() {
    if (UseBookLearning != 0 && Book.file != nullptr) BookLearn(kGameDrawn);
}

// A bare king against at most a king.
bool LacksMaterial(int bare, int other) {
    return Board.Material[bare] == 0 && Board.Material[other] <= kBareMaterial &&
           Board.Pawns[other] == 0;
}

const char* DrawInPosition() {
    if (LacksMaterial(BLACK, WHITE) || LacksMaterial(WHITE, BLACK))
        return "1/2-1/2 {Draw by insufficient material}";
    if (IsRepetition()) return "1/2-1/2 {Draw by repetition}";
    if (Board.GamePly > 0 && Board.FiftyCounter >= kFiftyMoves)
        return "1/2-1/2 {Draw by the 50-moves rule}";
    return nullptr;
}

// The table's move, when it knows the position exactly; its score becomes RootScore.
Move TableRootMove() {
    HashHit hit;
    RootScore = PreviousScore;
    if (!HashProbe(hit) || hit.boundType != kExact) return NO_MOVE;
    RootScore = ScoreFromTable(hit.score);
    return hit.move;
}

void AppendRootMove(Move m, int S) {
    Move* end = RootMoves + RootMoveCount;
    // Killers come again among the quiet moves. A king that could be taken, which only
    // editing sets up, stays on the board.
    if (Captured(m) == KING || std::find(RootMoves, end, m) != end) return;
    const int O = ChangeSide(S);
    MakeMove(m);
    const bool legal = !IsAttacked(O, Board.KingSquare[S]);
    const bool givesCheck = legal && IsAttacked(S, Board.KingSquare[O]);
    UnmakeMove();
    if (!legal) return;
    RootMoves[RootMoveCount] = m;
    RootGivesCheck[RootMoveCount] = givesCheck ? 1 : 0;
    ++RootMoveCount;
}

void BuildRootMoves(Move hashMove) {
    const int S = Board.SideToMove;
    RootMoveCount = 0;
    int stage = kFirstStage;
    do {
        MoveStackTop = kRootScratch;
        stage = GenerateStage(stage, hashMove);
        if (InCheckAt[Ply] == 0 && stage != kKillerStage)
            SortMoves(kRootScratch, MoveStackTop);
        const int end = MoveStackTop;
        for (int i = kRootScratch; i < end; ++i) AppendRootMove(MoveStack[i], S);
    } while (stage != kNoMoreStages);
    MoveStackTop = RootMoveCount;
}

// Brings the move to the front of the list; false when it is not in it.
bool PutFirst(Move m) {
    Move* end = RootMoves + RootMoveCount;
    Move* found = std::find(RootMoves, end, m);
    if (found == end) return false;
    const auto index = found - RootMoves;
    std::rotate(RootMoves, found, found + 1);
    std::rotate(RootGivesCheck, RootGivesCheck + index, RootGivesCheck + index + 1);
    return true;
}

}  // namespace

bool IsRepetition() {
    int ply = Board.GamePly - 1;
    if (ply < 0 || !IsReversible(Board.MoveHistory[ply])) return false;
    int matches = 0;
    for (ply -= 1; ply >= 0 && matches < 2; ply -= 2) {
        if (!IsReversible(Board.MoveHistory[ply])) return false;
        if (Board.Hash1History[ply] == Board.hash1 &&
            Board.Hash2History[ply] == Board.hash2)
            ++matches;
    }
    return matches >= 2;
}

bool GameOverCheck() {
    if (const char* draw = DrawInPosition()) {
        LearnDraw();
        WriteResult(draw);
        return true;
    }
    Move hashMove = TableRootMove();
    if (hashMove == NULL_MOVE) hashMove = NO_MOVE;
    RootDepth = 2;
    const int S = Board.SideToMove;
    const bool inCheck = IsAttacked(ChangeSide(S), Board.KingSquare[S]);
    InCheckAt[Ply] = inCheck ? 1 : 0;
    BuildRootMoves(hashMove);
    const bool hashMoveFirst = hashMove != NO_MOVE && PutFirst(hashMove);
    if (RootMoveCount == 0) {
        if (inCheck) {
            WriteResult(S == BLACK ? "1-0 {White mates}" : "0-1 {Black mates}");
        } else {
            LearnDraw();
            WriteResult("1/2-1/2 {Stalemate}");
        }
        return true;
    }
    if (hashMoveFirst) {
        RootDepth = 1;
        ThinkingLine(true);
        FlushOutput();
    }
    return false;
}
