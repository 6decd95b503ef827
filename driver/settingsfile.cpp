// A forgiving reader: a line that does not fit the form of its key is passed over in
// silence.
#include "driver/settingsfile.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "board/tables.h"
#include "driver/settings.h"
#include "platform/files.h"
#include "search/control.h"

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Compares without regard to case.
bool BeginsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char a, char b) { return ToLower(a) == ToLower(b); });
}

// The line is "key=..."; `value` is then what follows the "=".
bool TakeKey(std::string_view line, std::string_view key, std::string_view& value) {
    if (!BeginsWith(line, key) || line.size() <= key.size() || line[key.size()] != '=')
        return false;
    value = line.substr(key.size() + 1);
    return true;
}

// Exactly two digits.
void SetSize(const Setting& s, std::string_view value) {
    if (value.size() < 2 || !IsDigit(value[0]) || !IsDigit(value[1])) return;
    const int number = 10 * (value[0] - '0') + value[1] - '0';
    const bool inRange = number >= s.lowest && number <= s.highest;
    *s.value = inRange ? number : s.otherwise;
}

// The number ends before the first character below "0", or after its most digits. A
// letter in it, in whatever encoding, makes the line void.
void SetNumber(const Setting& s, std::string_view value) {
    int number = 0, digits = 0;
    for (const char c : value) {
        if (static_cast<unsigned char>(c) < '0' || digits == s.digits) break;
        if (!IsDigit(c)) return;
        number = 10 * number + c - '0';
        ++digits;
    }
    if (digits > 0) *s.value = std::clamp(number, s.lowest, s.highest);
}

// Words are compared over their own length only.
void SetSwitch(const Setting& s, std::string_view value) {
    for (const int state : {0, 1})
        if ((s.heard >> state & 1) != 0 && BeginsWith(value, s.words[state]))
            *s.value = state;
}

// Up to the first control character; bytes above ASCII end the path too.
void SetPath(std::string_view value) {
    const auto end = std::find_if(value.begin(), value.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 32 || byte > 127;
    });
    const auto length = static_cast<std::size_t>(end - value.begin());
    static_assert(kSettingsLineLength < kEgtbPathSize);
    std::memcpy(SettingsInForce.EgtbPath, value.data(), length);
    SettingsInForce.EgtbPath[length] = '\0';
}

void Set(const Setting& s, std::string_view value) {
    switch (s.kind) {
        case SettingKind::Size:
            SetSize(s, value);
            break;
        case SettingKind::Number:
            SetNumber(s, value);
            break;
        case SettingKind::Switch:
            SetSwitch(s, value);
            break;
        case SettingKind::Path:
            SetPath(value);
            break;
    }
}

// A line can match one key only, for the "=" must follow it directly.
void ApplyLine(std::string_view line) {
    if (line.empty() || line[0] == ';') return;
    std::string_view value;
    for (const Setting& s : AllSettings())
        if (TakeKey(line, s.key, value)) Set(s, value);
}

}  // namespace

// Read in blocks, for a line has no upper limit: overlong ones are cut as they come.
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
    if (Settings.Pondering == 0) AllowPondering(false);
}
