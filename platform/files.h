// Binary files, read and written at given offsets. Every access seeks first and nothing
// is buffered: what a call has written is with the operating system when it returns, and
// a program killed afterwards loses none of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

using FileHandle = std::FILE*;  // nullptr: no file

enum class FileMode {
    Read,    // an existing file
    Update,  // an existing file, for reading and writing
    Create,  // a new or emptied file, for reading and writing
};

// nullptr when the file cannot be opened so.
FileHandle OpenFile(const char* name, FileMode mode);
// Closes the file if there is one; the handle is nullptr afterwards.
void CloseFile(FileHandle& file);
// Bytes; -1 when that cannot be said.
std::int64_t FileSize(FileHandle file);

// All of `size` bytes; false when the file ends before, or on an error. The buffer's
// content is then undefined.
bool ReadAt(FileHandle file, std::int64_t offset, void* buffer, std::size_t size);
// False when not all could be written: a full disk, a file opened for reading only.
bool WriteAt(FileHandle file, std::int64_t offset, const void* buffer, std::size_t size);
// The next bytes in sequence, at most `size`; 0 at the end and on an error.
std::size_t ReadNext(FileHandle file, void* buffer, std::size_t size);

// Adds text to a file's end, creating the file when there is none.
bool AppendText(const char* name, const char* text);
// Writes a whole file so that the name holds either the old content or the new one at
// every moment: a file beside it takes its place when complete.
bool ReplaceFile(const char* name, const void* content, std::size_t size);

// ---- Files as memory ----
struct FileMapping {
    std::uint8_t* bytes = nullptr;  // nullptr: nothing is mapped
    std::size_t size = 0;
};
// Maps the first `size` bytes of an existing file, which must have them. What is stored
// there is in the file at once, also when the program is killed with the next
// instruction.
bool MapFile(FileMapping& mapping, const char* name, std::size_t size);
void UnmapFile(FileMapping& mapping);
