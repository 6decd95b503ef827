// Books for tests, byte by byte, and independent of the program's own writer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "board/board.h"
#include "book/book.h"
#include "tests/moves.h"

inline std::string Bytes32(std::uint32_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i & 0xFF);
    return bytes;
}

struct BookMaker {
    // Moves "e2e4" with their words for the position after the moves from the start.
    void Add(const std::string& game,
             const std::vector<std::pair<std::string, int>>& moves) {
        PlayFromStart(game);
        std::string list(1, static_cast<char>(moves.size()));
        for (const auto& [text, word] : moves) {
            list += static_cast<char>(text[0] - 'a' + 8 * (text[1] - '1'));
            list += static_cast<char>(text[2] - 'a' + 8 * (text[3] - '1'));
            list += static_cast<char>(word & 0xFF);
            if (version == 1) list += static_cast<char>(word >> 8);
        }
        AddRaw(BookKey1(Board.hash1, Board.SideToMove),
               static_cast<std::int32_t>(Board.hash2), list);
    }
    void AddRaw(std::int32_t key1, std::int32_t key2, const std::string& list) {
        positions.push_back({{key1, key2}, list});
    }
    std::string Image() const {
        auto sorted = positions;
        std::sort(sorted.begin(), sorted.end());
        std::string lists, image = "~Veltramox openings book" +
                                   Bytes32(static_cast<std::uint32_t>(version)) +
                                   Bytes32(0);
        image += Bytes32(static_cast<std::uint32_t>(sorted.size()));
        for (const auto& [key, list] : sorted) {
            image += Bytes32(static_cast<std::uint32_t>(key.first));
            image += Bytes32(static_cast<std::uint32_t>(key.second));
            image += Bytes32(
                static_cast<std::uint32_t>(36 + 12 * sorted.size() + lists.size()));
            lists += list;
        }
        return image + lists;
    }

    int version = 1;
    std::vector<std::pair<std::pair<std::int32_t, std::int32_t>, std::string>> positions;
};
