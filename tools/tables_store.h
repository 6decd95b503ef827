// Whole tables in memory, as the makers and checkers of tables need them, and their
// files.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "egtb/tablelist.h"

// ---- Distances to mate ----
// 0 a draw; otherwise half-moves to mate + 1: even when the side to move wins, odd when
// it loses (1: it is mated).
using MateDistance = int;
inline constexpr MateDistance kDraw = 0;
// kNoDistance: nothing is known, or the position is not legal. kLongestDistance is a loss
// in 127 moves, as far as a byte per node of the analysis reaches.
inline constexpr MateDistance kNoDistance = -1;
inline constexpr MateDistance kLongestDistance = 255;
constexpr bool IsWin(MateDistance d) { return d > 0 && d % 2 == 0; }
constexpr bool IsLoss(MateDistance d) { return d > 0 && d % 2 == 1; }
constexpr int MovesToMate(MateDistance d) { return d / 2; }
// The distance before a move that leads to this one.
constexpr MateDistance OneMoveEarlier(MateDistance d) {
    return d == kDraw ? kDraw : d + 1;
}
// The better a distance for the side to move, the larger.
constexpr int Preference(MateDistance d) {
    if (d == kDraw) return 0;
    return IsWin(d) ? 1000 - d : d - 1000;
}

// ---- Bytes of a table file ----
inline constexpr std::uint8_t kNoValue = 127;
// The readers' meaning of a byte, and the way back from a distance.
MateDistance DistanceOfByte(std::uint8_t byte);  // kNoDistance for kNoValue
// One distance has no byte, a loss in 127 moves: kNoValue, the readers know those
// positions.
std::uint8_t ByteOfDistance(MateDistance d);

// ---- Files ----
// "kqk.nbw"; White's for a symmetric entry.
std::string TableFileName(int entry, int side);
// The table file in the directory, plain or compressed under one of its three names;
// empty when there is none.
std::filesystem::path FindTableFile(const std::filesystem::path& directory, int entry,
                                    int side);
// "kpk.nbw" from "kpk.nbw.emd", "kpk_nbw.emd" or "kpknbw.emd".
std::string PlainFileName(const std::filesystem::path& packed);
// Both files, or White's of a symmetric entry; always of the two kings. What is in the
// files is not looked at.
bool TableIsThere(const std::filesystem::path& directory, int entry);
// Writes the whole file under a temporary name and renames it: a file that is there is
// complete, also after a kill. Throws std::runtime_error with a text for the user.
void WriteWholeFile(const std::filesystem::path& file,
                    const std::vector<std::uint8_t>& data);
// The bytes as they stand. Throws std::runtime_error for anything but a regular file that
// can be read.
std::vector<std::uint8_t> ReadWholeFile(const std::filesystem::path& file);
// The values of a table file, decompressed when its name ends in ".emd". Throws
// std::runtime_error when it cannot be read or is damaged.
std::vector<std::uint8_t> LoadTableFile(const std::filesystem::path& file);

// ---- Tables in memory ----
// The tables that work at hand needs. The values are bytes as in the files, which take a
// quarter of what distances would. Filled and emptied by one thread, then read by many.
struct TableStore {
    std::filesystem::path directory;
    // [entry][side]; White's serves both sides of a symmetric entry.
    std::array<std::array<std::vector<std::uint8_t>, 2>, kTableEntries> values;

    bool Holds(int entry) const {
        return entry == 0 || !values[static_cast<std::size_t>(entry)][0].empty();
    }
    // Loads both sides; throws when a file is missing, damaged or has the wrong length.
    void Load(int entry);
    void Drop(int entry);
    // Of the two kings a draw; kNoDistance where the table has no value.
    MateDistance At(int entry, int side, std::uint32_t index) const;
};
