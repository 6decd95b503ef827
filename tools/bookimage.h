// A book of version 1 as it is put together in memory: positions in the order of the
// index. book/bookfile.h describes the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "book/bookfile.h"

// Index and lists in the bytes of the file; only the lists' offsets are not yet those.
struct BookImage {
    std::vector<std::uint8_t> index;  // records, their list offsets counted from 0
    std::vector<std::uint8_t> lists;
    std::uint32_t nodes = 0;
};

// Adds a position; positions must come sorted by their keys (key1, then key2, signed),
// each once, for the engine finds them by binary search. Up to 255 entries: more are
// dropped from the end.
void AddPosition(BookImage& image, std::int32_t key1, std::int32_t key2,
                 const std::vector<BookEntry>& entries);
// Writes the book in place of what bears the name, which keeps its old content until the
// new one is complete. False, with the reason, when it cannot be written or has outgrown
// its 32-bit offsets.
bool WriteBookImage(const BookImage& image, const std::string& name, std::string& reason);
// The points as a statistics word: both counts below 255, in their proportion, rounded. A
// move with points keeps some of one kind: 0 is the word of a move not yet played.
std::uint16_t ScaledWord(std::uint64_t pointsFor, std::uint64_t pointsAgainst);
