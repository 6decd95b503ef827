// First the files by themselves, then their values against a one-ply search: as every
// value follows from its successors and the mates are known, a table that agrees
// everywhere is right as far as the smaller ones are.
#include "tools/tables_check.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>

#include "board/notation.h"
#include "egtb/tablefile.h"
#include "tools/parallel.h"
#include "tools/progress.h"
#include "tools/tables_pack.h"
#include "tools/tables_position.h"
#include "tools/tables_store.h"

namespace fs = std::filesystem;

namespace {

// ---- Files ----

// What is wrong with a compressed file; empty when nothing is.
std::string FaultOfPacked(const fs::path& path) {
    const TableFile file = OpenTableFile(path.string().c_str());
    if (!file) return "cannot be opened";
    std::unique_ptr<CompressedTable> table;
    if (const int error = OpenCompressedTable(file.get(), table))
        return error == kBlockReadError ? "its header is cut off"
                                        : "its header is damaged";
    // The records of the blocks are not kept by the reader.
    const std::vector<std::uint8_t> whole = ReadWholeFile(path);
    std::vector<std::uint8_t> block(kBlockSize);
    for (std::uint32_t b = 0; b < table->blocks; ++b) {
        const std::size_t length =
            b + 1 == table->blocks ? table->lastLength : table->blockSize;
        if (ReadCompressedBlock(*table, file.get(), b, block.data()) != 0)
            return "block " + std::to_string(b) + " does not decode";
        const std::uint32_t recorded = RecordedChecksum(whole, b);
        if (recorded != 0 && recorded != HeaderChecksum(block.data(), length))
            return "block " + std::to_string(b) + " has changed";
    }
    return {};
}

// What is wrong with the files of a table; empty when nothing is, and then the table is
// in the store.
std::string FaultOfFiles(const fs::path& directory, int entry, TableStore& store) {
    for (int side : {WHITE, BLACK}) {
        const fs::path file = FindTableFile(directory, entry, side);
        if (file.empty()) return TableFileName(entry, side) + " is missing";
        if (file.extension() != ".emd") continue;
        if (const std::string fault = FaultOfPacked(file); !fault.empty())
            return file.filename().string() + ": " + fault;
    }
    try {
        store.Load(entry);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

// ---- Values ----

// What comparing the positions of one table needs.
struct Comparison {
    const TableMen men;
    const ConversionMap conversions;
    const TableStore& store;
};

// The stored value of the position behind a move, for the opponent; kNoDistance when its
// table has none. A quiet move stays in the table.
MateDistance ValueAfter(const Comparison& c, const TablePosition& position,
                        const TableMove& move) {
    if (move.captured == kNoMan && move.promotion == EMPTY) {
        const TablePosition after = AfterQuietMove(c.men, position, move);
        return c.store.At(c.men.entry, after.side, IndexOfPosition(c.men, after));
    }
    const Conversion& to =
        c.conversions.to[position.side][move.captured == kNoMan ? 0 : move.captured + 1]
                        [move.promotion];
    if (to.entry == 0) return kDraw;
    int side;
    const std::uint32_t index = IndexAfterConversion(c.men, position, move, to, side);
    return c.store.At(to.entry, side, index);
}

// What the moves of a position make it worth; kNoDistance when one of them leads to no
// value.
MateDistance ValueFromMoves(const Comparison& c, const TablePosition& position) {
    TableMove moves[kMostTableMoves];
    const int count = LegalTableMoves(c.men, position, moves);
    if (count == 0) return InCheck(c.men, position) ? 1 : kDraw;
    MateDistance best = kNoDistance;
    for (int i = 0; i < count; ++i) {
        const MateDistance after = ValueAfter(c, position, moves[i]);
        if (after == kNoDistance) return kNoDistance;
        const MateDistance value = OneMoveEarlier(after);
        if (best == kNoDistance || Preference(value) > Preference(best)) best = value;
    }
    return best;
}

// The first wrong position of a table, for the user.
std::string Describe(const Comparison& c, const TablePosition& position,
                     MateDistance stored, MateDistance expected) {
    std::string text = position.side == WHITE ? "White to move," : "Black to move,";
    for (int i = 0; i < c.men.count; ++i) {
        const int square = position.square[i];
        text += c.men.man[i].side == WHITE ? " w" : " b";
        text += PieceLetter(c.men.man[i].code) + SquareText(square);
    }
    const auto words = [](MateDistance d) -> std::string {
        if (d == kNoDistance) return "no value";
        if (d == kDraw) return "a draw";
        return (IsWin(d) ? "a win in " : "a loss in ") + std::to_string(MovesToMate(d));
    };
    return text + ": stored " + words(stored) + ", follows " + words(expected);
}

// The longest loss of all has no byte of its own; readers know its positions.
bool HasNoByte(MateDistance d) { return IsLoss(d) && ByteOfDistance(d) == kNoValue; }

// Compares one file, every step-th index. Indices of no legal position are passed over
// and do not count. Adds to `result`, whose fault is the first found by any thread.
void CompareSide(const Comparison& c, int side, const CheckOptions& options,
                 CheckedTable& result) {
    const int entry = c.men.entry;
    const std::uint64_t values = FileValues(entry, side);
    const std::uint64_t step =
        options.full ? 1 : std::max<std::uint64_t>(values / options.sample, 1);
    const std::string label = std::string(EntryOf(entry).name) + ": comparing";
    std::atomic<std::uint64_t> compared{0}, wrong{0}, done{0};
    std::mutex mutex;
    ForEachPiece(options.jobs, values / step, 4096,
                 [&](std::uint64_t begin, std::uint64_t end) {
                     // Counted privately: a shared counter for every position would slow
                     // the threads down.
                     std::uint64_t ownCompared = 0;
                     for (std::uint64_t n = begin; n < end; ++n) {
                         const auto index = static_cast<std::uint32_t>(n * step);
                         TablePlacement placement;
                         if (!PlacementOfIndex(entry, side, index, placement)) continue;
                         const TablePosition position =
                             PositionOfPlacement(c.men, placement, side);
                         if (!IsLegalPosition(c.men, position)) continue;
                         ++ownCompared;
                         const MateDistance stored = c.store.At(entry, side, index);
                         const MateDistance expected = ValueFromMoves(c, position);
                         if (stored == expected && stored != kNoDistance) continue;
                         // The one value that a file cannot hold.
                         if (stored == kNoDistance && HasNoByte(expected)) continue;
                         ++wrong;
                         const std::lock_guard lock(mutex);
                         if (result.fault.empty())
                             result.fault = Describe(c, position, stored, expected);
                     }
                     compared += ownCompared;
                     done += end - begin;
                     const std::lock_guard lock(mutex);
                     ShowProgress(label.c_str(), done, values / step);
                 });
    result.compared += compared;
    result.wrong += wrong;
}

// Loads what is needed and drops what is not: tables of five men take hundreds of
// megabytes.
CheckedTable CheckTable(int entry, const CheckOptions& options, TableStore& store) {
    CheckedTable result{.entry = entry, .fault = {}, .notCompared = {}};
    result.fault = FaultOfFiles(store.directory, entry, store);
    if (!result.fault.empty()) return result;
    const TableMen men = MenOfTable(entry);
    const Comparison c{men, ConversionsOf(men), store};
    const std::vector<int> needed = TablesReachedFrom(c.conversions);
    // What the last table needed and this one does not.
    for (int other = 1; other < kTableEntries; ++other)
        if (other != entry &&
            std::find(needed.begin(), needed.end(), other) == needed.end())
            store.Drop(other);
    for (const int other : needed) {
        try {
            store.Load(other);
        } catch (const std::runtime_error& error) {
            // Not this table's fault: it cannot be told whether its values are right.
            result.notCompared = error.what();
            return result;
        }
    }
    for (int side : {WHITE, BLACK})
        if (side == WHITE || !ShapeOf(entry).symmetric)
            CompareSide(c, side, options, result);
    return result;
}

}  // namespace

bool CheckTables(const fs::path& directory, const std::vector<int>& entries,
                 const CheckOptions& options,
                 const std::function<void(const CheckedTable&)>& report) {
    TableStore store;
    store.directory = directory;
    bool good = true;
    for (int entry = 1; entry < kTableEntries; ++entry) {
        const bool wanted = entries.empty() || std::find(entries.begin(), entries.end(),
                                                         entry) != entries.end();
        const bool there = !FindTableFile(directory, entry, WHITE).empty() ||
                           !FindTableFile(directory, entry, BLACK).empty();
        // One that was asked for by name is missed.
        if (!wanted || (entries.empty() && !there)) continue;
        const CheckedTable result = CheckTable(entry, options, store);
        EndProgress();
        report(result);
        good &= result.fault.empty();
    }
    return good;
}
