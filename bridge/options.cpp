#include "bridge/options.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

#include "bridge/lines.h"

bool OptionsChanged;

namespace {

constexpr long long kMegabyte = 1 << 20;
constexpr std::size_t kLongestText = 4096;
constexpr char kAnalyseMode[] = "UCI_AnalyseMode";
// What the engine is told of its tables depends on the folder that it runs in.
constexpr char kTableKeys[] = "EGTBPath;UseEGTB";

std::string BaseText;                       // settings lines from the game folder
std::map<std::string, std::string> Values;  // by option name, what is shown
std::map<std::string, bool> Set;            // the front end has set it

// A table's size in a settings file: a power of two, written in two digits; what is out
// of range counts as `otherwise`. Smaller ones than `least` are not set here.
struct TableSize {
    const char* key;
    int entryBytes, lowest, highest, otherwise, least;
};
constexpr TableSize kTableSizes[] = {
    {"TranspositionSize", 20, 13, 24, 19, 13},
    {"PawnHashSize", 22, 12, 23, 18, 12},
    {"EGTBHashSize", 1, 0, 30, 30, 20},
};

long long TableBytes(const TableSize& size, int bits) {
    return static_cast<long long>(size.entryBytes) << bits;
}

// The largest table that fits into so many megabytes.
int TableBits(const TableSize& size, const std::string& megabytes) {
    const long long bytes = std::stoll(megabytes) * kMegabyte;
    int bits = size.least;
    while (bits < size.highest && TableBytes(size, bits + 1) <= bytes) ++bits;
    return bits;
}

template <int kTable>
std::string SizeLine(const std::string& megabytes) {
    const TableSize& size = kTableSizes[kTable];
    return std::string(size.key) + '=' + std::to_string(TableBits(size, megabytes)) +
           '\n';
}
std::string Switched(const std::string& value) { return value == "true" ? "on" : "off"; }
std::string LearningLines(const std::string& value) {
    return "Learning=" + Switched(value) + "\nUseLearningData=" + Switched(value) + '\n';
}
std::string BookLearningLine(const std::string& value) {
    return "BookLearning=" + Switched(value) + '\n';
}
std::string BookWeightsLine(const std::string& value) {
    return "UseBookWeights=" + Switched(value) + '\n';
}
std::string PonderLine(const std::string& value) {
    return value == "true" ? "" : "Pondering=off\n";
}
std::string NoLine(const std::string&) { return ""; }
template <const char* kKey>
std::string NumberLine(const std::string& value) {
    return kKey + ('=' + value) + '\n';
}
constexpr char kVariety[] = "VarietyOfPlay", kAggressivity[] = "Aggressivity",
               kCowardice[] = "Cowardice", kResignValue[] = "ResignValue",
               kResignTimes[] = "ResignTimes";

const BridgeOption* Find(std::string_view name) {
    const auto found =
        std::find_if(kOptions.begin(), kOptions.end(),
                     [&](const BridgeOption& o) { return EqualNoCase(o.name, name); });
    return found == kOptions.end() ? nullptr : &*found;
}

bool HasKey(std::string_view keys, std::string_view key) {
    while (!keys.empty()) {
        const std::string_view one = keys.substr(0, keys.find(';'));
        if (EqualNoCase(one, key)) return true;
        keys.remove_prefix(std::min(one.size() + 1, keys.size()));
    }
    return false;
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

// In megabytes, rounded up; empty when the value is none to the engine.
std::string ShownSize(const TableSize& size, const std::string& value) {
    const auto digit = [&](std::size_t i) {
        return value.size() > i && value[i] >= '0' && value[i] <= '9';
    };
    if (!digit(0) || !digit(1)) return "";
    int bits = 10 * (value[0] - '0') + value[1] - '0';
    if (bits < size.lowest || bits > size.highest) bits = size.otherwise;
    const long long bytes = TableBytes(size, bits);
    return std::to_string((bytes + kMegabyte - 1) / kMegabyte);
}

// What the option shows for a settings line; empty: as it was.
std::string Shown(const std::string& key, const std::string& value) {
    for (const TableSize& size : kTableSizes)
        if (EqualNoCase(key, size.key)) return ShownSize(size, value);
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
        case OptionKind::Button:
            return true;
    }
    return false;
}

// The table whose size the option is; nullptr: none.
const TableSize* SizedTable(const BridgeOption& option) {
    for (const TableSize& size : kTableSizes)
        if (EqualNoCase(option.keys, size.key)) return &size;
    return nullptr;
}

// What is given of a table's size, where that is not exactly what has been asked for.
std::string SizeRemark(const BridgeOption& option, const std::string& given,
                       std::string_view asked) {
    const TableSize& table = *SizedTable(option);
    const long long bytes = TableBytes(table, TableBits(table, given));
    if (given == asked && bytes == std::stoll(given) * kMegabyte) return "";
    char text[64];
    std::snprintf(text, sizeof text, " is %.4g MB",
                  static_cast<double>(bytes) / static_cast<double>(kMegabyte));
    return option.name + std::string(text);
}

std::string WithinBounds(const BridgeOption& option, std::string_view value) {
    long long number = 0;
    if (!ToNumber(value, number)) return std::string(value);
    return std::to_string(std::clamp(number, option.lowest, option.highest));
}

// The engine is to be told. What the mode changes is that there is no book.
bool MattersNow(const BridgeOption& option) {
    if (option.lines == nullptr) return false;
    return &option != Find(kAnalyseMode) || OptionValue("OwnBook") == "true";
}

}  // namespace

