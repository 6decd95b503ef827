// Options are a view of the engine's settings: each names the keys that it replaces, and
// ranges and defaults come from the engine's table of them. Lines of the base settings
// that no option has replaced go on to the engine unchanged.
#include "bridge/options.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

#include "bridge/lines.h"
#include "driver/settings.h"
#include "search/strong/rootlines.h"
#include "search/strong/strength.h"

// The engine reads its settings at its start alone: it is restarted for them.
bool OptionsChanged;

namespace {

constexpr long long kMegabyte = 1 << 20;
constexpr std::size_t kLongestText = 4096;
constexpr long long kMostSeed = 2147483647;
constexpr char kAnalyseMode[] = "UCI_AnalyseMode";
// What the engine is told of its tables depends on the folder that it runs in.
constexpr char kTableKeys[] = "EGTBPath;UseEGTB";

struct {
    std::string baseText;                       // settings lines from the game folder
    std::map<std::string, std::string> values;  // by option name, what is shown
    std::map<std::string, bool> set;            // the front end has set it
} Chosen;

// Smaller caches of endgame tables are not set here: log2 of bytes.
constexpr int kLeastCacheBits = 20;

// The engine's own row of the setting, which must exist.
const Setting& SettingOf(std::string_view key) {
    const auto rows = AllSettings();
    return *std::find_if(rows.begin(), rows.end(),
                         [&](const Setting& s) { return EqualNoCase(s.key, key); });
}

// ---- Tables: powers of two in the settings file, megabytes here ----
int LeastBits(const Setting& table) {
    return table.entryBytes == 1 ? kLeastCacheBits : table.lowest;
}

long long TableBytes(const Setting& table, int bits) {
    return static_cast<long long>(table.entryBytes) << bits;
}

// Rounded up.
std::string Megabytes(const Setting& table, int bits) {
    return std::to_string((TableBytes(table, bits) + kMegabyte - 1) / kMegabyte);
}

// The largest table that fits into so many megabytes.
int TableBits(const Setting& table, const std::string& megabytes) {
    const long long bytes = std::stoll(megabytes) * kMegabyte;
    int bits = LeastBits(table);
    while (bits < table.highest && TableBytes(table, bits + 1) <= bytes) ++bits;
    return bits;
}

// ---- Rows of the list of options, from the engine's settings ----
BridgeOption TableOption(const char* name, const char* key) {
    const Setting& table = SettingOf(key);
    return {name,
            OptionKind::Number,
            Megabytes(table, table.standard),
            1,
            TableBytes(table, table.highest) / kMegabyte,
            key,
            true};
}

// A number or a switch; of several keys, ";" between, the first counts.
BridgeOption SettingOption(const char* name, const char* keys) {
    const std::string_view all = keys;
    const Setting& s = SettingOf(all.substr(0, all.find(';')));
    if (s.kind == SettingKind::Number)
        return {name,     OptionKind::Number, std::to_string(s.standard),
                s.lowest, s.highest,          keys,
                true};
    return {name, OptionKind::Switch, s.standard != 0 ? "true" : "false", 0, 0, keys,
            true};
}

// A switch between words. What plays without the bridge, by the game folder's settings,
// is another matter: the default here is the bridge's own.
BridgeOption ChoiceOption(const char* name, const char* key, const char* standard) {
    const Setting& s = SettingOf(key);
    return {name, OptionKind::Choice,      standard, 0, 0, key,
            true, {s.words[0], s.words[1]}};
}

const BridgeOption* Find(std::string_view name) {
    const auto found =
        std::find_if(kOptions.begin(), kOptions.end(),
                     [&](const BridgeOption& o) { return EqualNoCase(o.name, name); });
    return found == kOptions.end() ? nullptr : &*found;
}

// Calls `visit` with each of the keys.
template <typename Visit>
void ForEachKey(std::string_view keys, Visit visit) {
    while (!keys.empty()) {
        const std::string_view key = keys.substr(0, keys.find(';'));
        visit(key);
        keys.remove_prefix(std::min(key.size() + 1, keys.size()));
    }
}

bool HasKey(std::string_view keys, std::string_view key) {
    bool found = false;
    ForEachKey(keys, [&](std::string_view one) { found |= EqualNoCase(one, key); });
    return found;
}

// Lines of the text as key and value; what is no setting has an empty key.
template <typename Visit>
void ForEachSetting(const std::string& text, Visit visit) {
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const std::size_t equals = line.find('=');
        if (line.empty() || line[0] == ';' || equals == std::string::npos) continue;
        visit(line.substr(0, equals), line.substr(equals + 1));
    }
}

