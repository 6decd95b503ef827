// Finds table files by trying to open every name in every directory: 178 entries, two
// sides, four spellings. Nothing is left open afterwards.
#include "egtb/registry.h"

#include <cstdlib>
#include <string_view>
#include <vector>

#include "board/types.h"
#include "egtb/indextables.h"
#include "egtb/material.h"
#include "platform/output.h"

TableSide Tables[kTableEntries][2];

namespace {

constexpr const char* kExtension[2] = {".nbw", ".nbb"};

// A table that is there but wrong is the user's to put right, before any game is played.
[[noreturn]] void EndProgram() {
    FlushOutput();
    std::exit(1);
}

// Closes files and forgets paths, compressed headers and cache chains of an earlier call.
void ReleaseTables() {
    for (auto& sides : Tables)
        for (TableSide& side : sides) side = TableSide{};
    ClearMaterial();
}

// Directory names; what a separator cuts off empty is dropped, and a list that names none
// is the working directory. Backslashes serve as separators on every system.
std::vector<std::string> SplitPathList(std::string_view list) {
    std::vector<std::string> directories;
    while (!list.empty()) {
        const std::size_t end = list.find_first_of(",;");
        std::string name(list.substr(0, end));
        list.remove_prefix(end == std::string_view::npos ? list.size() : end + 1);
        for (char& c : name)
            if (c == '\\') c = kPathSeparator;
        if (!name.empty()) directories.push_back(std::move(name));
    }
    if (directories.empty()) directories.emplace_back();
    return directories;
}

// Opens the first of the three names that a compressed file may have; `name` becomes the
// one that was found.
// "kpk.nbw.emd", "kpk_nbw.emd", "kpknbw.emd": short-name file systems allow one dot only.
TableFile OpenCompressedName(std::string& name) {
    const std::size_t dot = name.rfind('.');
    std::string underscore = name, joined = name;
    underscore[dot] = '_';
    joined.erase(dot, 1);
    for (const std::string& stem : {name, underscore, joined}) {
        const std::string full = stem + ".emd";
        if (TableFile file = OpenTableFile(full.c_str())) {
            name = full;
            return file;
        }
    }
    return {};
}

[[noreturn]] void ReportUnreadable(const std::string& name, int error) {
    Write("*** Unable to read %s - ", name.c_str());
    switch (error & 255) {
        case kBlockReadError:
            Write("read error\n");
            break;
        case kBlockOutOfMemory:
            Write("out of memory\n");
            break;
        case kBlockBroken:
            Write("file broken\n");
            break;
        default:
            Write("error %d\n", error);
    }
    EndProgram();
}

// A file whose length is not the listed one would be read at wrong places.
void CheckLength(const std::string& name, std::uint64_t values, int entry, int side) {
    const std::uint32_t listed = EntryOf(entry).size[side];
    if ((listed != 0 && values != listed) || values >= kNoIndex) {
        Write("*** %s corrupted\n", name.c_str());
        EndProgram();
    }
}

// Both return the number of values in the file.
std::uint64_t OpenCompressed(FileHandle file, const std::string& name, int entry,
                             int side, TableSide& table) {
    const int error = OpenCompressedTable(file, table.compressed);
    if (error != 0) ReportUnreadable(name, error);
    if (table.compressed->blockSize != kBlockSize) {
        Write("*** %s: Unsupported block size %d\n", name.c_str(),
              static_cast<int>(table.compressed->blockSize));
        EndProgram();
    }
    std::uint64_t values = table.compressed->Length();
    if (EntryOf(entry).wide) values /= 2;
    CheckLength(name, values, entry, side);
    return values;
}

// The length of a plain file of 16-bit values is not looked at: a file that is too short
// shows when the missing block is read.
std::uint64_t MeasurePlain(FileHandle file, const std::string& name, int entry,
                           int side) {
    if (EntryOf(entry).wide) return EntryOf(entry).size[side];
    const std::int64_t length = FileSize(file);
    if (length < 0) {
        Write("*** Seek in %s failed\n", name.c_str());
        EndProgram();
    }
    CheckLength(name, static_cast<std::uint64_t>(length), entry, side);
    return static_cast<std::uint64_t>(length);
}

// True when the table side is there, now or from an earlier directory.
// The first directory that has a file wins; a plain file goes before a compressed one.
// Material is entered once a file of either side is there, and a probe of the missing
// side then finds no path.
bool RegisterTable(const std::string& directory, int entry, int side) {
    if (ShapeOf(entry).symmetric) side = WHITE;
    TableSide& table = Tables[entry][side];
    if (!table.path.empty()) return true;
    std::string name = directory;
    if (!name.empty()) name += kPathSeparator;
    name += EntryOf(entry).name;
    name += kExtension[side];
    TableFile file = OpenTableFile(name.c_str());
    std::uint64_t values;
    if (file) {
        values = MeasurePlain(file.get(), name, entry, side);
    } else {
        file = OpenCompressedName(name);
        if (!file) return false;
        values = OpenCompressed(file.get(), name, entry, side, table);
    }
    table.size = static_cast<std::uint32_t>(values);
    if (!EnterMaterial(entry)) {
        Write("*** Unable to register %s\n", name.c_str());
        EndProgram();
    }
    table.path = std::move(name);
    return true;
}

int MenOfLargest(int entry) {
    if (entry >= kFirstSixMen) return 6;
    if (entry >= kFirstFiveMen) return 5;
    if (entry >= kFirstFourMen) return 4;
    return entry >= 1 ? 3 : 0;
}

// Memory of the compressed tables, the decode buffer included; 0 when there are none.
std::uint64_t CompressedBytes() {
    std::uint64_t bytes = 0;
    for (const auto& sides : Tables)
        for (const TableSide& side : sides)
            if (side.compressed) bytes += side.compressed->Bytes();
    if (bytes == 0) return 0;
    if (const int error = AllocateDecodeBuffer(); error != 0) {
        Write("*** Cannot allocate decode block: error code %d\n", error);
        EndProgram();
    }
    return bytes + kDecodeBufferSize;
}

}  // namespace

int RegisterTables(const char* pathList, std::uint64_t& compressedBytes) {
    BuildIndexTables();
    ReleaseTables();
    int largest = 0;
    for (const std::string& directory : SplitPathList(pathList))
        for (int entry = 1; entry < kTableEntries; ++entry) {
            bool found = RegisterTable(directory, entry, WHITE);
            if (!ShapeOf(entry).symmetric)
                found |= RegisterTable(directory, entry, BLACK);
            // Entries are listed by rising number of men, so that the largest number
            // tells it.
            if (found && entry > largest) largest = entry;
        }
    compressedBytes = CompressedBytes();
    return MenOfLargest(largest);
}

void CloseTableFiles() {
    for (auto& sides : Tables)
        for (TableSide& side : sides) side.file.reset();
}
