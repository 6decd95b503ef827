// A table file that is closed when its owner lets it go.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/files.h"

// Separates a directory from a file name.
inline constexpr char kPathSeparator =
    static_cast<char>(std::filesystem::path::preferred_separator);

// As a deleter of its own type, the owner is no larger than the pointer.
struct CloseTableFile {
    void operator()(FileHandle file) const { CloseFile(file); }
};
using TableFile = std::unique_ptr<std::FILE, CloseTableFile>;

// Empty when the file cannot be opened for reading.
inline TableFile OpenTableFile(const char* path) {
    return TableFile(OpenFile(path, FileMode::Read));
}
