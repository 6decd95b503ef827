// The opening book in play: opened once at start, asked for a move before each search.
// Book learning updates it in place.
#pragma once

#include <cstdint>

#include "board/board.h"
#include "book/bookfile.h"

// 1 while a book is open whose header is good.
extern int BookLoaded;
// The open file, kept even when its header was refused.
extern BookFile Book;

// Opens "Book.vlx" or another book in place of the one that is open, and reports on
// standard output. A book of version 0 switches UseBookLearning and UseBookWeights off, a
// file that cannot be written UseBookLearning.
bool OpenBook(const char* name);
void CloseBook();

// The move that the book chooses in the current position; NO_MOVE when it yields none.
// Only ever a legal move, promotions to a queen.
Move BookProbe();
// The entry as a legal move of the current position, promotions to a queen; NO_MOVE when
// it is none.
Move LegalMoveOf(const BookEntry& entry);
// The list of book moves in the current position, as text on standard output.
void BookListMoves();

// The move list of the current position; false when the book has none.
bool ReadPositionList(BookList& list);
// key1 of a position: its first hash key, another one with Black to move.
std::int32_t BookKey1(std::uint32_t hash1, int sideToMove);

// The random numbers behind the choice: 0 to 32767 from a linear congruential generator.
void SeedRandom(std::uint32_t seed);
int RandomNumber();
