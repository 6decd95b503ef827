// The opening book as a file: a sorted index of positions and, for each, a list of moves
// with the results they have had. Nothing of it is kept in memory.
//
//   offset  size  field (little-endian)
//        0    24  "~Veltramox openings book"
//       24     4  version: 0 (moves only) or 1 (moves with results)
//       28     4  not used, 0
//       32     4  N, the number of positions
//       36  12 N  index: key1, key2, offset of the move list; sorted by key1, then key2,
//                 both signed
//        .     .  move lists: one byte n, then n entries of from-square, to-square and
//                 flag byte (version 0) or 16-bit statistics word (version 1)
//
// A damaged file never leads astray: whatever lies outside the file or its own region is
// not found.
#pragma once

#include <cstdint>

#include "platform/files.h"

// ---- The layout above, in bytes ----
inline constexpr char kBookMagic[] = "~Veltramox openings book";
inline constexpr int kBookMagicSize = 24;
inline constexpr int kBookVersionAt = 24;
inline constexpr int kBookNodesAt = 32;
inline constexpr int kBookHeaderSize = 36;
inline constexpr int kBookRecordSize = 12;
inline constexpr int kMaxBookEntries = 255;
inline constexpr int kMaxBookListSize = 1 + 4 * kMaxBookEntries;  // bytes

// Statistics word: points for the move in the low byte, against it in the high byte.
inline constexpr std::uint16_t kRemovedWord = 0xFFFF;  // version 1: never played again
inline constexpr std::uint16_t kRemovedFlag = 255;     // the same in version 0
constexpr int PointsFor(std::uint16_t word) { return word & 0xFF; }
constexpr int PointsAgainst(std::uint16_t word) { return word >> 8; }
// Both counts 0 to 255; not both 255, which is kRemovedWord.
constexpr std::uint16_t StatisticsWord(int pointsFor, int pointsAgainst) {
    return static_cast<std::uint16_t>(pointsFor | pointsAgainst << 8);
}

// An open book. Plain data without a destructor: whoever opens it closes it.
struct BookFile {
    FileHandle file = nullptr;
    bool writable = false;
    std::uint32_t version = 0;
    std::uint32_t nodes = 0;  // positions; 0 unless the header is good
    std::int64_t size = 0;    // bytes; a book never grows while it is open
};

// A record of the index: one position. key1 tells the side to move too (BookKey1); key2
// is the second hash key.
struct BookRecord {
    std::int32_t key1, key2;
    std::uint32_t list;  // offset of the move list
};

// A move of a list. There is no promotion piece in the format: a promotion is one to a
// queen.
struct BookEntry {
    std::uint8_t from, to;  // squares; a damaged file may hold any byte
    std::uint16_t word;     // statistics word, or the flag byte of version 0
};

// A position's moves with the place in the file where they stand, so that they can be
// written back there.
struct BookList {
    std::int64_t offset;
    int count;
    BookEntry entries[kMaxBookEntries];
};

enum class BookHeader { Good, NoBook, BadVersion };

// Opens the file for reading and, where that is possible, writing, in place of what the
// record held. The header is not read. False when there is no such file, or none that may
// be read.
bool OpenBookFile(BookFile& book, const char* name);
// Leaves an empty record; one without a file is no error.
void CloseBookFile(BookFile& book);
// Fills version, nodes and size. On anything but Good the book counts as empty. The
// number of positions is not compared with the size: BookFind copes with an index cut
// off.
BookHeader ReadBookHeader(BookFile& book);

// Index record `index`, 0 to nodes - 1; false when the file does not hold it.
bool ReadBookRecord(const BookFile& book, std::uint32_t index, BookRecord& record);
// The record with these keys, found by binary search; false when there is none. `index`,
// where asked for, is the record's. `record` is overwritten in any case.
bool BookFind(const BookFile& book, std::int32_t key1, std::int32_t key2,
              BookRecord& record, std::uint32_t* index = nullptr);
// First byte behind the index.
std::int64_t BookListsAt(const BookFile& book);
// The whole list at an offset of the file; false when any of it lies outside the region
// of the lists, and the list is then undefined. Squares are not checked.
bool ReadBookList(const BookFile& book, std::int64_t offset, BookList& list);
// Writes the entries back in one piece, so that a program killed meanwhile leaves either
// all old or all new ones. Version 1 only. False when the book cannot be written.
bool WriteBookList(const BookFile& book, const BookList& list);

// Marked as not to be played, by whoever made the book.
bool IsRemoved(const BookFile& book, const BookEntry& entry);
// Results in per mille of the best possible, 0 to 1000; 500 for a move never played. Of
// version 1, not for removed moves.
int MoveScore(const BookEntry& entry);
// Twice the number of games with the move, as far as the rescaling has left it.
int MovePoints(const BookEntry& entry);