// What takes the place of the settings' lines; nothing where the engine cannot be told
// ("on" where only "off" is heard, the folders of its tables).
std::string LinesOf(const BridgeOption& option, const std::string& value) {
    if (option.kind == OptionKind::Text) return "";
    std::string lines;
    ForEachKey(option.keys, [&](std::string_view key) {
        const Setting& s = SettingOf(key);
        const std::string equals = std::string(s.key) + '=';
        if (s.kind == SettingKind::Size)
            lines += equals + std::to_string(TableBits(s, value)) + '\n';
        if (s.kind == SettingKind::Number) lines += equals + value + '\n';
        const int state = value == "true" ? 1 : 0;
        if (option.kind == OptionKind::Switch && (s.heard >> state & 1) != 0)
            lines += equals + s.words[state] + '\n';
        if (option.kind == OptionKind::Choice && value != s.words[s.standard])
            lines += equals + value + '\n';
    });
    return lines;
}

// A size in megabytes; empty when the value is none to the engine.
std::string ShownSize(const Setting& table, const std::string& value) {
    const auto digit = [&](std::size_t i) {
        return value.size() > i && value[i] >= '0' && value[i] <= '9';
    };
    if (!digit(0) || !digit(1)) return "";
    int bits = 10 * (value[0] - '0') + value[1] - '0';
    if (bits < table.lowest || bits > table.highest) bits = table.otherwise;
    return Megabytes(table, bits);
}

// What the option shows for a settings line; empty: as it was.
std::string Shown(const std::string& key, const std::string& value) {
    for (const Setting& s : AllSettings())
        if (s.kind == SettingKind::Size && EqualNoCase(key, s.key))
            return ShownSize(s, value);
    if (EqualNoCase(value, "on")) return "true";
    if (EqualNoCase(value, "off")) return "false";
    return value;
}

bool Valid(const BridgeOption& option, std::string_view value) {
    long long number = 0;
    switch (option.kind) {
        case OptionKind::Number:
            return ToNumber(value, number) && number >= option.lowest &&
                   number <= option.highest;
        case OptionKind::Switch:
            return value == "true" || value == "false";
        case OptionKind::Text:
            return value.size() <= kLongestText &&
                   std::none_of(value.begin(), value.end(), [](char c) {
                       return static_cast<unsigned char>(c) < ' ';
                   });
        case OptionKind::Choice:
            return std::find(option.words.begin(), option.words.end(), value) !=
                   option.words.end();
        case OptionKind::Button:
            return true;
    }
    return false;
}

// The table whose size the option is; nullptr: none.
const Setting* SizedTable(const BridgeOption& option) {
    for (const Setting& s : AllSettings())
        if (s.kind == SettingKind::Size && EqualNoCase(option.keys, s.key)) return &s;
    return nullptr;
}

// What is given of a table's size, where that is not exactly what has been asked for.
std::string SizeRemark(const BridgeOption& option, const std::string& given,
                       std::string_view asked) {
    const Setting& table = *SizedTable(option);
    const long long bytes = TableBytes(table, TableBits(table, given));
    if (given == asked && bytes == std::stoll(given) * kMegabyte) return "";
    char text[64];
    std::snprintf(text, sizeof text, " is %.4g MB",
                  static_cast<double>(bytes) / static_cast<double>(kMegabyte));
    return option.name + std::string(text);
}

