#include "driver/settingsfile.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "board/tables.h"
#include "driver/settings.h"
#include "eval/evaluate.h"
#include "platform/files.h"
#include "search/control.h"

namespace {

// Powers of two: exactly two digits; a value out of range is replaced by the last column.
struct SizeKey {
    std::string_view name;
    int* setting;
    int lowest, highest, otherwise;
};
// Cache sizes of 2^31 bytes and more would not fit a signed 32-bit count.
constexpr SizeKey kSizeKeys[] = {
    {"transpositionsize", &TranspositionSize, 13, 24, 19},
    {"pawnhashsize", &PawnHashSize, 12, 23, 18},
    {"egtbhashsize", &EGTBHashSize, 0, 30, 30},
};

// Numbers of one digit up to so many, clamped to 0..highest.
struct NumberKey {
    std::string_view name;
    int* setting;
    int digits, highest;
};
constexpr NumberKey kNumberKeys[] = {
    {"resignvalue", &ResignValue, 4, 9999},
    {"resigntimes", &ResignTimes, 1, 9},
    {"aggressivity", &Aggressivity, 3, 300},
    {"cowardice", &Cowardice, 3, 300},
    {"varietyofplay", &VarietyOfPlay, 3, 100},
    {"booklearningbound", &BookLearningBound, 4, 9999},
};

// Words, compared over their own length only. What is on by default can only be switched
// off, the KILL mode only be changed to DISCOVER.
struct WordKey {
    std::string_view name, word;
    int* setting;
    int value;
};
constexpr WordKey kWordKeys[] = {
    {"learning", "on", &UseLearning, 1},
    {"learning", "off", &UseLearning, 0},
    {"uselearningdata", "on", &UseLearningData, 1},
    {"uselearningdata", "off", &UseLearningData, 0},
    {"loglearningintofile", "on", &LogLearningIntoFile, 1},
    {"loglearningintofile", "off", &LogLearningIntoFile, 0},
    {"booklearning", "on", &UseBookLearning, 1},
    {"booklearning", "off", &UseBookLearning, 0},
    {"booklearningmode", "discover", &BookLearningMode, 1},
    {"usebookweights", "on", &UseBookWeights, 1},
    {"usebookweights", "off", &UseBookWeights, 0},
    {"useegtb", "off", &UseEGTB, 0},
    {"pondering", "off", &Pondering, 0},
};
constexpr std::string_view kPathKey = "egtbpath";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Compares without regard to case; the second text is in lower case already.
bool BeginsWith(std::string_view text, std::string_view lowerCase) {
    return text.size() >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), text.begin(),
                      [](char lower, char c) { return lower == ToLower(c); });
}

// The line is "key=..."; `value` is then what follows the "=".
bool TakeKey(std::string_view line, std::string_view key, std::string_view& value) {
    if (!BeginsWith(line, key) || line.size() <= key.size() || line[key.size()] != '=')
        return false;
    value = line.substr(key.size() + 1);
    return true;
}

void SetSize(const SizeKey& key, std::string_view value) {
    if (value.size() < 2 || !IsDigit(value[0]) || !IsDigit(value[1])) return;
    const int number = 10 * (value[0] - '0') + value[1] - '0';
    const bool inRange = number >= key.lowest && number <= key.highest;
    *key.setting = inRange ? number : key.otherwise;
}

// The number ends before the first character below "0", or after its most digits. A
// letter in it, in whatever encoding, makes the line void.
void SetNumber(const NumberKey& key, std::string_view value) {
    int number = 0, digits = 0;
    for (const char c : value) {
        if (static_cast<unsigned char>(c) < '0' || digits == key.digits) break;
        if (!IsDigit(c)) return;
        number = 10 * number + c - '0';
        ++digits;
    }
    if (digits > 0) *key.setting = std::min(number, key.highest);
}

// Up to the first control character; bytes above ASCII end the path too.
void SetPath(std::string_view value) {
    const auto end = std::find_if(value.begin(), value.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 32 || byte > 127;
    });
    const auto length = static_cast<std::size_t>(end - value.begin());
    static_assert(kSettingsLineLength < sizeof EgtbPath);
    std::memcpy(EgtbPath, value.data(), length);
    EgtbPath[length] = '\0';
}

// The kinds of keys are tried one after the other: a line can match one key only, for the
// "=" must follow it directly.
void ApplyLine(std::string_view line) {
    if (line.empty() || line[0] == ';') return;
    std::string_view value;
    for (const SizeKey& key : kSizeKeys)
        if (TakeKey(line, key.name, value)) SetSize(key, value);
    for (const NumberKey& key : kNumberKeys)
        if (TakeKey(line, key.name, value)) SetNumber(key, value);
    for (const WordKey& key : kWordKeys)
        if (TakeKey(line, key.name, value) && BeginsWith(value, key.word))
            *key.setting = key.value;
    if (TakeKey(line, kPathKey, value)) SetPath(value);
}

}  // namespace

void ReadSettingsFile(const char* name) {
    FileHandle file = OpenFile(name, FileMode::Read);
    if (file == nullptr) return;
    char block[4096], line[kSettingsLineLength];
    std::size_t length = 0;
    // A NUL byte ends what counts of its line.
    const auto apply = [&] {
        ApplyLine(std::string_view(line, length)
                      .substr(0, std::string_view(line, length).find('\0')));
        length = 0;
    };
    for (std::size_t got; (got = ReadNext(file, block, sizeof block)) > 0;) {
        for (const char c : std::string_view(block, got)) {
            if (length == sizeof line) apply();
            if (c == '\n')
                apply();
            else
                line[length++] = c;
        }
    }
    apply();
    CloseFile(file);
    if (Pondering == 0) AllowPondering(false);
}
