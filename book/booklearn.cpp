// Crediting the moves of a game. Each list is read, changed in memory and written back in
// one piece.
#include "book/booklearn.h"

#include <algorithm>
#include <vector>

#include "book/book.h"
#include "platform/output.h"

int BookLearnedThisGame = 1;

namespace {

// [outcome]: points for the move and against it. Indexed by kGameLost, kGameWon,
// kGameDrawn. A game shares out two points.
constexpr int kPoints[3][2] = {{0, 2}, {2, 0}, {1, 1}};
// Neither count of a move may reach this: all counts of its list shrink to two thirds.
constexpr int kPointsLimit = 255;

// Old results fade, and neither count can run over.
constexpr int TwoThirds(int points) { return 2 * points / 3; }

// Words of 0 and of removed moves hold no points, and are not to be scaled.
bool HasStatistics(const BookEntry& entry) {
    return entry.word != 0 && entry.word != kRemovedWord;
}

// Adds the outcome to an entry of the list.
void Credit(BookList& list, BookEntry& entry, int outcome) {
    int pointsFor = PointsFor(entry.word) + kPoints[outcome][0];
    int against = PointsAgainst(entry.word) + kPoints[outcome][1];
    if (pointsFor >= kPointsLimit || against >= kPointsLimit) {
        for (int i = 0; i < list.count; ++i) {
            BookEntry& other = list.entries[i];
            if (HasStatistics(other))
                other.word = StatisticsWord(TwoThirds(PointsFor(other.word)),
                                            TwoThirds(PointsAgainst(other.word)));
        }
        pointsFor = TwoThirds(pointsFor);
        against = TwoThirds(against);
    }
    entry.word = StatisticsWord(pointsFor, against);
}

// Credits the move in the current position's list, where its lock is held.
bool CreditMove(BookList& list, int outcome, Move m) {
    BookEntry* const end = list.entries + list.count;
    BookEntry* const entry = std::find_if(list.entries, end, [m](const BookEntry& e) {
        return e.word != kRemovedWord && e.from == From(m) && e.to == To(m);
    });
    if (entry == end) return true;
    Credit(list, *entry, outcome);
    return WriteBookList(Book, list);
}

// Credits the move in the current position's list. False when that could not be written.
// The list is read again under its lock: another program may just have changed it.
bool BookUpdateEntry(int outcome, Move m) {
    BookList list;
    if (!ReadPositionList(list)) return true;
    const FileLock lock(Book.file, list.offset, kMaxBookListSize);
    return !ReadBookList(Book, list.offset, list) || CreditMove(list, outcome, m);
}

// Of the whole game: the oldest moves of a long one are put aside.
int GameLength() { return Board.GamePly + ArchivedPlies(); }

}  // namespace

// Goes back through the game two plies at a time, always to the engine's turn, and
// replays it from the moves taken back. Whose turn it is may have been changed since the
// last move.
void BookLearn(int outcome) {
    BookLearnedThisGame = 1;
    if (Book.version == 0) return;
    const int sideToMove = Board.SideToMove;
    std::vector<Move> taken;  // newest first
    const auto takeBack = [&taken] {
        taken.push_back(LastMove());
        TakeBackGameMove();
    };
    bool written = true;
    while (GameLength() >= 2) {
        takeBack();
        takeBack();
        written = BookUpdateEntry(outcome, taken.back()) && written;
    }
    while (!taken.empty()) {
        PlayGameMove(taken.back());
        taken.pop_back();
    }
    Board.SideToMove = sideToMove;
    if (written) return;
    Write("# The book cannot be written: this game's result is lost\n");
    FlushOutput();
}
