// Building a book: from games, whose results become the statistics of the moves, and from
// opening lines, whose moves are always kept.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/types.h"
#include "tools/bookimage.h"

// What the command line may say of a build; it checks the ranges.
struct BuildOptions {
    int maxPly = 24;   // half-moves of a game that count
    int minGames = 3;  // games that a move of no opening line must have been played in
};

// What a build has met, for its report and for saying why a book is empty.
struct BuildCounts {
    std::uint64_t games = 0;
    std::uint64_t broken = 0;   // a move could not be told; the moves before it count
    std::uint64_t skipped = 0;  // games that do not begin at the start position
    std::uint64_t lines = 0;
    std::uint32_t mostGames = 0;  // that a move occurs in, before rare ones were dropped
    std::uint32_t positions = 0, moves = 0;  // of the book
};

// A move of a position with what the games say about it.
struct BuiltMove {
    std::int32_t key1, key2;
    std::uint8_t from, to;
    bool fromLine;        // of an opening line: kept whatever the games say
    bool removed;         // marked as not to be played
    std::uint32_t games;  // 0 in an empty slot that is not from a line either
    std::uint32_t pointsFor, pointsAgainst;
};

// All moves of all positions met so far, an open-addressing hash table: one slot each,
// whatever the number of games. The number of slots is a power of two.
struct BookBuilder {
    std::vector<BuiltMove> slots = std::vector<BuiltMove>(1024);
    std::size_t used = 0;
    BuildCounts counts;
};

// Adds the games of a PGN file, plain or compressed by gzip; "-" is standard input.
// False, with the reason, when it cannot be read to its end; what was added until then
// stays. Progress is shown against `wholeBytes`, of which `bytesBefore` have been read
// from other files; bytes are those of the files, compressed where they are. Plays on the
// board, which is left anywhere.
bool AddGames(BookBuilder& builder, const std::string& name, const BuildOptions& options,
              std::uint64_t bytesBefore, std::uint64_t wholeBytes, std::string& reason);
// Adds the lines of a text file, one a line: "Name: 1. e4 e5 2. Nf3". What follows "#" is
// a comment. A move marked with "?" or "?!" is known to the book but not played. False,
// with the reason and the line's number, when the file cannot be opened or a move in it
// is not legal. Plays on the board.
bool AddLines(BookBuilder& builder, const std::string& name, std::string& reason);
// The book of what has been added, best known moves first in each list. Completes the
// counts and empties the builder but for them, to give its memory back.
BookImage FinishBook(BookBuilder& builder, const BuildOptions& options);
// Why a book has become empty: the rule that has dropped what was read, as a sentence for
// the user. Only of counts that FinishBook has completed and that hold no position.
std::string WhyEmpty(const BuildCounts& counts, const BuildOptions& options);
