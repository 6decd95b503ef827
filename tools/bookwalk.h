// Every position of a book that its own moves lead to from the start position.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "board/types.h"
#include "book/bookfile.h"

// What a visitor gets to see. `index` and `record` are those of the book, `list` is empty
// when the record's list is damaged.
struct BookPosition {
    std::uint32_t index;  // of its record
    BookRecord record;
    BookList list;
    std::string line;  // how it was reached: "1. e4 e5"; empty at the start position
};

// Called with each position on the board, which must stand there again afterwards. True:
// call again when other moves lead there, for the keys do not know of castling rights and
// en passant, and the same record may be another position then.
using BookVisitor = std::function<bool(const BookPosition&)>;

// Visits the positions depth first, a move's whole variation before the next move. Moves
// that are not legal there are not followed; removed ones are. Returns which records,
// [index], have been visited. The board is left at the start position.
std::vector<bool> WalkBook(const BookFile& book, const BookVisitor& visit);
// Index of the current position's record, and the record; false when the book has none.
bool FindPosition(const BookFile& book, std::uint32_t& index, BookRecord& record);
