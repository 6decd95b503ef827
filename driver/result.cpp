// Draws are looked for before each search, in a fixed order, and announced by a result
// line.
#include "driver/result.h"

#include <algorithm>

#include "board/attacks.h"
#include "book/booklearn.h"
#include "driver/settings.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/outward.h"

namespace {

constexpr int kBareMaterial = 3;  // in Material's centipawns: nothing at all

void WriteResult(const char* line) {
    Write("%s\n", line);
    FlushOutput();
}

// The position came up in a game: it is not analysed, and not reached by a predicted move
// (a search for such a move starts from the game's own position).
bool IsPlayed() {
    return Result.ForGame != 0 && (Ponder.PonderSearch == 0 || Ponder.PonderProbe != 0);
}

// A drawn game is credited to the book's moves before it is announced; mates are credited
// when the score shows them coming.
void LearnDraw() {
    if (Settings.UseBookLearning != 0 && Book.file != nullptr && IsPlayed())
        BookLearn(kGameDrawn);
}

// A bare king against at most a king.
bool LacksMaterial(int bare, int other) {
    return Board.Material[bare] == 0 && Board.Material[other] <= kBareMaterial &&
           Board.Pawns[other] == 0;
}

// The result line, nullptr when the game goes on.
const char* DrawInPosition() {
    if (LacksMaterial(BLACK, WHITE) || LacksMaterial(WHITE, BLACK))
        return "1/2-1/2 {Draw by insufficient material}";
    if (IsRepetition()) return "1/2-1/2 {Draw by repetition}";
    if (Board.GamePly > 0 && Board.FiftyCounter >= kFiftyMoves)
        return "1/2-1/2 {Draw by the 50-moves rule}";
    return nullptr;
}

}  // namespace

// Compares the positions with the same side to move, back to a move that cannot be
// undone.
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

bool AnnounceDraw() {
    const char* draw = DrawInPosition();
    if (draw == nullptr) return false;
    LearnDraw();
    WriteResult(draw);
    return true;
}

void AnnounceNoMoves(bool inCheck) {
    if (inCheck) {
        WriteResult(Board.SideToMove == BLACK ? "1-0 {White mates}"
                                              : "0-1 {Black mates}");
        return;
    }
    LearnDraw();
    WriteResult("1/2-1/2 {Stalemate}");
}