// Where several threads have been asked for that the search does not use.
std::string ThreadsRemark(const BridgeOption& option) {
    const bool matters = option.name == std::string_view("Threads") ||
                         option.name == std::string_view("Search");
    if (!matters || PlaysStrong() || OptionValue("Threads") == "1") return "";
    return "the classic search uses one thread";
}

// Sizes beyond the range are taken as its ends, for front ends offer one "Hash" for all
// engines; a text that is no number stays, and is refused.
std::string WithinBounds(const BridgeOption& option, std::string_view value) {
    long long number = 0;
    if (!ToNumber(value, number)) return std::string(value);
    return std::to_string(std::clamp(number, option.lowest, option.highest));
}

// The engine is to be told. What the mode changes is that there is no book.
bool MattersNow(const BridgeOption& option) {
    if (!option.told) return false;
    return &option != Find(kAnalyseMode) || OptionValue("OwnBook") == "true";
}

// The option's lines stand in place of those of the base settings.
bool Replaces(const BridgeOption& option) {
    return option.kind == OptionKind::Choice || Chosen.set[option.name];
}

}  // namespace

// Sizes in megabytes; times in ms; Aggressivity, Cowardice and VarietyOfPlay in percent;
// ResignValue in centipawns.
// clang-format off
const std::vector<BridgeOption> kOptions = {
    TableOption("Hash", "TranspositionSize"),
    TableOption("PawnHash", "PawnHashSize"),
    {"EGTBPath", OptionKind::Text, "", 0, 0, kTableKeys, true},
    TableOption("EGTBCache", "EGTBHashSize"),
    ChoiceOption("Search", "Search", "strong"),
    SettingOption("Threads", "Threads"),
    {"Clear Hash", OptionKind::Button, "", 0, 0, "", true},
    {"OwnBook", OptionKind::Switch, "false", 0, 0, "", true},
    SettingOption("UseBookWeights", "UseBookWeights"),
    SettingOption("VarietyOfPlay", "VarietyOfPlay"),
    SettingOption("BookLearning", "BookLearning"),
    SettingOption("Learning", "Learning;UseLearningData"),
    SettingOption("Aggressivity", "Aggressivity"),
    SettingOption("Cowardice", "Cowardice"),
    SettingOption("ResignValue", "ResignValue"),
    SettingOption("ResignTimes", "ResignTimes"),
    {"Move Overhead", OptionKind::Number, "50", 0, 5000, "", false},
    SettingOption("Ponder", "Pondering"),
    {kAnalyseMode, OptionKind::Switch, "false", 0, 0, "", true},
    {"MultiPV", OptionKind::Number, "1", 1, kMostLines, "", false},
    {"UCI_LimitStrength", OptionKind::Switch, "false", 0, 0, "", false},
    {"UCI_Elo", OptionKind::Number, std::to_string(kStrongest), kWeakest, kStrongest, "",
     false},
    {"Seed", OptionKind::Number, "1", 0, kMostSeed, "", false},
};
// clang-format on

void ReadBaseSettings(const std::string& text, bool inFolder) {
    Chosen.baseText.clear();
    Chosen.values.clear();
    Chosen.set.clear();
    for (const BridgeOption& option : kOptions)
        Chosen.values[option.name] = option.standard;
    bool tables = true;
    ForEachSetting(text, [&](const std::string& key, std::string value) {
        // The engine takes "\\" for the separator of a path's parts too.
        if (EqualNoCase(key, "EGTBPath"))
            std::replace(value.begin(), value.end(), '\\', '/');
        if (EqualNoCase(key, "UseEGTB")) tables = !EqualNoCase(value.substr(0, 3), "off");
        Chosen.baseText += key + '=' + value + '\n';
        const std::string shown = Shown(key, value);
        for (const BridgeOption& option : kOptions)
            if (HasKey(option.keys, key) && Valid(option, shown) &&
                option.kind != OptionKind::Choice && !EqualNoCase(key, "UseEGTB"))
                Chosen.values[option.name] = shown;
    });
    // Without a path the engine looks for tables where it is started.
    if (inFolder && Chosen.values["EGTBPath"].empty()) Chosen.values["EGTBPath"] = ".";
    if (!tables) Chosen.values["EGTBPath"].clear();
}

