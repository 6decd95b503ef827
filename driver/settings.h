// The settings: set by their defaults and the settings file when the program starts,
// read-only afterwards. Aggressivity and Cowardice stand with the evaluation, which they
// weight.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>

inline constexpr int kEgtbPathSize = 1024;

struct EngineSettings {
    // ---- Table sizes as powers of two ----
    int TranspositionSize, PawnHashSize;  // entries
    int EGTBHashSize;                     // bytes
    // ---- Resigning: after ResignTimes moves below -ResignValue centipawns ----
    int ResignValue, ResignTimes;
    // ---- Endgame tables ----
    int UseEGTB;
    char EgtbPath[kEgtbPathSize];  // directories
    // ---- Opening book; a book that cannot learn or has no weights switches them off
    // ----
    int UseBookWeights, UseBookLearning;
    int BookLearningMode;   // 0: KILL, otherwise DISCOVER
    int VarietyOfPlay;      // percent: randomness of the book's choice
    int BookLearningBound;  // centipawns
    // ---- Position learning ----
    int UseLearning, UseLearningData, LogLearningIntoFile;
    // ---- Thinking on the opponent's time: "hard" may switch it on ----
    int Pondering;
    // ---- Which search plays ----
    int UseStrongSearch;
    int Threads;  // of the strong search

    bool operator==(const EngineSettings&) const = default;
};
// Written while the program starts: by the two functions below, the settings file and the
// opening of the book.
extern EngineSettings SettingsInForce;
inline constexpr auto& Settings = std::as_const(SettingsInForce);

// ---- The table of settings ----
enum class SettingKind {
    Size,    // power of two of entries: two digits
    Number,  // up to `digits` digits
    Switch,  // one of two words
    Path,    // text: EgtbPath
};

struct Setting {
    const char* section;  // its heading in the settings file; nullptr: as the one before
    const char* comment;  // in the settings file, lines
    const char* key;      // in the settings file, compared without regard to case
    const char* name;     // in the report
    SettingKind kind;
    int* value;  // nullptr: EgtbPath
    int standard;
    int lowest, highest;  // numbers are clamped
    // Sizes: what stands for a number out of range, and the bytes of an entry.
    int otherwise, entryBytes;
    int digits;        // numbers: how many are read
    const char* unit;  // numbers: behind the number in the report
    // Switches: the words for 0 and 1 as reported. What the settings file may say is the
    // words that are `heard`, bit 0 and bit 1: what is on by default can only be switched
    // off.
    const char* words[2];
    unsigned heard;
    bool onlyIfChanged = false;  // left out of the report at its default
};
// In the order of the report and of the settings file.
std::span<const Setting> AllSettings();

// Every setting at its default, pondering allowed.
void SetDefaultSettings();
// Writes the values in force, one a line, and flushes.
void WriteSettingsReport();
// A settings file with every setting explained and at its default.
std::string DefaultSettingsText();
