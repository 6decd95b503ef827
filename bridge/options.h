// What a front end may set: the same names in both protocols, kept in the engine's
// settings file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// In UCI: spin, check, string, button, combo.
enum class OptionKind { Number, Switch, Text, Button, Choice };

// A row of the list of options; constant. Values are kept beside it.
struct BridgeOption {
    const char* name;
    OptionKind kind;
    std::string standard;  // the default; a switch is "true" or "false"
    long long lowest, highest;
    // Settings keys whose lines this option replaces once it has been set, ";" between.
    const char* keys;
    bool told;  // the engine is told when it is set
    // Choices: the words, of which the setting's line takes one. What the game folder's
    // settings say of a choice does not count here.
    std::vector<std::string> words = {};
};
// Ranges and defaults come from the engine's settings where the option is one of them.
extern const std::vector<BridgeOption> kOptions;

// ---- The values ----
// The settings file that the options start from: its lines, and option values where they
// are found in it. In a game folder, tables are looked for there unless it says where.
void ReadBaseSettings(const std::string& text, bool inFolder);
// The value in force, as a front end would write it; the name in either case. Empty for a
// name that is none.
const std::string& OptionValue(std::string_view name);
// True when the value has been taken, the name in either case; otherwise `remark` says
// why not. Of a table's size as much is taken as can be given; `remark` then says how
// much that is.
bool SetOption(std::string_view name, std::string_view value, std::string& remark);
// The strong search plays.
bool PlaysStrong();
// It plays below its full strength.
bool StrengthLimited();
// ms of the clock that are not for thinking.
std::int64_t MoveOverhead();
// Values have been set since the settings were last written that the engine is told.
extern bool OptionsChanged;
// The settings file for the engine, but for its endgame tables.
std::string WriteSettings();
// The folders that a value of EGTBPath names, ";" or "," between them, relative ones as
// seen from the folder `from`. Such a character may also stand in a folder's name: of the
// readings the one with the longest existing folder counts. What exists in no reading is
// named in `missing`.
std::vector<std::string> TableFolders(const std::string& value, const std::string& from,
                                      std::string& missing);
