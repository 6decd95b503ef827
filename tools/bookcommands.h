// The companion program's work on books. Results go to standard output, complaints to
// standard error; each function returns the program's exit status.
#pragma once

#include <string>
#include <vector>

#include "tools/bookbuild.h"

int BuildBook(const std::vector<std::string>& games,
              const std::vector<std::string>& lines, const std::string& output,
              const BuildOptions& options, bool json);
// All positions, or only the one of the FEN record when that is not empty.
int DumpBook(const std::string& name, const std::string& fen, bool json);
// Status 1 when anything is wrong with the book.
int CheckBook(const std::string& name, bool json);
// One book with the moves of both; points of the same move add up, and what one of them
// has removed stays removed.
int MergeBooks(const std::string& a, const std::string& b, const std::string& output,
               bool json);

// A book that is closed wherever a command ends.
struct OpenedBook : BookFile {
    OpenedBook() = default;
    ~OpenedBook() { CloseBookFile(*this); }
    OpenedBook(const OpenedBook&) = delete;
    OpenedBook& operator=(const OpenedBook&) = delete;
};
// Opens a book whose header is good; otherwise says why not.
bool OpenForReading(OpenedBook& book, const std::string& name);