const std::string& OptionValue(std::string_view name) {
    static const std::string none;
    const BridgeOption* option = Find(name);
    return option == nullptr ? none : Chosen.values[option->name];
}

bool StrengthLimited() { return OptionValue("UCI_LimitStrength") == "true"; }

bool PlaysStrong() { return OptionValue("Search") == "strong"; }

std::int64_t MoveOverhead() { return std::stoll(OptionValue("Move Overhead")); }

// A value equal to the present one changes nothing: many front ends send all options
// before each game, and each change costs a restart.
bool SetOption(std::string_view name, std::string_view value, std::string& remark) {
    remark.clear();
    const BridgeOption* option = Find(name);
    if (option == nullptr) {
        remark = "unknown option " + std::string(name);
        return false;
    }
    std::string taken = value == "<empty>" ? "" : std::string(value);
    if (option->kind == OptionKind::Button) taken.clear();
    if (option->kind == OptionKind::Switch) {
        if (value == "1" || EqualNoCase(value, "true")) taken = "true";
        if (value == "0" || EqualNoCase(value, "false")) taken = "false";
    }
    for (const std::string& word : option->words)
        if (EqualNoCase(value, word)) taken = word;
    if (SizedTable(*option) != nullptr) taken = WithinBounds(*option, value);
    if (!Valid(*option, taken)) {
        remark = "bad value for option " + std::string(option->name);
        return false;
    }
    if (SizedTable(*option) != nullptr) remark = SizeRemark(*option, taken, value);
    if (Chosen.values[option->name] == taken && option->kind != OptionKind::Button)
        return true;
    Chosen.values[option->name] = taken;
    Chosen.set[option->name] = true;
    if (remark.empty()) remark = ThreadsRemark(*option);
    if (MattersNow(*option)) OptionsChanged = true;
    return true;
}

std::string WriteSettings() {
    std::string text;
    ForEachSetting(
        Chosen.baseText, [&](const std::string& key, const std::string& value) {
            const bool replaced = std::any_of(
                kOptions.begin(), kOptions.end(), [&](const BridgeOption& option) {
                    return Replaces(option) && HasKey(option.keys, key);
                });
            if (!replaced && !HasKey(kTableKeys, key)) text += key + '=' + value + '\n';
        });
    for (const BridgeOption& option : kOptions)
        if (Replaces(option)) text += LinesOf(option, Chosen.values[option.name]);
    return text;
}

// From each beginning the reading is cut back, separator by separator, until a folder is
// there.
std::vector<std::string> TableFolders(const std::string& value, const std::string& from,
                                      std::string& missing) {
    const auto exists = [&](const std::string& one) {
        std::error_code error;
        return std::filesystem::is_directory(std::filesystem::path(from) / one, error);
    };
    std::vector<std::string> folders;
    for (std::size_t begin = 0; begin < value.size(); ++begin) {
        const std::size_t shortest =
            std::min(value.find_first_of(";,", begin), value.size());
        if (shortest == begin) continue;
        std::size_t end = value.size();
        while (end > shortest && !exists(value.substr(begin, end - begin)))
            end = value.find_last_of(";,", end - 1);
        const std::string one = value.substr(begin, end - begin);
        if (exists(one))
            folders.push_back((std::filesystem::path(from) / one).string());
        else
            missing += (missing.empty() ? "" : ", ") + one;
        begin = end;
    }
    return folders;
}
