// Files on POSIX systems, as far as the C library does not reach: replacing, locking and
// mapping them.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/process.h"

namespace fs = std::filesystem;

namespace {

// ---- Signals while a temporary file is there ----

bool IsIgnored(int signal) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Signals that would end the program wait until the file has been renamed or removed.
// Those that it ignores are left out: held back, they would count as pending.
struct SignalsHeld {
    SignalsHeld() {
        sigemptyset(&held);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGXFSZ})
            if (!IsIgnored(signal)) sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &before);
    }
    // A write beyond the limit has failed, which its caller says; it kills nobody.
    ~SignalsHeld() {
        const timespec atOnce = {0, 0};
        sigset_t tooLarge;
        sigemptyset(&tooLarge);
        sigaddset(&tooLarge, SIGXFSZ);
        if (sigismember(&held, SIGXFSZ) == 1) sigtimedwait(&tooLarge, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;
    sigset_t held, before;
};

bool EndIsPending() {
    sigset_t pending;
    if (TerminationRequested()) return true;
    if (sigpending(&pending) != 0) return false;
    return sigismember(&pending, SIGTERM) == 1 || sigismember(&pending, SIGINT) == 1 ||
           sigismember(&pending, SIGHUP) == 1;
}

// ---- Replacing ----

// In pieces, so that a request to end is seen between two of them.
bool WriteAll(int descriptor, const char* bytes, std::size_t size) {
    constexpr std::size_t kPiece = 1 << 20;
    while (size > 0) {
        if (EndIsPending()) return false;
        const ssize_t put = write(descriptor, bytes, std::min(size, kPiece));
        if (put < 0 && errno != EINTR) return false;
        if (put <= 0) continue;
        bytes += put;
        size -= static_cast<std::size_t>(put);
    }
    return true;
}

// A pipe or a character device has nothing that a rename could keep whole. A disk is
// never meant.
bool WriteStraight(const char* name, const char* bytes, std::size_t size) {
    const int descriptor = open(name, O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool written = WriteAll(descriptor, bytes, size);
    return close(descriptor) == 0 && written;
}

// Where the links lead, also when there is nothing yet.
fs::path BehindLinks(const char* name) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    fs::path path = fs::canonical(name, error);
    if (!error) return path;
    path = name;
    for (int i = 0; i < kMostLinks && fs::is_symlink(path, error); ++i)
        path = path.parent_path() / fs::read_symlink(path, error);
    return path;
}

// A new file in the folder, of a name that nothing there has; -1 when there can be none.
// What a killed program of the same number has left is passed over.
int CreateBeside(const fs::path& folder, mode_t mode, fs::path& name) {
    constexpr int kMostTries = 1000;
    for (int i = 0; i < kMostTries; ++i) {
        name =
            folder / (".veltramox-" + std::to_string(getpid()) + "-" + std::to_string(i));
        const int descriptor =
            open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
    }
    return -1;
}

// File systems without it are not a failure; a disk that is full or broken is.
bool Synchronise(int descriptor) {
    return fsync(descriptor) == 0 || (errno != EIO && errno != ENOSPC && errno != EDQUOT);
}

// The new name is on the disk too.
void SynchroniseFolder(const fs::path& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

// Owner first: changing it takes bits from the mode. Whose file it was may not be ours to
// say.
void TakeOver(int descriptor, const struct stat& old) {
    [[maybe_unused]] const int owner = fchown(descriptor, old.st_uid, old.st_gid);
    [[maybe_unused]] const int mode = fchmod(descriptor, old.st_mode & 07777);
}

// `old` is the file to be replaced; nullptr when there is none.
bool WriteBeside(const fs::path& target, const struct stat* old, const char* bytes,
                 std::size_t size) {
    const fs::path folder = target.has_parent_path() ? target.parent_path() : ".";
    const SignalsHeld held;
    fs::path beside;
    const int descriptor = CreateBeside(folder, old != nullptr ? 0600 : 0666, beside);
    if (descriptor < 0) return false;
    bool done = WriteAll(descriptor, bytes, size);
    if (done && old != nullptr) TakeOver(descriptor, *old);
    done = done && Synchronise(descriptor);
    done = close(descriptor) == 0 && done;
    if (done && rename(beside.c_str(), target.c_str()) == 0) {
        SynchroniseFolder(folder);
        return true;
    }
    unlink(beside.c_str());
    return false;
}

// ---- Locking ----

// SEEK_SET: the offsets are the file's.
struct flock Region(short type, std::int64_t offset, std::int64_t size) {
    struct flock region = {};
    region.l_type = type;
    region.l_whence = SEEK_SET;
    region.l_start = static_cast<off_t>(offset);
    region.l_len = static_cast<off_t>(size);
    return region;
}

// ---- Mapping ----

// One mapping at a time, in reach of the signal handler.
struct WatchedMapping {
    FileMapping mapping;
    volatile std::sig_atomic_t damaged = 0;
} Watched;

// A store hit a page that the file has lost: memory of no file takes its place, and the
// store is made there. Whoever stores asks afterwards. Any other fault ends the program
// as it would have.
void OnBusError(int signal, siginfo_t* fault, void*) {
    const auto at = reinterpret_cast<std::uintptr_t>(fault->si_addr);
    const auto begin = reinterpret_cast<std::uintptr_t>(Watched.mapping.bytes);
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    Watched.damaged = 1;
    if (begin == 0 || at < begin || at - begin >= Watched.mapping.size ||
        mmap(reinterpret_cast<void*>(at / page * page), page, PROT_READ | PROT_WRITE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED)
        std::signal(signal, SIG_DFL);
}

void WatchMapping() {
    struct sigaction action = {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, nullptr);
}

// Storing into a hole of a file takes room, and there may be none by then. A file system
// that cannot reserve room is not a failure.
bool ReserveRoom(int descriptor, std::size_t size) {
    const int error = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    return error != ENOSPC && error != EDQUOT && error != EIO;
}

}  // namespace

void ShortenFile(FileHandle file, std::int64_t before) {
    // When even that fails there is nothing left to do.
    if (before >= 0 && ftruncate(fileno(file), static_cast<off_t>(before)) != 0) return;
}

bool ReplaceFile(const char* name, const void* content, std::size_t size) {
    const char* const bytes = static_cast<const char*>(content);
    struct stat old = {};
    const bool exists = stat(name, &old) == 0;
    if (!exists && errno != ENOENT) return false;
    if (exists && (S_ISFIFO(old.st_mode) || S_ISCHR(old.st_mode)))
        return WriteStraight(name, bytes, size);
    if (exists && !S_ISREG(old.st_mode)) return false;
    return WriteBeside(BehindLinks(name), exists ? &old : nullptr, bytes, size);
}

// Asks again and again instead of sleeping in the kernel: that could be for ever.
FileLock::FileLock(FileHandle lockedFile, std::int64_t offset, std::int64_t size)
    : file(nullptr), first(offset), length(size) {
    constexpr std::int64_t kPatience = 2000;  // ms
    constexpr timespec kPause = {0, 100'000};
    struct flock region = Region(F_WRLCK, offset, size);
    std::int64_t begin = -1;
    while (fcntl(fileno(lockedFile), F_SETLK, &region) != 0) {
        if (errno == EINTR) continue;
        if (errno != EACCES && errno != EAGAIN) return;
        if (begin < 0) begin = ClockMilliseconds();
        if (ClockMilliseconds() - begin > kPatience) return;
        nanosleep(&kPause, nullptr);
    }
    file = lockedFile;
}

// Locks of this kind belong to the process: closing any handle of the same file would let
// them go too.
FileLock::~FileLock() {
    struct flock region = Region(F_UNLCK, first, length);
    if (file != nullptr) fcntl(fileno(file), F_SETLK, &region);
}

bool MapFile(FileMapping& mapping, FileHandle file, std::size_t size) {
    UnmapFile(mapping);
    const int descriptor = fileno(file);
    if (!ReserveRoom(descriptor, size)) return false;
    void* const bytes =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (bytes == MAP_FAILED) return false;
    mapping = {static_cast<std::uint8_t*>(bytes), size};
    Watched.mapping = mapping;
    Watched.damaged = 0;
    WatchMapping();
    return true;
}

void UnmapFile(FileMapping& mapping) {
    if (mapping.bytes == nullptr) return;
    munmap(mapping.bytes, mapping.size);
    mapping = Watched.mapping = FileMapping{};
}

bool MappingDamaged() { return Watched.damaged != 0; }

bool IsStillCalled(FileHandle file, const char* name) {
    struct stat open = {}, named = {};
    return fstat(fileno(file), &open) == 0 && stat(name, &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}
