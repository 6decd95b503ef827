// Choosing and showing moves of the open book. Its content changes only by learning. Each
// question is a binary search in the file: a game asks some dozens of times, for which
// nothing need be kept in memory.
#include "book/book.h"

#include <algorithm>

#include "board/legalmoves.h"
#include "board/notation.h"
#include "driver/settings.h"
#include "platform/output.h"

int BookLoaded = 0;
BookFile Book;

namespace {

// Part of the file format: books are sorted by keys that contain it.
constexpr std::uint32_t kBlackToMove = 131313131;

// The generator's state, written by SeedRandom and RandomNumber.
std::uint32_t RandomState = 1;

// One of the usable entries, each with the same chance. There is at least one.
const BookEntry& ChooseAny(const BookList& list, int usable) {
    int nth = RandomNumber() % usable;
    for (int i = 0;; ++i)
        if (!IsRemoved(Book, list.entries[i]) && nth-- == 0) return list.entries[i];
}

// The entry with the fewest games; among equals the best score, then the first. Meant for
// games that fill a book: every move comes to be tried.
const BookEntry& ChooseLeastPlayed(const BookList& list) {
    const BookEntry* best = nullptr;
    for (int i = 0; i < list.count; ++i) {
        const BookEntry& entry = list.entries[i];
        if (IsRemoved(Book, entry)) continue;
        if (best == nullptr || MovePoints(entry) < MovePoints(*best) ||
            (MovePoints(entry) == MovePoints(*best) &&
             MoveScore(entry) > MoveScore(*best)))
            best = &entry;
    }
    return *best;
}

// One of the entries that score within VarietyOfPlay percent of the best: 0 always plays
// the best, or one of its equals, 100 any. Points within that band do not weigh the
// choice.
const BookEntry& ChooseByScore(const BookList& list) {
    int best = 0;
    for (int i = 0; i < list.count; ++i)
        if (!IsRemoved(Book, list.entries[i]))
            best = std::max(best, MoveScore(list.entries[i]));
    // Scores are per mille, so that the division loses next to nothing.
    const int threshold = best * (100 - Settings.VarietyOfPlay) / 100;
    const BookEntry* kept[kMaxBookEntries];
    int count = 0;
    for (int i = 0; i < list.count; ++i)
        if (!IsRemoved(Book, list.entries[i]) && MoveScore(list.entries[i]) >= threshold)
            kept[count++] = &list.entries[i];
    return *kept[RandomNumber() % count];
}

// The mode decides; a book of version 0 has nothing to go by.
const BookEntry& Choose(const BookList& list, int usable) {
    if (Book.version == 0) return ChooseAny(list, usable);
    if (Settings.BookLearningMode != 0) return ChooseLeastPlayed(list);
    return Settings.UseBookWeights != 0 ? ChooseByScore(list) : ChooseAny(list, usable);
}

// The four characters of a move; squares beyond the board, in a damaged book, give ranks
// beyond "8".
void WriteSquares(const BookEntry& entry) {
    Write("%c%c%c%c ", FileLetter(entry.from), RankDigit(entry.from),
          FileLetter(entry.to), RankDigit(entry.to));
}

// The results of a move as the front end's user sees them; two points are one game. "Not
// less than", because rescaling and scaling down have taken games away.
void WriteStatistics(const BookEntry& entry) {
    const int points = MovePoints(entry);
    if (Book.version == 0)
        Write("%d\n", entry.word);
    else if (entry.word == 0)
        Write("?\n");
    else if (IsRemoved(Book, entry))
        Write("-\n");
    else
        Write("%d%% (not less than %d game(s))\n", 100 * PointsFor(entry.word) / points,
              points / 2);
}

// Reports a book that can be read only, or only without results.
void LimitLearning() {
    if (Book.version == 0) {
        Write("NG: Book learning not supported for book version 0\n");
        SettingsInForce.UseBookLearning = 0;
        SettingsInForce.UseBookWeights = 0;
    } else if (!Book.writable && Settings.UseBookLearning != 0) {
        Write("# The book cannot be written: no book learning\n");
        SettingsInForce.UseBookLearning = 0;
    }
}

}  // namespace

// The message about a file that is missing names the usual book, whatever was asked for.
bool OpenBook(const char* name) {
    CloseBook();
    BookHeader header = BookHeader::NoBook;
    if (!OpenBookFile(Book, name)) {
        Write("Error opening \"book.vlx\"!\n");
    } else if ((header = ReadBookHeader(Book)) == BookHeader::NoBook) {
        Write("Invalid book format\n");
    } else if (header == BookHeader::BadVersion) {
        Write("Book version %d not supported\n", static_cast<int>(Book.version));
    } else {
        LimitLearning();
        Write("%d nodes in openings book\n", static_cast<int>(Book.nodes));
        BookLoaded = 1;
    }
    FlushOutput();
    return BookLoaded != 0;
}

void CloseBook() {
    CloseBookFile(Book);
    BookLoaded = 0;
}

std::int32_t BookKey1(std::uint32_t hash1, int sideToMove) {
    return static_cast<std::int32_t>(sideToMove == BLACK ? hash1 ^ kBlackToMove : hash1);
}

// The key of the position is that of the board and the side to move; castling and en
// passant are not in it, so a move found here may not be legal.
bool ReadPositionList(BookList& list) {
    BookRecord record;
    return BookFind(Book, BookKey1(Board.hash1, Board.SideToMove),
                    static_cast<std::int32_t>(Board.hash2), record) &&
           ReadBookList(Book, record.list, list);
}

// The choice is made before legality is asked: an illegal move in a list is damage, or
// two positions share their keys, and then the book has no say here.
Move BookProbe() {
    BookList list;
    if (BookLoaded == 0 || !ReadPositionList(list)) return NO_MOVE;
    const auto usable =
        std::count_if(list.entries, list.entries + list.count,
                      [](const BookEntry& e) { return !IsRemoved(Book, e); });
    return usable == 0 ? NO_MOVE : LegalMoveOf(Choose(list, static_cast<int>(usable)));
}

Move LegalMoveOf(const BookEntry& entry) {
    for (const Move m : LegalMoves())  // of promotions the queen comes first
        if (From(m) == entry.from && To(m) == entry.to) return m;
    return NO_MOVE;
}

// Flushed line by line, as the front end shows them.
void BookListMoves() {
    BookList list;
    if (!ReadPositionList(list)) {
        Write("No moves from current pos in book\n");
        FlushOutput();
        return;
    }
    Write("%d moves from current pos in book:\n", list.count);
    FlushOutput();
    for (int i = 0; i < list.count; ++i) {
        WriteSquares(list.entries[i]);
        WriteStatistics(list.entries[i]);
        FlushOutput();
    }
}

void SeedRandom(std::uint32_t seed) { RandomState = seed; }

// Bits 16 to 30 of the state: the lower ones of such a generator, modulo a power of two,
// have short periods.
int RandomNumber() {
    RandomState = RandomState * 214013u + 2531011u;
    return static_cast<int>(RandomState >> 16 & 0x7FFF);
}
