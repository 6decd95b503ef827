// Every position of a book that its own moves lead to from the start position.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "board/types.h"
#include "book/bookfile.h"

struct BookPosition {
    std::uint32_t index;  // of its record
    BookRecord record;
    BookList list;
    std::string line;  // how it was reached: "1. e4 e5"; empty at the start position
};

// Called with each position on the board. True: call again when other moves lead there,
// for the keys do not know of castling rights and en passant.
using BookVisitor = std::function<bool(const BookPosition&)>;

// Visits the positions, a move's whole variation before the next move. Moves that are not
// legal there are not followed. Returns which records have been visited.
std::vector<bool> WalkBook(const BookFile& book, const BookVisitor& visit);
// Index of the current position's record; false when the book has none.
bool FindPosition(const BookFile& book, std::uint32_t& index, BookRecord& record);
