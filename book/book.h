// The opening book in play: opened once at start, asked for a move before each search.
// Book learning updates it in place.
#pragma once

#include <cstdint>

#include "board/board.h"
#include "book/bookfile.h"

// 1 while a book is open whose header is good. Written by OpenBook and CloseBook alone.
extern int BookLoaded;
// The open file, kept even when its header was refused: it then counts as empty. Book
// learning writes to it.
extern BookFile Book;

// Opens "Book.vlx" or another book in place of the one that is open, and reports on
// standard output; true when moves can be asked of it. A book of version 0 switches
// UseBookLearning and UseBookWeights off, a file that cannot be written UseBookLearning:
// in the settings in force only, so that the settings file keeps what the user wrote.
bool OpenBook(const char* name);
// Without an open book this does nothing. The switches that OpenBook turned off stay off.
void CloseBook();

// The move that the book chooses in the current position; NO_MOVE when it yields none.
// Only ever a legal move, promotions to a queen. The board stays as it is; the choice may
// draw a random number, so that two calls need not agree.
Move BookProbe();
// The entry as a legal move of the current position, promotions to a queen; NO_MOVE when
// it is none.
Move LegalMoveOf(const BookEntry& entry);
// The list of book moves in the current position, as text on standard output, removed
// ones included. Nothing is said about their legality.
void BookListMoves();

// The move list of the current position, read from the file at every call; false when the
// book has none, when its list is damaged, and when no book is open.
bool ReadPositionList(BookList& list);
// key1 of a position: its first hash key, which itself knows nothing of the side to move;
// with Black to move it is exclusive-ored with a constant. Signed, as the index sorts it.
std::int32_t BookKey1(std::uint32_t hash1, int sideToMove);

// The random numbers behind the choice: 0 to 32767 from a linear congruential generator
// with one state for the program. Seeded from the calendar at start; tests seed it with a
// number of their own to repeat a choice.
void SeedRandom(std::uint32_t seed);
int RandomNumber();
