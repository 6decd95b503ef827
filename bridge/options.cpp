#include "bridge/options.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "bridge/lines.h"

bool OptionsChanged;

namespace {

constexpr long long kMegabyte = 1 << 20;
constexpr std::size_t kLongestPath = 240;  // a settings line holds 249 characters

std::string BaseText;                       // settings lines from the game folder
std::map<std::string, std::string> Values;  // by option name, what is shown
std::map<std::string, bool> Set;            // the front end has set it

// Tables are powers of two: the largest that fits into so many megabytes.
std::string SizeLine(const char* key, const std::string& megabytes, int entryBytes,
                     int lowest, int highest) {
    const long long bytes = std::stoll(megabytes) * kMegabyte;
    int bits = lowest;
    while (bits < highest && static_cast<long long>(entryBytes) << (bits + 1) <= bytes)
        ++bits;
    return std::string(key) + '=' + std::to_string(bits) + '\n';
}

std::string HashLine(const std::string& value) {
    return SizeLine("TranspositionSize", value, 20, 13, 24);
}
std::string PawnHashLine(const std::string& value) {
    return SizeLine("PawnHashSize", value, 22, 12, 23);
}
std::string CacheLine(const std::string& value) {
    return SizeLine("EGTBHashSize", value, 1, 20, 30);
}
std::string PathLines(const std::string& value) {
    return value.empty() ? "UseEGTB=off\n" : "EGTBPath=" + value + '\n';
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

// Directories of tables as the engine finds them from its own folder.
std::string AbsolutePaths(const std::string& paths, const std::string& folder) {
    std::string result;
    for (std::size_t begin = 0; begin < paths.size();) {
        const std::size_t end = std::min(paths.find_first_of(";,", begin), paths.size());
        const std::filesystem::path one = paths.substr(begin, end - begin);
        if (!one.empty()) {
            if (!result.empty()) result += ';';
            result += (std::filesystem::path(folder) / one).lexically_normal().string();
        }
        begin = end + 1;
    }
    return result;
}

// What the option shows for a settings line; empty: as it was.
std::string Shown(const std::string& key, const std::string& value) {
    long long bits = 0;
    const auto megabytes = [&](int entryBytes) {
        if (!ToNumber(value.substr(0, 2), bits) || bits > 30) return std::string();
        const long long bytes = static_cast<long long>(entryBytes) << bits;
        return std::to_string(std::max(1LL, (bytes + kMegabyte - 1) / kMegabyte));
    };
    if (EqualNoCase(key, "TranspositionSize")) return megabytes(20);
    if (EqualNoCase(key, "PawnHashSize")) return megabytes(22);
    if (EqualNoCase(key, "EGTBHashSize")) return megabytes(1);
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
            return value.size() <= kLongestPath &&
                   std::all_of(value.begin(), value.end(),
                               [](char c) { return c >= ' ' && c <= '~'; });
    }
    return false;
}

}  // namespace

// Sizes in megabytes; Aggressivity, Cowardice and VarietyOfPlay in percent; ResignValue
// in centipawns.
// clang-format off
const std::vector<BridgeOption> kOptions = {
    {"Hash",           OptionKind::Number, "10",    1, 320,  "TranspositionSize", HashLine},
    {"PawnHash",       OptionKind::Number, "6",     1, 176,  "PawnHashSize",      PawnHashLine},
    {"EGTBPath",       OptionKind::Text,   "",      0, 0,    "EGTBPath;UseEGTB",  PathLines},
    {"EGTBCache",      OptionKind::Number, "1",     1, 1024, "EGTBHashSize",      CacheLine},
    {"OwnBook",        OptionKind::Switch, "false", 0, 0,    "",                  NoLine},
    {"UseBookWeights", OptionKind::Switch, "true",  0, 0,    "UseBookWeights",    BookWeightsLine},
    {"VarietyOfPlay",  OptionKind::Number, "10",    0, 100,  "VarietyOfPlay",     NumberLine<kVariety>},
    {"BookLearning",   OptionKind::Switch, "true",  0, 0,    "BookLearning",      BookLearningLine},
    {"Learning",       OptionKind::Switch, "false", 0, 0,    "Learning;UseLearningData", LearningLines},
    {"Aggressivity",   OptionKind::Number, "100",   0, 300,  "Aggressivity",      NumberLine<kAggressivity>},
    {"Cowardice",      OptionKind::Number, "100",   0, 300,  "Cowardice",         NumberLine<kCowardice>},
    {"ResignValue",    OptionKind::Number, "800",   0, 9999, "ResignValue",       NumberLine<kResignValue>},
    {"ResignTimes",    OptionKind::Number, "3",     0, 9,    "ResignTimes",       NumberLine<kResignTimes>},
    {"Ponder",         OptionKind::Switch, "true",  0, 0,    "Pondering",         PonderLine},
};
// clang-format on

void ReadBaseSettings(const std::string& text, const std::string& folder) {
    BaseText.clear();
    Values.clear();
    Set.clear();
    for (const BridgeOption& option : kOptions) Values[option.name] = option.standard;
    bool tables = true;
    ForEachSetting(text, [&](const std::string& key, std::string value) {
        if (EqualNoCase(key, "EGTBPath")) value = AbsolutePaths(value, folder);
        if (EqualNoCase(key, "UseEGTB")) tables = !EqualNoCase(value.substr(0, 3), "off");
        BaseText += key + '=' + value + '\n';
        const std::string shown = Shown(key, value);
        for (const BridgeOption& option : kOptions)
            if (HasKey(option.keys, key) && Valid(option, shown) &&
                !EqualNoCase(key, "UseEGTB"))
                Values[option.name] = shown;
    });
    if (!tables) Values["EGTBPath"].clear();
    // Without a path the engine would look for tables where it is started.
    if (Values["EGTBPath"].empty()) Set["EGTBPath"] = true;
}

const std::string& OptionValue(std::string_view name) {
    static const std::string none;
    const BridgeOption* option = Find(name);
    return option == nullptr ? none : Values[option->name];
}

bool SetOption(std::string_view name, std::string_view value, std::string& fault) {
    const BridgeOption* option = Find(name);
    if (option == nullptr) {
        fault = "unknown option " + std::string(name);
        return false;
    }
    if (option->kind == OptionKind::Switch) {
        if (value == "1" || EqualNoCase(value, "true")) value = "true";
        if (value == "0" || EqualNoCase(value, "false")) value = "false";
    }
    if (value == "<empty>") value = "";
    if (!Valid(*option, value)) {
        fault = "bad value for option " + std::string(option->name);
        return false;
    }
    if (Values[option->name] == value) return true;
    Values[option->name] = value;
    Set[option->name] = true;
    OptionsChanged = true;
    return true;
}

std::string WriteSettings() {
    std::string text;
    ForEachSetting(BaseText, [&](const std::string& key, const std::string& value) {
        const bool replaced = std::any_of(
            kOptions.begin(), kOptions.end(), [&](const BridgeOption& option) {
                return Set[option.name] && HasKey(option.keys, key);
            });
        if (!replaced) text += key + '=' + value + '\n';
    });
    for (const BridgeOption& option : kOptions)
        if (Set[option.name]) text += option.lines(Values[option.name]);
    return text;
}
