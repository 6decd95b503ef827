// Reading of table files: 64-bit offsets, every read at a place of its own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

// Separates a directory from a file name.
#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

struct CloseTableFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using TableFile = std::unique_ptr<std::FILE, CloseTableFile>;

// Empty when the file cannot be opened for reading.
TableFile OpenTableFile(const char* path);
// Length in bytes; -1 on failure.
std::int64_t TableFileLength(std::FILE* file);
// Reads up to `size` bytes from `offset` on. Bytes read, fewer at the end of the file; -1
// on failure.
std::int64_t ReadTableFile(std::FILE* file, std::uint64_t offset, void* buffer,
                           std::size_t size);
