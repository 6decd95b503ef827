// Reading and writing the book's fields. Nothing here trusts an offset, a count or a size
// that comes from the file.
#include "book/bookfile.h"

#include <cstring>

#include "platform/bytes.h"

namespace {

constexpr std::uint32_t kNewestVersion = 1;
constexpr int kMaxEntrySize = 4;

// Bytes of an entry: version 0 has a flag instead of the statistics word.
int EntrySize(const BookFile& book) { return book.version == 0 ? 3 : 4; }

}  // namespace

// A book that cannot be written can still be played from.
bool OpenBookFile(BookFile& book, const char* name) {
    CloseBookFile(book);
    book.file = OpenFile(name, FileMode::Update);
    book.writable = book.file != nullptr;
    if (!book.writable) book.file = OpenFile(name, FileMode::Read);
    return book.file != nullptr;
}

void CloseBookFile(BookFile& book) {
    CloseFile(book.file);
    book = BookFile{};
}

// A file too short for the header is no book, whatever its first bytes are.
BookHeader ReadBookHeader(BookFile& book) {
    std::uint8_t header[kBookHeaderSize];
    book.nodes = 0;
    book.size = FileSize(book.file);
    if (!ReadAt(book.file, 0, header, sizeof header) ||
        std::memcmp(header, kBookMagic, kBookMagicSize) != 0)
        return BookHeader::NoBook;
    book.version = Get32le(header + kBookVersionAt);
    if (book.version > kNewestVersion) return BookHeader::BadVersion;
    book.nodes = Get32le(header + kBookNodesAt);
    return BookHeader::Good;
}

// The header is as long as three records, so record k of the index stands at 12 (k + 3).
bool ReadBookRecord(const BookFile& book, std::uint32_t index, BookRecord& record) {
    std::uint8_t bytes[kBookRecordSize];
    const std::int64_t offset = kBookHeaderSize + std::int64_t{kBookRecordSize} * index;
    if (!ReadAt(book.file, offset, bytes, sizeof bytes)) return false;
    record.key1 = static_cast<std::int32_t>(Get32le(bytes));
    record.key2 = static_cast<std::int32_t>(Get32le(bytes + 4));
    record.list = Get32le(bytes + 8);
    return true;
}

// Binary search; about twenty reads of twelve bytes in a book of a million positions,
// which the operating system's cache makes quick enough for a question per move.
bool BookFind(const BookFile& book, std::int32_t key1, std::int32_t key2,
              BookRecord& record, std::uint32_t* index) {
    std::int64_t low = 0, high = book.nodes;
    while (low < high) {
        const std::int64_t middle = (low + high) / 2;
        if (!ReadBookRecord(book, static_cast<std::uint32_t>(middle), record)) {
            high = middle;  // an index cut off: what is left of it may still hold the key
        } else if (record.key1 == key1 && record.key2 == key2) {
            if (index != nullptr) *index = static_cast<std::uint32_t>(middle);
            return true;
        } else if (record.key1 > key1 || (record.key1 == key1 && record.key2 > key2)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return false;
}

std::int64_t BookListsAt(const BookFile& book) {
    return kBookHeaderSize + std::int64_t{kBookRecordSize} * book.nodes;
}

// Lists stand behind the index: an offset into header or index is damage, and writing
// statistics there would ruin the book.
bool ReadBookList(const BookFile& book, std::int64_t offset, BookList& list) {
    std::uint8_t count, bytes[kMaxBookEntries * kMaxEntrySize];
    if (offset < BookListsAt(book) || !ReadAt(book.file, offset, &count, 1)) return false;
    const int size = EntrySize(book);
    if (count > 0 &&
        !ReadAt(book.file, offset + 1, bytes, static_cast<std::size_t>(count * size)))
        return false;
    list.offset = offset;
    list.count = count;
    for (int i = 0; i < count; ++i) {
        const std::uint8_t* entry = bytes + i * size;
        const std::uint16_t word = book.version == 0 ? entry[2] : Get16le(entry + 2);
        list.entries[i] = {entry[0], entry[1], word};
    }
    return true;
}

// The count is not written, and squares only as they were read: the list keeps its place
// and size.
bool WriteBookList(const BookFile& book, const BookList& list) {
    std::uint8_t bytes[kMaxBookEntries * kMaxEntrySize];
    for (int i = 0; i < list.count; ++i) {
        std::uint8_t* entry = bytes + i * kMaxEntrySize;
        entry[0] = list.entries[i].from;
        entry[1] = list.entries[i].to;
        Put16le(entry + 2, list.entries[i].word);
    }
    return book.writable && WriteAt(book.file, list.offset + 1, bytes,
                                    static_cast<std::size_t>(list.count * kMaxEntrySize));
}

// The flag byte of version 0 stands in the word's place (ReadBookList).
bool IsRemoved(const BookFile& book, const BookEntry& entry) {
    return entry.word == (book.version == 0 ? kRemovedFlag : kRemovedWord);
}

// Integer division, as all comparisons of scores expect.
int MoveScore(const BookEntry& entry) {
    const int points = MovePoints(entry);
    return points == 0 ? 500 : 1000 * PointsFor(entry.word) / points;
}

int MovePoints(const BookEntry& entry) {
    return PointsFor(entry.word) + PointsAgainst(entry.word);
}
