// Probes of random legal positions of one table, from a fixed seed. What is measured is
// set by the cache: one that holds everything, or one of a single block that another
// block is read into before each probe.
#include "bench/tables.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <vector>

#include "board/board.h"
#include "egtb/cache.h"
#include "egtb/registry.h"
#include "egtb/tablebase.h"
#include "tools/tables_make.h"
#include "tools/tables_pack.h"
#include "tools/tables_position.h"
#include "tools/tables_store.h"

namespace fs = std::filesystem;

namespace {

constexpr int kPositions = 4000;
constexpr int kCachedRepeats = 64;  // of one probe that is too short for the clock
// Bytes, as powers of two: 64 MB, more than the table has, and 16 KB, room for one block.
constexpr int kLargeCacheLog2 = 26;
constexpr int kOneBlockLog2 = 14;

using Clock = std::chrono::steady_clock;

// A directory that goes away with its files, on the way out through an error as well.
struct TemporaryDirectory {
    TemporaryDirectory()
        : path(fs::temp_directory_path() /
               ("veltramox-bench-" + std::to_string(std::random_device{}()))) {
        fs::create_directories(path);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    fs::path path;
};

// Puts a random legal position of the table on the board; its index in the file of the
// side to move. Indices without a legal position are drawn again, and those of the en
// passant range too: their probe needs the double step on the history stack.
std::uint32_t PutRandomPosition(const TableMen& men, std::mt19937& random) {
    for (;;) {
        const int side = static_cast<int>(random() % 2);
        const auto index =
            static_cast<std::uint32_t>(random() % FileValues(men.entry, side));
        TablePlacement placement;
        PlacementOfIndex(men.entry, side, index, placement);
        const TablePosition position = PositionOfPlacement(men, placement, side);
        if (placement.enPassant != kNoEnPassant || !IsLegalPosition(men, position))
            continue;
        ClearBoard();
        Board.GamePly = 0;
        Board.SideToMove = side;
        for (int i = 0; i < men.count; ++i)
            AddPiece(position.square[i], men.man[i].side, men.man[i].code);
        return index;
    }
}

// Of an even number the upper one of the two in the middle.
double MedianOf(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// Median time in microseconds of a probe, `prepare` having run before each measurement
// with the position on the board; -1 when a probe finds nothing.
double TimeProbes(int entry, int repeats,
                  const std::function<void(std::uint32_t index)>& prepare) {
    std::mt19937 random(1);
    const TableMen men = MenOfTable(entry);
    std::vector<double> times;
    for (int n = 0; n < kPositions; ++n) {
        prepare(PutRandomPosition(men, random));
        const Clock::time_point start = Clock::now();
        int value = 0;
        for (int i = 0; i < repeats; ++i)
            if (!ProbeTablebase(ChangeSide(Board.SideToMove), value)) return -1;
        const std::chrono::duration<double, std::micro> time = Clock::now() - start;
        times.push_back(time.count() / repeats);
    }
    return MedianOf(times);
}

// With a cache of one block: reads another one, so that the probe must read its own.
void Evict(int entry, std::uint32_t index) {
    int value;
    const std::uint32_t other = index >> kBlockBits == 0 ? 1u << kBlockBits : 0;
    ReadTableValue(entry, Board.SideToMove, other, value);
}

// The directory's tables in place of those before, with an empty cache.
bool Register(const fs::path& directory, int cacheLog2) {
    std::uint64_t ramUsed;
    return InitTablebases(directory.string().c_str(), ramUsed) > 0 &&
           SetUpTablebaseCache(cacheLog2);
}

void Report(const char* what, double microseconds) {
    std::printf("%-28s %8.3f us\n", what, microseconds);
}

}  // namespace

int RunTablesBenchmark(const char* directory) {
    BuildIndexTables();
    const TemporaryDirectory plain, packed;
    fs::path source = plain.path;
    int entry = FindTable("krpk");
    if (directory != nullptr && TableIsThere(directory, entry)) {
        source = directory;
    } else {
        entry = FindTable("kpk");
        MakeTables(TablesWithMen(3), plain.path, 1, [](const MadeTable&) {});
    }
    for (int side : {WHITE, BLACK})
        WriteWholeFile(packed.path / (TableFileName(entry, side) + ".emd"),
                       PackTable(LoadTableFile(FindTableFile(source, entry, side)), 1));

    // One probe before the measured ones reads the block in.
    const auto warm = [&](std::uint32_t) {
        int value;
        ProbeTablebase(ChangeSide(Board.SideToMove), value);
    };
    const auto cold = [&](std::uint32_t index) { Evict(entry, index); };
    std::printf("Probes of %s, median of %d\n", EntryOf(entry).name.data(), kPositions);
    if (!Register(source, kLargeCacheLog2)) return 1;
    Report("from the cache", TimeProbes(entry, kCachedRepeats, warm));
    if (!Register(source, kOneBlockLog2)) return 1;
    Report(
        Tables[entry][WHITE].compressed ? "from a compressed file" : "from a plain file",
        TimeProbes(entry, 1, cold));
    if (!Register(packed.path, kOneBlockLog2)) return 1;
    Report("from a compressed block", TimeProbes(entry, 1, cold));
    CloseTablebases();
    return 0;
}
