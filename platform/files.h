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
// Opens for reading and writing; creates an empty file when there is none, and says so.
// Never empties one, for another program may have made it meanwhile.
FileHandle OpenOrCreateFile(const char* name, bool& created);
// Closes the file if there is one; the handle is nullptr afterwards.
void CloseFile(FileHandle& file);
// Bytes; -1 when that cannot be said.
std::int64_t FileSize(FileHandle file);
// The name still leads to this open file: nobody has removed or replaced it.
bool IsStillCalled(FileHandle file, const char* name);

// All of `size` bytes; false when the file ends before, or on an error. The buffer's
// content is then undefined.
bool ReadAt(FileHandle file, std::int64_t offset, void* buffer, std::size_t size);
// False when not all could be written: a full disk, a file opened for reading only.
bool WriteAt(FileHandle file, std::int64_t offset, const void* buffer, std::size_t size);
// The next bytes in sequence, at most `size`; sleeps until a pipe has some. 0 at the end,
// on an error, and once the operating system has asked the program to end: a file may be
// endless.
std::size_t ReadNext(FileHandle file, void* buffer, std::size_t size);

// Adds text to a file's end, creating the file when there is none. When it cannot be
// written whole, the file is as before.
bool AppendText(const char* name, const char* text);
// Gives a file its length of before a write that failed; nothing when that is negative.
void ShortenFile(FileHandle file, std::int64_t before);
// Writes a whole file so that the name holds either the old content or the new one at
// every moment, also when several programs write it at once or the system goes down: a
// file beside it, of a name that no other has, takes its place when it is complete and on
// the disk. The file that a link leads to is written, and keeps its mode. Pipes and
// character devices are written straight; block devices and folders are refused. False
// when it fails; the file beside is then gone, also when the program is asked to end.
bool ReplaceFile(const char* name, const void* content, std::size_t size);

// ---- Locks ----
// Keeps other programs that lock any of the same bytes out while it lives, so that
// reading, changing and writing them is one step for all of them. Programs that do not
// lock are not held up. Waits for its turn two seconds at most, for the holder may have
// been stopped; after that, and on file systems that have no locks, it locks nothing and
// the program goes on. A program that is killed leaves no lock.
struct FileLock {
    FileLock(FileHandle lockedFile, std::int64_t offset, std::int64_t size);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    // What the destructor unlocks, with the offsets below; the file must still be open
    // then.
    FileHandle file;  // nullptr: nothing is locked
    std::int64_t first, length;
};

// ---- Files as memory ----
// Written by MapFile and UnmapFile alone.
struct FileMapping {
    std::uint8_t* bytes = nullptr;  // nullptr: nothing is mapped
    std::size_t size = 0;
};
// Maps the first `size` bytes of a file open for writing, which must have them, one
// mapping at a time. Their room on the disk is taken at once; false when there is none.
// What is stored there is in the file at once, also when the program is killed with the
// next instruction.
bool MapFile(FileMapping& mapping, FileHandle file, std::size_t size);
// Nothing when nothing is mapped. What was stored stays in the file.
void UnmapFile(FileMapping& mapping);
// Part of the file under the mapping has been lost, cut off by another program or
// unreadable: what was stored there is not in it.
bool MappingDamaged();
