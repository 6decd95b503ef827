#include "egtb/tablefile.h"

namespace {

bool SeekTo(std::FILE* file, std::int64_t offset, int origin) {
#ifdef _WIN32
    return _fseeki64(file, offset, origin) == 0;
#else
    static_assert(sizeof(off_t) == 8, "tables are larger than 2 GB");
    return fseeko(file, offset, origin) == 0;
#endif
}

std::int64_t PlaceIn(std::FILE* file) {
#ifdef _WIN32
    return _ftelli64(file);
#else
    return ftello(file);
#endif
}

}  // namespace

TableFile OpenTableFile(const char* path) {
    TableFile file(std::fopen(path, "rb"));
    // Blocks are cached by the caller: a second buffer would only be copied from.
    if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

std::int64_t TableFileLength(std::FILE* file) {
    return SeekTo(file, 0, SEEK_END) ? PlaceIn(file) : -1;
}

std::int64_t ReadTableFile(std::FILE* file, std::uint64_t offset, void* buffer,
                           std::size_t size) {
    if (!SeekTo(file, static_cast<std::int64_t>(offset), SEEK_SET)) return -1;
    const std::size_t count = std::fread(buffer, 1, size, file);
    if (count < size && std::ferror(file) != 0) {
        std::clearerr(file);
        return -1;
    }
    return static_cast<std::int64_t>(count);
}
