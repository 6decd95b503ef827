// The C library's streams without their buffers: portable, and each call is one access.
#include "platform/files.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace {

// Offsets are 64 bits wide on every system; the C library's own seek is not.
bool Seek(FileHandle file, std::int64_t offset, int origin) {
#ifdef _WIN32
    return _fseeki64(file, offset, origin) == 0;
#else
    return fseeko(file, static_cast<off_t>(offset), origin) == 0;
#endif
}

std::int64_t Tell(FileHandle file) {
#ifdef _WIN32
    return _ftelli64(file);
#else
    return ftello(file);
#endif
}

// A pipe that nobody writes to yet is opened all the same: waiting is for ReadNext, which
// hears the request to end.
FileHandle OpenForReading(const char* name) {
#ifdef _WIN32
    return std::fopen(name, "rb");
#else
    const int descriptor = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return descriptor < 0 ? nullptr : fdopen(descriptor, "rb");
#endif
}

#ifndef _WIN32
// A regular file's length; -1 of anything else.
std::int64_t RegularSize(FileHandle file) {
    struct stat about = {};
    return fstat(fileno(file), &about) == 0 && S_ISREG(about.st_mode) ? about.st_size
                                                                      : -1;
}
#endif

}  // namespace

// Unbuffered: read-ahead would hide what other programs write meanwhile.
FileHandle OpenFile(const char* name, FileMode mode) {
    FileHandle file = mode == FileMode::Read
                          ? OpenForReading(name)
                          : std::fopen(name, mode == FileMode::Update ? "r+b" : "w+b");
    if (file != nullptr) std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

// Created by appending nothing, which makes a file without ever emptying one.
FileHandle OpenOrCreateFile(const char* name, bool& created) {
    FileHandle file = OpenFile(name, FileMode::Update);
    created = file == nullptr && AppendText(name, "");
    return created ? OpenFile(name, FileMode::Update) : file;
}

void CloseFile(FileHandle& file) {
    if (file != nullptr) std::fclose(file);
    file = nullptr;
}

// Where the file's position is shared with other processes it is left alone, here and in
// ReadAt.
std::int64_t FileSize(FileHandle file) {
#ifndef _WIN32
    if (const std::int64_t size = RegularSize(file); size >= 0) return size;
#endif
    return Seek(file, 0, SEEK_END) ? Tell(file) : -1;
}

bool ReadAt(FileHandle file, std::int64_t offset, void* buffer, std::size_t size) {
#ifdef _WIN32
    return Seek(file, offset, SEEK_SET) && std::fread(buffer, 1, size, file) == size;
#else
    char* to = static_cast<char*>(buffer);
    while (size > 0) {
        const ssize_t got = pread(fileno(file), to, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        to += got;
        offset += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
#endif
}

// A write that the system takes only in part has failed: the disk is full. What it took
// stays; callers write in an order in which that does no harm.
bool WriteAt(FileHandle file, std::int64_t offset, const void* buffer, std::size_t size) {
    return Seek(file, offset, SEEK_SET) && std::fwrite(buffer, 1, size, file) == size;
}

// Opened for the one line and closed again, so that others can read and remove the file
// between two lines.
bool AppendText(const char* name, const char* text) {
    FileHandle file = std::fopen(name, "a");
    if (file == nullptr) return false;
    std::setvbuf(file, nullptr, _IONBF, 0);  // what cannot be written is not kept
    bool written;
    {
        const FileLock lock(file, 0, 1);
        const std::int64_t before = FileSize(file);
        written = std::fputs(text, file) >= 0;
        if (!written) ShortenFile(file, before);
    }
    return std::fclose(file) == 0 && written;
}
