// Files on Windows, as far as the C library does not reach: replacing, locking and
// mapping them.
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <string>

#undef ReplaceFile  // a macro of that system's, for a function that is not used

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/process.h"

namespace fs = std::filesystem;

namespace {

HANDLE HandleOf(FileHandle file) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
}

// In pieces, so that a request to end is seen between two of them.
bool WriteAll(HANDLE file, const char* bytes, std::size_t size) {
    constexpr std::size_t kPiece = 1 << 20;
    while (size > 0) {
        DWORD put = 0;
        const auto piece = static_cast<DWORD>(std::min(size, kPiece));
        if (TerminationRequested() || !WriteFile(file, bytes, piece, &put, nullptr))
            return false;
        bytes += put;
        size -= put;
    }
    return true;
}

// Pipes and devices ("NUL"); a file of the disk is left alone.
bool IsStraight(const char* name) {
    const HANDLE file =
        CreateFileA(name, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const DWORD type = GetFileType(file);
    CloseHandle(file);
    return type == FILE_TYPE_CHAR || type == FILE_TYPE_PIPE;
}

bool WriteStraight(const char* name, const char* bytes, std::size_t size) {
    const HANDLE file =
        CreateFileA(name, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool written = WriteAll(file, bytes, size);
    return CloseHandle(file) != 0 && written;
}

// A new file in the folder, of a name that nothing there has.
HANDLE CreateBeside(const fs::path& folder, std::string& name) {
    constexpr int kMostTries = 1000;
    for (int i = 0; i < kMostTries; ++i) {
        name = (folder / (".veltramox-" + std::to_string(GetCurrentProcessId()) + "-" +
                          std::to_string(i)))
                   .string();
        const HANDLE file = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS)
            return file;
    }
    return INVALID_HANDLE_VALUE;
}

// Locks keep everybody's reads out here, so they stand far behind the file's end, where
// nobody reads.
OVERLAPPED Region(std::int64_t offset) {
    constexpr std::int64_t kFarBehind = std::int64_t{1} << 61;
    const std::int64_t at = offset + kFarBehind;
    OVERLAPPED region = {};
    region.Offset = static_cast<DWORD>(at);
    region.OffsetHigh = static_cast<DWORD>(at >> 32);
    return region;
}

}  // namespace

void ShortenFile(FileHandle file, std::int64_t before) {
    if (before >= 0) _chsize_s(_fileno(file), before);
}

// Written through: the call returns when the new name is on the disk.
bool ReplaceFile(const char* name, const void* content, std::size_t size) {
    const char* const bytes = static_cast<const char*>(content);
    if (IsStraight(name)) return WriteStraight(name, bytes, size);
    std::error_code error;
    fs::path target = fs::canonical(name, error);
    if (error) target = name;
    if (fs::is_directory(target, error)) return false;
    std::string beside;
    const HANDLE file = CreateBeside(
        target.has_parent_path() ? target.parent_path() : fs::path("."), beside);
    if (file == INVALID_HANDLE_VALUE) return false;
    bool done = WriteAll(file, bytes, size) && FlushFileBuffers(file) != 0;
    done = CloseHandle(file) != 0 && done;
    if (done && MoveFileExA(beside.c_str(), target.string().c_str(),
                            MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0)
        return true;
    DeleteFileA(beside.c_str());
    return false;
}

// Asks again and again instead of sleeping in the system: that could be for ever.
FileLock::FileLock(FileHandle lockedFile, std::int64_t offset, std::int64_t size)
    : file(nullptr), first(offset), length(size) {
    constexpr std::int64_t kPatience = 2000;  // ms
    const std::int64_t begin = ClockMilliseconds();
    for (;;) {
        OVERLAPPED region = Region(offset);
        if (LockFileEx(HandleOf(lockedFile),
                       LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0,
                       static_cast<DWORD>(size), 0, &region))
            break;
        const DWORD error = GetLastError();
        if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) return;
        if (ClockMilliseconds() - begin > kPatience) return;
        Sleep(1);
    }
    file = lockedFile;
}

FileLock::~FileLock() {
    OVERLAPPED region = Region(first);
    if (file != nullptr)
        UnlockFileEx(HandleOf(file), 0, static_cast<DWORD>(length), 0, &region);
}

// The view keeps the file's mapping alive until it goes itself.
bool MapFile(FileMapping& mapping, FileHandle file, std::size_t size) {
    UnmapFile(mapping);
    const HANDLE section =
        CreateFileMappingA(HandleOf(file), nullptr, PAGE_READWRITE, 0, 0, nullptr);
    void* const bytes =
        section != nullptr ? MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, size) : nullptr;
    if (section != nullptr) CloseHandle(section);
    if (bytes == nullptr) return false;
    mapping = {static_cast<std::uint8_t*>(bytes), size};
    return true;
}

void UnmapFile(FileMapping& mapping) {
    if (mapping.bytes != nullptr) UnmapViewOfFile(mapping.bytes);
    mapping = FileMapping{};
}

// A file that is mapped cannot be cut off here.
bool MappingDamaged() { return false; }

// A file that is open cannot be replaced here.
bool IsStillCalled(FileHandle, const char*) { return true; }
