// One section for each subcommand: its options, what it writes, and its place in the
// command line. Options live in a shared record that the parser's callback keeps alive.
#include "tools/tables_commands.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "board/types.h"
#include "egtb/indextables.h"
#include "platform/output.h"
#include "tools/progress.h"
#include "tools/report.h"
#include "tools/tables_check.h"
#include "tools/tables_make.h"
#include "tools/tables_pack.h"
#include "tools/tables_probe.h"
#include "tools/tables_store.h"

namespace fs = std::filesystem;

namespace {

// As many threads as the machine runs at once.
int DefaultJobs() {
    const unsigned cores = std::thread::hardware_concurrency();
    return cores == 0 ? 1 : static_cast<int>(cores);
}

// Number in the list of tables; a wrong name is a mistake of the command line.
int EntryNamed(const std::string& name) {
    const int entry = FindTable(name);
    if (entry == 0) throw CLI::ValidationError("there is no table " + name);
    return entry;
}

// Every subcommand has a switch of its own, for each has its own record of options.
void AddJson(CLI::App* command, bool& json) {
    command->add_flag("--json", json, "Write the report as JSON");
}

// A list under "tables" that is whole also when the work behind it fails. `work` adds to
// it and returns the members that stand behind it.
template <typename Work>
void ReportTables(const Json& members, const Work& work) {
    JsonList list = BeginJsonList(members, "tables");
    Json after = Json::object();
    try {
        after = work(list);
    } catch (...) {
        EndJsonList(list, after);
        throw;
    }
    EndJsonList(list, after);
}

// Of the environment; "" when it is not set.
std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

// "tables" in the player's game folder, which the start script finds by the same rules;
// without a home, in the current directory.
std::string DefaultDirectory() {
    if (const std::string folder = Variable("VELTRAMOX_GAME"); !folder.empty())
        return (fs::path(folder) / "tables").string();
    if (const fs::path data = Variable("XDG_DATA_HOME"); data.is_absolute())
        return (data / "veltramox" / "tables").string();
    if (const fs::path home = Variable("HOME"); home.is_absolute())
        return (home / ".local" / "share" / "veltramox" / "tables").string();
    return "tables";
}

// Of a name that nothing has: what stands there already is not ours.
fs::path NewFolderBeside(const fs::path& directory) {
    constexpr int kMostTries = 1000;
    std::error_code error;
    for (int i = 0; i < kMostTries; ++i) {
        const fs::path name = directory.string() + ".new" + std::to_string(i);
        if (!fs::is_symlink(name, error) && fs::create_directory(name, error))
            return name;
    }
    throw std::runtime_error("no folder can be made beside " + directory.string());
}

// In a new game folder "tables" leads to the tables that came with the program, where
// nobody writes: a directory of the player's own takes its place, with the same tables.
void MakeOwn(const fs::path& directory) {
    if (!fs::is_symlink(directory)) return;
    // Complete beside the link before the link goes, so that no failed copy costs the
    // tables.
    const fs::path copy = NewFolderBeside(directory);
    try {
        if (fs::is_directory(directory))
            for (const fs::directory_entry& file : fs::directory_iterator(directory))
                if (file.is_regular_file())
                    fs::copy_file(file.path(), copy / file.path().filename());
        fs::remove(directory);
        fs::rename(copy, directory);
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(copy, ignored);
        throw;
    }
}

// ---- make ----

// What the command line says of making.
struct MakeOptions {
    std::vector<std::string> names;
    std::vector<int> men;
    std::string directory;
    int jobs = DefaultJobs();
    bool json = false;
};

// A line as each table is ready: the large ones are long in coming.
void WriteMade(const MadeTable& table) {
    const std::string name(EntryOf(table.entry).name);
    if (!table.made) {
        Write("%-6s there already\n", name.c_str());
        return;
    }
    Write(
        "%-6s %d of %d  White to move: wins in %d, loses in %d; Black to move: wins in "
        "%d, loses in %d; %.1f s",
        name.c_str(), table.position, table.total, table.longestWin[0],
        table.longestLoss[0], table.longestWin[1], table.longestLoss[1], table.seconds);
    if (table.secondsLeft >= 1)
        Write("; %s left", DurationText(table.secondsLeft).c_str());
    Write("\n");
    FlushOutput();
}

// A table that was there already has no more than its name.
Json JsonOfMade(const MadeTable& table) {
    Json json = {{"name", EntryOf(table.entry).name}, {"made", table.made}};
    if (!table.made) return json;
    json["position"] = table.position;
    json["total"] = table.total;
    for (const int side : {WHITE, BLACK})
        json[side == WHITE ? "whiteToMove" : "blackToMove"] = {
            {"wins", table.longestWin[side]}, {"loses", table.longestLoss[side]}};
    json["milliseconds"] = static_cast<std::int64_t>(1000 * table.seconds);
    json["secondsLeft"] = static_cast<std::int64_t>(table.secondsLeft + 0.5);
    return json;
}

// The tables of whole numbers of men come first, then those by name; MakeTables finds the
// order that they need.
void RunMake(const MakeOptions& options) {
    BuildIndexTables();
    std::vector<int> entries;
    for (const int men : options.men)
        for (const int entry : TablesWithMen(men)) entries.push_back(entry);
    for (const std::string& name : options.names) entries.push_back(EntryNamed(name));
    if (entries.empty()) throw CLI::ValidationError("name tables, or give --men");
    std::string directory = options.directory;
    if (directory.empty()) {
        directory = DefaultDirectory();
        MakeOwn(directory);
    }
    if (!options.json) {
        Write("Tables in %s\n", directory.c_str());
        FlushOutput();
        MakeTables(entries, directory, options.jobs, WriteMade);
        return;
    }
    ReportTables({{"directory", directory}}, [&](JsonList& list) {
        MakeTables(entries, directory, options.jobs, [&list](const MadeTable& table) {
            AddToJsonList(list, JsonOfMade(table));
            FlushOutput();
        });
        return Json::object();
    });
}

// The default directory is named in the help, as it depends on the environment.
void AddMake(CLI::App& tables) {
    CLI::App* make = tables.add_subcommand(
        "make", "Make tables and those they need; tables that are there are kept");
    auto options = std::make_shared<MakeOptions>();
    make->add_option("names", options->names, "Tables by name: krk kbnk kqkr ...");
    make->add_option("--men", options->men, "All tables with this many men")
        ->check(CLI::Range(3, kMostMenMade));
    make->add_option("-o,--output", options->directory,
                     "Directory of the tables; without it, " + DefaultDirectory());
    make->add_option("--jobs", options->jobs, "Threads")->check(CLI::Range(1, 256));
    AddJson(make, options->json);
    make->callback([options] { RunMake(*options); });
}

// ---- pack and unpack ----

// What the command line says of packing and unpacking, which differ in direction alone.
struct PackOptions {
    std::vector<std::string> paths;
    std::string directory;
    bool remove = false;
    int jobs = DefaultJobs();
    bool json = false;
};

bool IsPacked(const fs::path& file) { return file.extension() == ".emd"; }
bool IsPlain(const fs::path& file) {
    return file.extension() == ".nbw" || file.extension() == ".nbb";
}

// Table files among the paths and in the directories among them, sorted by name.
std::vector<fs::path> TableFilesOf(const std::vector<std::string>& paths, bool packing) {
    const auto wanted = packing ? IsPlain : IsPacked;
    std::vector<fs::path> files;
    for (const fs::path path : paths) {
        if (!fs::exists(path)) throw std::runtime_error("there is no " + path.string());
        if (!fs::is_directory(path)) {
            if (!wanted(path))
                throw std::runtime_error(
                    path.string() + (packing ? ": only .nbw and .nbb files are packed"
                                             : ": only .emd files are unpacked"));
            files.push_back(path);
            continue;
        }
        // Other files of a directory are passed over; one that is named must be a table.
        for (const fs::directory_entry& entry : fs::directory_iterator(path))
            if (entry.is_regular_file() && wanted(entry.path()))
                files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Writes the other form of each file, next to it or to the given directory. A file is
// removed only when its other form is complete; an error ends the work, what was written
// stays.
void Convert(const PackOptions& options, bool packing) {
    std::uintmax_t plainBytes = 0, packedBytes = 0;
    std::uint64_t done = 0;
    const std::vector<fs::path> files = TableFilesOf(options.paths, packing);
    for (const fs::path& file : files) {
        ShowProgress(packing ? "Packing" : "Unpacking", done++, files.size());
        const std::vector<std::uint8_t> values = LoadTableFile(file);
        if (values.empty()) throw std::runtime_error(file.string() + " is empty");
        const std::vector<std::uint8_t> data =
            packing ? PackTable(values, options.jobs) : values;
        fs::path name = packing ? fs::path(file.filename().string() + ".emd")
                                : fs::path(PlainFileName(file));
        name = (options.directory.empty() ? file.parent_path()
                                          : fs::path(options.directory)) /
               name;
        plainBytes += values.size();
        packedBytes += packing ? data.size() : fs::file_size(file);
        WriteWholeFile(name, data);
        if (options.remove) fs::remove(file);
    }
    EndProgress();
    if (options.json) {
        WriteJson({{"files", files.size()},
                   {"plainBytes", plainBytes},
                   {"packedBytes", packedBytes}});
        return;
    }
    Write("%zu files, %ju bytes of values, %ju bytes packed", files.size(), plainBytes,
          packedBytes);
    if (packedBytes > 0)
        Write(", ratio %.2f",
              static_cast<double>(plainBytes) / static_cast<double>(packedBytes));
    Write("\n");
}

void AddPack(CLI::App& tables, bool packing) {
    CLI::App* command =
        packing
            ? tables.add_subcommand("pack", "Compress table files to .emd files")
            : tables.add_subcommand("unpack", "Write .emd files as plain table files");
    auto options = std::make_shared<PackOptions>();
    command->add_option("paths", options->paths, "Table files, or directories of them")
        ->required();
    command->add_option("-o,--output", options->directory,
                        "Directory for the results; without it, next to the files");
    command->add_flag("--remove", options->remove,
                      "Remove each file when it is converted");
    command->add_option("--jobs", options->jobs, "Threads")->check(CLI::Range(1, 256));
    AddJson(command, options->json);
    command->callback([options, packing] { Convert(*options, packing); });
}

// ---- check ----

// What the command line says of checking.
struct CheckCommand {
    std::string directory = ".";
    std::vector<std::string> names;
    CheckOptions options{.jobs = DefaultJobs()};
    bool json = false;
};

// A fault of the files leaves nothing to compare, and is then all that is said.
void WriteChecked(const CheckedTable& table) {
    const std::string name(EntryOf(table.entry).name);
    if (!table.fault.empty())
        Write("%-6s FAULT: %s\n", name.c_str(), table.fault.c_str());
    else if (!table.notCompared.empty())
        Write("%-6s files good, values not compared: %s\n", name.c_str(),
              table.notCompared.c_str());
    else
        Write("%-6s good, %ju positions compared\n", name.c_str(),
              static_cast<std::uintmax_t>(table.compared));
    if (table.wrong > 1)
        Write("%-6s and %ju positions more\n", "",
              static_cast<std::uintmax_t>(table.wrong - 1));
    FlushOutput();
}

Json JsonOfChecked(const CheckedTable& table) {
    Json json = {{"name", EntryOf(table.entry).name},
                 {"good", table.fault.empty()},
                 {"compared", table.compared},
                 {"wrong", table.wrong}};
    if (!table.fault.empty()) json["fault"] = table.fault;
    if (!table.notCompared.empty()) json["notCompared"] = table.notCompared;
    return json;
}

// Any file of any table: a check of nothing must not come out as good.
bool HoldsTables(const fs::path& directory) {
    for (int entry = 1; entry < kTableEntries; ++entry)
        for (int side : {WHITE, BLACK})
            if (!FindTableFile(directory, entry, side).empty()) return true;
    return false;
}

// A directory without tables is an error: it is most likely the wrong one.
void RunCheck(const CheckCommand& check) {
    BuildIndexTables();
    if (!fs::is_directory(check.directory))
        throw std::runtime_error("there is no directory " + check.directory);
    std::vector<int> entries;
    for (const std::string& name : check.names) entries.push_back(EntryNamed(name));
    if (entries.empty() && !HoldsTables(check.directory))
        throw std::runtime_error("there are no tables in " + check.directory);
    bool good = true;
    if (!check.json)
        good = CheckTables(check.directory, entries, check.options, WriteChecked);
    else
        ReportTables({{"directory", check.directory}}, [&](JsonList& list) {
            good = CheckTables(check.directory, entries, check.options,
                               [&list](const CheckedTable& table) {
                                   AddToJsonList(list, JsonOfChecked(table));
                                   FlushOutput();
                               });
            return Json::object({{"good", good}});
        });
    if (!good) throw CLI::RuntimeError(1);
}

void AddCheck(CLI::App& tables) {
    CLI::App* command = tables.add_subcommand(
        "check", "Verify table files: lengths, blocks, values; status 1 when damaged");
    auto check = std::make_shared<CheckCommand>();
    command->add_option("DIR", check->directory, "Directory of the tables")->required();
    command->add_option("names", check->names, "Only these tables");
    command->add_flag("--full", check->options.full, "Compare all positions");
    command
        ->add_option("--sample", check->options.sample,
                     "Positions of each file to compare")
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 32))
        ->capture_default_str();
    command->add_option("--jobs", check->options.jobs, "Threads")
        ->check(CLI::Range(1, 256));
    AddJson(command, check->json);
    command->callback([check] { RunCheck(*check); });
}

// ---- probe ----

// What the command line says of probing.
struct ProbeOptions {
    std::string directory = DefaultDirectory(), fen;
    bool json = false;
};

void AddProbe(CLI::App& tables) {
    CLI::App* probe =
        tables.add_subcommand("probe", "Result of a position, and the line to mate");
    auto options = std::make_shared<ProbeOptions>();
    probe
        ->add_option("--dir", options->directory,
                     "Directories of the tables, separated by \";\"")
        ->capture_default_str();
    AddJson(probe, options->json);
    probe->add_option("FEN", options->fen, "The position")->required();
    probe->callback([options] {
        const int status = ProbeTables(options->directory, options->fen, options->json);
        if (status != 0) throw CLI::RuntimeError(status);
    });
}

}  // namespace

void AddTablesCommands(CLI::App& tool) {
    CLI::App* tables = tool.add_subcommand("tables", "Endgame tables");
    tables->require_subcommand(1);
    AddMake(*tables);
    AddPack(*tables, true);
    AddPack(*tables, false);
    AddCheck(*tables);
    AddProbe(*tables);
}