// Sizes in megabytes; times in ms; Aggressivity, Cowardice and VarietyOfPlay in percent;
// ResignValue in centipawns.
// clang-format off
const std::vector<BridgeOption> kOptions = {
    {"Hash",           OptionKind::Number, "10",    1, 320,  "TranspositionSize", SizeLine<0>},
    {"PawnHash",       OptionKind::Number, "6",     1, 176,  "PawnHashSize",      SizeLine<1>},
    {"EGTBPath",       OptionKind::Text,   "",      0, 0,    kTableKeys,          NoLine},
    {"EGTBCache",      OptionKind::Number, "1",     1, 1024, "EGTBHashSize",      SizeLine<2>},
    {"Clear Hash",     OptionKind::Button, "",      0, 0,    "",                  NoLine},
    {"OwnBook",        OptionKind::Switch, "false", 0, 0,    "",                  NoLine},
    {"UseBookWeights", OptionKind::Switch, "true",  0, 0,    "UseBookWeights",    BookWeightsLine},
    {"VarietyOfPlay",  OptionKind::Number, "10",    0, 100,  "VarietyOfPlay",     NumberLine<kVariety>},
    {"BookLearning",   OptionKind::Switch, "true",  0, 0,    "BookLearning",      BookLearningLine},
    {"Learning",       OptionKind::Switch, "false", 0, 0,    "Learning;UseLearningData", LearningLines},
    {"Aggressivity",   OptionKind::Number, "100",   0, 300,  "Aggressivity",      NumberLine<kAggressivity>},
    {"Cowardice",      OptionKind::Number, "100",   0, 300,  "Cowardice",         NumberLine<kCowardice>},
    {"ResignValue",    OptionKind::Number, "800",   0, 9999, "ResignValue",       NumberLine<kResignValue>},
    {"ResignTimes",    OptionKind::Number, "3",     0, 9,    "ResignTimes",       NumberLine<kResignTimes>},
    {"Move Overhead",  OptionKind::Number, "50",    0, 5000, "",                  nullptr},
    {"Ponder",         OptionKind::Switch, "true",  0, 0,    "Pondering",         PonderLine},
    {kAnalyseMode,     OptionKind::Switch, "false", 0, 0,    "",                  NoLine},
};
// clang-format on

void ReadBaseSettings(const std::string& text, bool inFolder) {
    BaseText.clear();
    Values.clear();
    Set.clear();
    for (const BridgeOption& option : kOptions) Values[option.name] = option.standard;
    bool tables = true;
    ForEachSetting(text, [&](const std::string& key, std::string value) {
        // The engine takes "\\" for the separator of a path's parts too.
        if (EqualNoCase(key, "EGTBPath"))
            std::replace(value.begin(), value.end(), '\\', '/');
        if (EqualNoCase(key, "UseEGTB")) tables = !EqualNoCase(value.substr(0, 3), "off");
        BaseText += key + '=' + value + '\n';
        const std::string shown = Shown(key, value);
        for (const BridgeOption& option : kOptions)
            if (HasKey(option.keys, key) && Valid(option, shown) &&
                !EqualNoCase(key, "UseEGTB"))
                Values[option.name] = shown;
    });
    // Without a path the engine looks for tables where it is started.
    if (inFolder && Values["EGTBPath"].empty()) Values["EGTBPath"] = ".";
    if (!tables) Values["EGTBPath"].clear();
}

const std::string& OptionValue(std::string_view name) {
    static const std::string none;
    const BridgeOption* option = Find(name);
    return option == nullptr ? none : Values[option->name];
}

std::int64_t MoveOverhead() { return std::stoll(OptionValue("Move Overhead")); }

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
    if (SizedTable(*option) != nullptr) taken = WithinBounds(*option, value);
    if (!Valid(*option, taken)) {
        remark = "bad value for option " + std::string(option->name);
        return false;
    }
    if (SizedTable(*option) != nullptr) remark = SizeRemark(*option, taken, value);
    if (Values[option->name] == taken && option->kind != OptionKind::Button) return true;
    Values[option->name] = taken;
    Set[option->name] = true;
    if (MattersNow(*option)) OptionsChanged = true;
    return true;
}

std::string WriteSettings() {
    std::string text;
    ForEachSetting(BaseText, [&](const std::string& key, const std::string& value) {
        const bool replaced = std::any_of(
            kOptions.begin(), kOptions.end(), [&](const BridgeOption& option) {
                return Set[option.name] && HasKey(option.keys, key);
            });
        if (!replaced && !HasKey(kTableKeys, key)) text += key + '=' + value + '\n';
    });
    for (const BridgeOption& option : kOptions)
        if (Set[option.name] && option.lines != nullptr)
            text += option.lines(Values[option.name]);
    return text;
}

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
