// Bytes and distances, file names, and tables in memory. A byte b stands for a win in 127
// - b moves up to 126 (128: in 127), from 130 on for a loss in b - 130 (129: in 126), 0
// for a draw and 127 for no value.
#include "tools/tables_store.h"

#include <stdexcept>

#include "board/types.h"
#include "egtb/blocks.h"
#include "egtb/tablefile.h"
#include "tools/tables_position.h"

namespace fs = std::filesystem;

MateDistance DistanceOfByte(std::uint8_t byte) {
    if (byte == kNoValue) return kNoDistance;
    if (byte == 0) return kDraw;
    if (byte == 128) return 2 * 127;                     // win in 127
    if (byte < 128) return 2 * (127 - byte);             // 126: win in 1
    return 2 * (byte - 130 < 0 ? 126 : byte - 130) + 1;  // 130: mated; 129: loss in 126
}

std::uint8_t ByteOfDistance(MateDistance d) {
    const int moves = MovesToMate(d);
    if (d == kNoDistance || (IsLoss(d) && moves > 126)) return kNoValue;
    if (d == kDraw) return 0;
    if (IsWin(d)) return static_cast<std::uint8_t>(moves == 127 ? 128 : 127 - moves);
    return static_cast<std::uint8_t>(moves == 126 ? 129 : 130 + moves);
}

std::string TableFileName(int entry, int side) {
    const bool black = side == BLACK && !ShapeOf(entry).symmetric;
    return std::string(EntryOf(entry).name) + (black ? ".nbb" : ".nbw");
}

// A plain file is preferred: it need not be decompressed.
fs::path FindTableFile(const fs::path& directory, int entry, int side) {
    const std::string name = TableFileName(entry, side);
    const std::size_t dot = name.find('.');
    const std::string stem = name.substr(0, dot), extension = name.substr(dot + 1);
    for (const std::string& candidate :
         {name, name + ".emd", stem + "_" + extension + ".emd",
          stem + extension + ".emd"})
        if (fs::exists(directory / candidate)) return directory / candidate;
    return {};
}

// The stem is what stands in front of ".emd"; names that are no table's keep theirs.
std::string PlainFileName(const fs::path& packed) {
    std::string name = packed.stem().string();
    if (!name.ends_with("nbw") && !name.ends_with("nbb")) return name;
    const std::string extension = name.substr(name.size() - 3);
    name.resize(name.size() - 3);
    if (name.ends_with('.') || name.ends_with('_')) name.pop_back();
    return name + '.' + extension;
}

bool TableIsThere(const fs::path& directory, int entry) {
    return entry == 0 || (!FindTableFile(directory, entry, WHITE).empty() &&
                          !FindTableFile(directory, entry, BLACK).empty());
}

void WriteWholeFile(const fs::path& file, const std::vector<std::uint8_t>& data) {
    if (!ReplaceFile(file.string().c_str(), data.data(), data.size()))
        throw std::runtime_error("cannot write " + file.string());
}

std::vector<std::uint8_t> ReadWholeFile(const fs::path& file) {
    std::error_code ignored;
    // A directory can be opened like a file, and claims to be of any length.
    const bool regular = fs::is_regular_file(file, ignored);
    const TableFile in = regular ? OpenTableFile(file.string().c_str()) : TableFile();
    const std::int64_t length = in ? FileSize(in.get()) : -1;
    if (length < 0) throw std::runtime_error("cannot read " + file.string());
    std::vector<std::uint8_t> data(static_cast<std::size_t>(length));
    if (!ReadAt(in.get(), 0, data.data(), data.size()))
        throw std::runtime_error("cannot read " + file.string());
    return data;
}

std::vector<std::uint8_t> LoadTableFile(const fs::path& file) {
    if (file.extension() != ".emd") return ReadWholeFile(file);
    const auto broken = [&](int error) {
        return std::runtime_error(
            file.string() + ": " +
            (error == kBlockReadError ? "read error" : "file broken"));
    };
    const TableFile in = OpenTableFile(file.string().c_str());
    if (!in) throw std::runtime_error("cannot read " + file.string());
    std::unique_ptr<CompressedTable> table;
    if (const int error = OpenCompressedTable(in.get(), table)) throw broken(error);
    // Grows block by block: a header may claim any number of them.
    std::vector<std::uint8_t> data;
    for (std::uint32_t block = 0; block < table->blocks; ++block) {
        data.resize(data.size() + kBlockSize);
        if (const int error = ReadCompressedBlock(*table, in.get(), block,
                                                  &data[data.size() - kBlockSize]))
            throw broken(error);
    }
    data.resize(table->Length());
    return data;
}

void TableStore::Load(int entry) {
    if (Holds(entry)) return;
    for (int side : {WHITE, BLACK}) {
        if (side == BLACK && ShapeOf(entry).symmetric) break;
        const fs::path file = FindTableFile(directory, entry, side);
        if (file.empty())
            throw std::runtime_error((directory / TableFileName(entry, side)).string() +
                                     " is missing");
        const std::uint32_t expected = FileValues(entry, side);
        const std::runtime_error wrong(file.string() + " has the wrong length");
        // Not read first: a file may be larger than the memory.
        if (file.extension() != ".emd" && fs::is_regular_file(file) &&
            fs::file_size(file) != expected)
            throw wrong;
        std::vector<std::uint8_t> data = LoadTableFile(file);
        if (data.size() != expected) throw wrong;
        values[static_cast<std::size_t>(entry)][static_cast<std::size_t>(side)] =
            std::move(data);
    }
}

void TableStore::Drop(int entry) { values[static_cast<std::size_t>(entry)] = {}; }

// An index beyond the values is no error: files end at the last legal position.
MateDistance TableStore::At(int entry, int side, std::uint32_t index) const {
    if (entry == 0) return kDraw;
    if (ShapeOf(entry).symmetric) side = WHITE;
    const auto& data =
        values[static_cast<std::size_t>(entry)][static_cast<std::size_t>(side)];
    return index < data.size() ? DistanceOfByte(data[index]) : kNoDistance;
}
