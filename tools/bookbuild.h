// Building a book: from games, whose results become the statistics of the moves, and from
// opening lines, whose moves are always kept.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "board/types.h"
#include "tools/bookimage.h"

struct BuildOptions {
    int maxPly = 24;   // half-moves of a game that count
    int minGames = 3;  // games that a move of no opening line must have been played in
};

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

// All moves of all positions met so far: one slot each, whatever the number of games.
struct BookBuilder {
    std::vector<BuiltMove> slots = std::vector<BuiltMove>(1024);
    std::size_t used = 0;
    BuildCounts counts;
};

// Adds the games of a PGN file, plain or compressed by gzip; "-" is standard input.
// False, with the reason, when it cannot be read to its end. Progress is shown against
// `wholeBytes`, of which `bytesBefore` have been read from other files.
bool AddGames(BookBuilder& builder, const std::string& name, const BuildOptions& options,
              std::uint64_t bytesBefore, std::uint64_t wholeBytes, std::string& reason);
// Adds the lines of a text file, one a line: "Name: 1. e4 e5 2. Nf3". What follows "#" is
// a comment. A move marked with "?" or "?!" is known to the book but not played. False,
// with the reason, when the file cannot be opened or a move in it is not legal.
bool AddLines(BookBuilder& builder, const std::string& name, std::string& reason);
// The book of what has been added, best known moves first in each list.
BookImage FinishBook(BookBuilder& builder, const BuildOptions& options);
// Why a book has become empty: the rule that has dropped what was read.
std::string WhyEmpty(const BuildCounts& counts, const BuildOptions& options);
