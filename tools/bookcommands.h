// The companion program's work on books. Results go to standard output, complaints to
// standard error; each function returns the program's exit status, 0 or 1. Books are
// written whole or not at all.
#pragma once

#include <string>
#include <vector>

#include "tools/bookbuild.h"

// A book from PGN files and files of opening lines (tools/bookbuild.h). Nothing is
// written when a file cannot be read, a line has a mistake, or the book would be empty.
int BuildBook(const std::vector<std::string>& games,
              const std::vector<std::string>& lines, const std::string& output,
              const BuildOptions& options, bool json);
// All positions, or only the one of the FEN record when that is not empty. Positions that
// the book's own moves reach come first, with their lines; the others have only keys.
int DumpBook(const std::string& name, const std::string& fen, bool json);
// Checks the order of the index, places and overlaps of the lists, squares, moves listed
// twice, and legality where positions can be reached. Status 1 when anything is wrong
// with the book.
int CheckBook(const std::string& name, bool json);
// One book with the moves of both; points of the same move add up, and what one of them
// has removed stays removed. `output` may name one of the two.
int MergeBooks(const std::string& a, const std::string& b, const std::string& output,
               bool json);

// A book that is closed wherever a command ends, by an exception too.
struct OpenedBook : BookFile {
    OpenedBook() = default;
    ~OpenedBook() { CloseBookFile(*this); }
    OpenedBook(const OpenedBook&) = delete;
    OpenedBook& operator=(const OpenedBook&) = delete;
};
// Opens a book whose header is good and whose index is complete; otherwise says why not
// on standard error.
bool OpenForReading(OpenedBook& book, const std::string& name);
