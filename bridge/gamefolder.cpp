// The engine takes no options on its command line: it reads Veltramox.ini in its working
// folder and writes its files there. So each start gets a fresh temporary folder, with
// links to what is to last.
#include "bridge/gamefolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>

#include "bridge/lines.h"
#include "bridge/options.h"

namespace fs = std::filesystem;

GameFolders Folders;

namespace {

constexpr char kSettingsName[] = "Veltramox.ini";
constexpr char kBookName[] = "Book.vlx";
// Written while the engine plays.
constexpr const char* kLearningNames[] = {"Learn.vl1", "learn.log"};

// The engine's folder: this, the bridge's process number, "-" and six letters.
constexpr char kFolderPrefix[] = "veltramox-bridge-";
constexpr std::size_t kFolderLetters = 6;
constexpr int kMostFolderTries = 5;
// With the links' names a settings line, which holds 249 characters, carries so many.
constexpr std::size_t kMostTableFolders = 80;
constexpr std::size_t kLongestSettings = 1 << 20;

// As much as kLongestSettings of it; empty when there is none.
std::string ReadSettings(const fs::path& name) {
    std::ifstream file(name, std::ios::binary);
    std::string text(kLongestSettings, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

// A link where results are to last, otherwise a copy: the engine writes what it learns
// into its book, and the book as installed must not change.
void PlaceBook(const fs::path& folder, std::error_code& error) {
    if (OptionValue("OwnBook") != "true" || OptionValue("UCI_AnalyseMode") == "true")
        return;
    if (!Folders.lasting.empty())
        fs::create_symlink(fs::path(Folders.lasting) / kBookName, folder / kBookName,
                           error);
    else if (fs::exists(Folders.StandardBook, error))
        fs::copy_file(Folders.StandardBook, folder / kBookName, error);
}

// The engine's settings are plain ASCII, short and without separators in names: whatever
// a folder of tables is called, the engine finds it under a number. Returns the lines for
// the settings file.
std::string PlaceTables(const fs::path& folder, std::string& remark) {
    std::string missing, names;
    std::vector<std::string> tables =
        TableFolders(OptionValue("EGTBPath"), Folders.lasting, missing);
    while (tables.size() > kMostTableFolders) {
        missing += (missing.empty() ? "" : ", ") + tables.back();
        tables.pop_back();
    }
    int number = 0;
    for (const std::string& one : tables) {
        const std::string name = std::to_string(++number);
        std::error_code error;
        fs::create_symlink(fs::absolute(one), folder / name, error);
        if (error || access((folder / name).c_str(), R_OK | X_OK) != 0)
            missing += (missing.empty() ? "" : ", ") + one;
        else
            names += (names.empty() ? "" : ";") + name;
    }
    if (!missing.empty()) remark = "no endgame tables can be read in " + missing;
    return names.empty() ? "UseEGTB=off\n" : "EGTBPath=" + names + '\n';
}

// ---- The engine's folder ----
// It is this process's as long as the lock on it is held, which the system lets go
// however the process ends. Process numbers alone would not do: those of a container say
// nothing outside.

fs::path TemporaryFolder() {
    const char* named = std::getenv("TMPDIR");
    return named != nullptr && *named != '\0' ? named : "/tmp";
}

enum class LockState { Held, Taken, Impossible };

// Held: `lock` is the descriptor to be closed when it is let go.
LockState LockFolder(const std::string& name, int& lock) {
    lock = open(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (lock < 0) return errno == ENOENT ? LockState::Taken : LockState::Impossible;
    if (flock(lock, LOCK_EX | LOCK_NB) == 0) return LockState::Held;
    const bool taken = errno == EWOULDBLOCK;
    close(lock);
    lock = -1;
    return taken ? LockState::Taken : LockState::Impossible;
}

// The process number in the name of an engine's folder; 0: it is another name.
pid_t OwnerOf(const std::string& name) {
    const std::size_t begin = sizeof kFolderPrefix - 1;
    if (name.compare(0, begin, kFolderPrefix) != 0) return 0;
    const std::size_t end = name.find('-', begin);
    long long number = 0;
    if (end == std::string::npos || name.size() != end + 1 + kFolderLetters ||
        !ToNumber(name.substr(begin, end - begin), number) || number <= 0 ||
        number > std::numeric_limits<pid_t>::max())
        return 0;
    return static_cast<pid_t>(number);
}

// Removes the folder if its bridge is dead. The owner's number is only a first look,
// which spares opening; the lock decides.
void SweepFolder(const fs::path& folder) {
    const pid_t owner = OwnerOf(folder.filename().string());
    struct stat about = {};
    if (owner == 0 || lstat(folder.c_str(), &about) != 0 || !S_ISDIR(about.st_mode) ||
        about.st_uid != geteuid() || kill(owner, 0) == 0 || errno != ESRCH)
        return;
    int lock;
    if (LockFolder(folder.string(), lock) != LockState::Held) return;
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    close(lock);
}

// Once in a process: a bridge restarts its engine often, and the folder may hold very
// many entries.
void SweepOnce(const fs::path& temporary) {
    static bool swept = false;
    if (swept) return;
    swept = true;
    std::error_code error;
    fs::directory_iterator entry(temporary, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        SweepFolder(entry->path());
}

// Another bridge's sweep may take the folder before it is locked: then another one.
std::string MakeLockedFolder(const fs::path& temporary) {
    const std::string prefix = kFolderPrefix + std::to_string(getpid()) + '-';
    for (int i = 0; i < kMostFolderTries; ++i) {
        std::string name =
            (temporary / (prefix + std::string(kFolderLetters, 'X'))).string();
        if (mkdtemp(name.data()) == nullptr) return "";
        struct stat about = {};
        if (LockFolder(name, Folders.lock) != LockState::Taken &&
            lstat(name.c_str(), &about) == 0)
            return name;
        if (Folders.lock >= 0) close(Folders.lock);
        Folders.lock = -1;
    }
    return "";
}

}  // namespace

bool UseGameFolder(const std::string& folder, std::string& fault) {
    std::error_code error;
    Folders.lasting.clear();
    if (!folder.empty()) {
        if (!fs::is_directory(folder, error)) {
            fault = "no folder " + folder;
            return false;
        }
        Folders.lasting = fs::absolute(folder, error).string();
    }
    ReadBaseSettings(
        folder.empty() ? "" : ReadSettings(fs::path(Folders.lasting) / kSettingsName),
        !folder.empty());
    return true;
}

std::string MakeEngineFolder(std::string& fault) {
    RemoveEngineFolder();
    const fs::path temporary = TemporaryFolder();
    SweepOnce(temporary);
    Folders.engines = MakeLockedFolder(temporary);
    if (Folders.engines.empty()) {
        fault = "no folder can be made in " + temporary.string();
        return "";
    }
    std::error_code error;
    const fs::path folder(Folders.engines);
    if (!Folders.lasting.empty())
        for (const char* file : kLearningNames)
            fs::create_symlink(fs::path(Folders.lasting) / file, folder / file, error);
    PlaceBook(folder, error);
    std::ofstream settings(folder / kSettingsName, std::ios::binary);
    settings << WriteSettings() << PlaceTables(folder, fault);
    if (!settings.flush() || error) {
        fault = "the engine's folder cannot be filled";
        return "";
    }
    return Folders.engines;
}

void RemoveEngineFolder() {
    std::error_code ignored;
    if (!Folders.engines.empty()) fs::remove_all(Folders.engines, ignored);
    Folders.engines.clear();
    if (Folders.lock >= 0) close(Folders.lock);
    Folders.lock = -1;
}
