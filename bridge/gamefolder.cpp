#include "bridge/gamefolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bridge/options.h"

namespace fs = std::filesystem;

std::string StandardBook;

namespace {

constexpr char kSettingsName[] = "Veltramox.ini";
constexpr char kBookName[] = "Book.vlx";
// Written while the engine plays.
constexpr const char* kLearningNames[] = {"Learn.vl1", "learn.log"};

std::string LastingFolder;
std::string EngineFolder;

std::string ReadWhole(const fs::path& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void PlaceBook(const fs::path& folder, std::error_code& error) {
    if (OptionValue("OwnBook") != "true") return;
    if (!LastingFolder.empty())
        fs::create_symlink(fs::path(LastingFolder) / kBookName, folder / kBookName,
                           error);
    else if (fs::exists(StandardBook, error))
        fs::copy_file(StandardBook, folder / kBookName, error);
}

}  // namespace

bool UseGameFolder(const std::string& folder, std::string& fault) {
    std::error_code error;
    LastingFolder.clear();
    if (!folder.empty()) {
        if (!fs::is_directory(folder, error)) {
            fault = "no folder " + folder;
            return false;
        }
        LastingFolder = fs::absolute(folder, error).string();
    }
    ReadBaseSettings(
        folder.empty() ? "" : ReadWhole(fs::path(LastingFolder) / kSettingsName),
        LastingFolder);
    return true;
}

std::string MakeEngineFolder(std::string& fault) {
    RemoveEngineFolder();
    std::error_code error;
    std::string name =
        (fs::temp_directory_path(error) / "veltramox-bridge-XXXXXX").string();
    if (error || mkdtemp(name.data()) == nullptr) {
        fault = "no temporary folder can be made";
        return "";
    }
    EngineFolder = name;
    const fs::path folder(name);
    if (!LastingFolder.empty())
        for (const char* file : kLearningNames)
            fs::create_symlink(fs::path(LastingFolder) / file, folder / file, error);
    PlaceBook(folder, error);
    std::ofstream settings(folder / kSettingsName, std::ios::binary);
    settings << WriteSettings();
    if (!settings.flush() || error) {
        fault = "the engine's folder cannot be filled";
        return "";
    }
    return name;
}

void RemoveEngineFolder() {
    if (EngineFolder.empty()) return;
    std::error_code ignored;
    fs::remove_all(EngineFolder, ignored);
    EngineFolder.clear();
}
