// The table of settings is the one place that knows a setting's key, range and default;
// reader, report and the commented settings file all run over it.
#include "driver/settings.h"

#include "board/tables.h"
#include "eval/evaluate.h"
#include "eval/pawns.h"
#include "platform/output.h"
#include "search/control.h"
#include "search/hash.h"
#include "search/strong/helpers.h"

EngineSettings SettingsInForce;

namespace {

// A size that no table can have is refused at its allocation, after the report.
constexpr int kMostBits = 48;
// Cache sizes of 2^31 bytes and more would not fit a signed 32-bit count.
constexpr int kMostCacheBits = 30;

// Bits of Setting::heard.
constexpr unsigned kHearsOff = 1, kHearsOn = 2, kHearsBoth = 3;

// ---- Rows by kind ----
struct Texts {
    const char *section, *comment, *key, *name;
};
constexpr Setting Size(Texts t, int* value, int standard, int lowest, int highest,
                       int otherwise, int entryBytes) {
    return {t.section,  t.comment, t.key,  t.name,   SettingKind::Size,
            value,      standard,  lowest, highest,  otherwise,
            entryBytes, 2,         "",     {"", ""}, 0};
}
constexpr Setting Number(Texts t, int* value, int standard, int highest, int digits,
                         const char* unit = "") {
    return {t.section, t.comment, t.key, t.name,   SettingKind::Number,
            value,     standard,  0,     highest,  0,
            0,         digits,    unit,  {"", ""}, 0};
}
constexpr Setting Switch(Texts t, int* value, int standard, unsigned heard,
                         const char* word0 = "off", const char* word1 = "on") {
    return {
        t.section, t.comment, t.key, t.name, SettingKind::Switch, value, standard, 0, 1,
        0,         0,         0,     "",     {word0, word1},      heard};
}

constexpr Setting AtLeast(int lowest, Setting setting) {
    setting.lowest = lowest;
    return setting;
}

constexpr Setting OnlyIfChanged(Setting setting) {
    setting.onlyIfChanged = true;
    return setting;
}

constexpr EngineSettings& In = SettingsInForce;

// clang-format off
constinit const Setting kSettings[] = {
    Size({"Memory",
          "Transposition table: 2 to the power of this many entries of 20 bytes, 13 to 24.\n"
          "19 takes 10 MB, 22 takes 84 MB. Larger tables pay in long games.",
          "TranspositionSize", "TranspositionSize"},
         &In.TranspositionSize, 19, 13, 24, 19, kHashEntryBytes),
    Size({nullptr,
          "Pawn hash table: 2 to the power of this many entries of 22 bytes, 12 to 23.",
          "PawnHashSize", "PawnHashSize"},
         &In.PawnHashSize, 18, 12, 23, 18, kPawnEntryBytes),
    Size({nullptr,
          "Tablebase cache: 2 to the power of this many bytes, two digits, 30 at most. 20 is 1 MB.",
          "EGTBHashSize", "EGTBHashSize"},
         &In.EGTBHashSize, 20, 0, kMostCacheBits, kMostCacheBits, 1),

    Number({"Style", "Weight of attacks on the enemy king, in percent, 0 to 300.",
            "Aggressivity", "Aggressivity"}, &EvaluationInput.Aggressivity, 100, 300, 3, "%"),
    Number({nullptr, "Weight of the own king's safety, in percent, 0 to 300.",
            "Cowardice", "Cowardice"}, &EvaluationInput.Cowardice, 100, 300, 3, "%"),

    Number({"Resigning",
            "The engine resigns when its score was worse than this many centipawns below zero...",
            "ResignValue", "ResignValue"}, &In.ResignValue, 800, 9999, 4),
    Number({nullptr, "...for this many of its moves in a row, 0 to 9 (0 resigns at once).",
            "ResignTimes", "ResignTimes"}, &In.ResignTimes, 3, 9, 1),

    Switch({"Endgame tablebases",
            "\"off\" leaves them alone. xboard refuses an engine whose start-up text contains\n"
            "\"not found\", which is what the engine says when there are no tables: set this to \"off\"\n"
            "in a directory without tables.",
            "UseEGTB", "UseEGTB"}, &In.UseEGTB, 1, kHearsOff),
    {nullptr,
     "Directories of the tables, separated by \";\" or \",\". Plain ASCII, and the whole line at\n"
     "most 249 characters. Empty: the directory the program is started in.",
     "EGTBPath", "EGTB path", SettingKind::Path, nullptr, 0, 0, 0, 0, 0, 0, "", {"", ""}, 0},

    Switch({"Opening book (Book.vlx)",
            "\"on\": moves are chosen by their results. \"off\": every book move is equally likely.",
            "UseBookWeights", "UseBookWeights"}, &In.UseBookWeights, 1, kHearsBoth),
    Switch({nullptr, "\"on\": the results of the games are written back into the book.",
            "BookLearning", "UseBookLearning"}, &In.UseBookLearning, 1, kHearsBoth),
    Switch({nullptr,
            "\"kill\" plays what has done best; \"discover\" plays what has been played least.",
            "BookLearningMode", "BookLearningMode"},
           &In.BookLearningMode, 0, kHearsOn, "KILL", "DISCOVER"),
    Number({nullptr,
            "How far below the best result a book move may be and still be chosen, in percent,\n"
            "0 to 100. 0 plays only the best, 100 any.",
            "VarietyOfPlay", "VarietyOfPlay"}, &In.VarietyOfPlay, 10, 100, 3),
    Number({nullptr,
            "A game counts as decided for the book once the score passes this many centipawns.",
            "BookLearningBound", "BookLearningBound"}, &In.BookLearningBound, 400, 9999, 4),

    Switch({"Position learning (Learn.vl1)",
            "\"on\": positions whose score later collapsed are remembered.",
            "Learning", "UseLearning"}, &In.UseLearning, 0, kHearsBoth),
    Switch({nullptr, "\"on\": the search uses what is remembered.",
            "UseLearningData", "UseLearningData"}, &In.UseLearningData, 0, kHearsBoth),
    Switch({nullptr, "\"on\": every remembered position is also written as a line of learn.log.",
            "LogLearningIntoFile", "LogLearningIntoFile"},
           &In.LogLearningIntoFile, 0, kHearsBoth),

    Switch({"Thinking on the opponent's time",
            "\"off\" forbids it whatever the front end asks for.",
            "Pondering", "Pondering"}, &In.Pondering, 1, kHearsOff),

    OnlyIfChanged(Switch({"Search",
                     "\"classic\": the engine's own search since its first version. \"strong\": a newer one,\n"
                     "much stronger. What front ends get through veltramox-bridge is its option \"Search\".",
                     "Search", "Search"},
                    &In.UseStrongSearch, 0, kHearsBoth, "classic", "strong")),
    OnlyIfChanged(AtLeast(1,
        Number({nullptr,
                "Cores that the strong search uses, 1 to 256. Each takes some ten megabytes. With\n"
                "\"classic\" it means nothing; front ends set it by the bridge's option \"Threads\".",
                "Threads", "Threads"}, &In.Threads, 1, kMostThreads, 3))),
};
// clang-format on

void WriteSetting(const Setting& s) {
    switch (s.kind) {
        case SettingKind::Size: {
            const bool possible = *s.value >= 0 && *s.value <= kMostBits;
            const long long bytes =
                possible ? static_cast<long long>(s.entryBytes) << *s.value : 0;
            Write("%s=%d (%lld bytes)\n", s.name, *s.value, bytes);
            break;
        }
        case SettingKind::Number:
            Write("%s=%d%s\n", s.name, *s.value, s.unit);
            break;
        case SettingKind::Switch:
            Write("%s=%s\n", s.name, s.words[*s.value != 0 ? 1 : 0]);
            break;
        case SettingKind::Path:
            Write("%s=\"%s\"\n", s.name, Settings.EgtbPath);
            break;
    }
}

// A value as the settings file would have it, words in lower case.
std::string DefaultText(const Setting& s) {
    switch (s.kind) {
        case SettingKind::Size:
        case SettingKind::Number:
            return std::to_string(s.standard);
        case SettingKind::Switch: {
            std::string word = s.words[s.standard];
            for (char& c : word) c = ToLower(c);
            return word;
        }
        case SettingKind::Path:
            break;
    }
    return "";
}

// The lines of the text, each as a comment.
std::string Commented(std::string_view text) {
    std::string lines = "; ";
    for (const char c : text) {
        lines += c;
        if (c == '\n') lines += "; ";
    }
    return lines + '\n';
}

}  // namespace

std::span<const Setting> AllSettings() { return kSettings; }

void SetDefaultSettings() {
    SettingsInForce = {};
    for (const Setting& s : kSettings)
        if (s.value != nullptr) *s.value = s.standard;
    AllowPondering(true);
}

void WriteSettingsReport() {
    for (const Setting& s : kSettings)
        if (!s.onlyIfChanged || *s.value != s.standard) WriteSetting(s);
    Write("\n");
    FlushOutput();
}

std::string DefaultSettingsText() {
    std::string text =
        "; Settings of Veltramox, read once when the program starts, from the directory "
        "it is\n"
        "; started in. One setting a line: Key=value, no blanks before the key or around "
        "\"=\".\n"
        "; Keys and words may be written in any case. Lines that begin with \";\" are "
        "comments.\n"
        "; Every key stands here at its default; a key that is left out keeps it.\n";
    for (const Setting& s : kSettings) {
        text += '\n';
        if (s.section != nullptr)
            text += "; ---- " + std::string(s.section) + " ----\n\n";
        text += Commented(s.comment) + s.key + '=' + DefaultText(s) + '\n';
    }
    return text;
}
