#include "driver/modes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "driver/settings.h"
#include "search/control.h"

EngineModes Modes;

namespace {

// Values of "level" beyond this are nonsense, moves or seconds.
constexpr int kLevelLimit = 9999999;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The decimal digits at the start of the text, 0 if there are none; capped.
int LeadingNumber(const char* text) {
    int number = 0;
    for (; IsDigit(*text); ++text)
        number = std::min(number * 10 + (*text - '0'), kLevelLimit);
    return number;
}

}  // namespace

void ResetModes() {
    Modes = {.ForceMode = 0,
             .PostThinking = 0,
             .FullThinking = 0,
             .MaxDepth = kMaxDepthDefault};
}

void Post() { Modes.PostThinking = 1; }
void NoPost() { Modes.PostThinking = 0; }
void Force() { Modes.ForceMode = 1; }
void Easy() { AllowPondering(false); }
// The setting has the last word over the front end.
void Hard() {
    if (Settings.Pondering == 1) AllowPondering(true);
}

// The number is narrowed in a symmetric range, so that its negative can be formed too.
void SetEngineClock(const char* line) {
    constexpr long long kMost = std::numeric_limits<int>::max();
    const char* number = std::strlen(line) > 5 ? line + 5 : "";
    const long long value = std::strtoll(number, nullptr, 10);
    GameClock.EngineClock = static_cast<int>(std::clamp(value, -kMost, kMost));
}

// "level MOVES BASE INCREMENT": the moves stand first and the increment last; the base
// time between them is not used. Front ends send fractions of seconds: whole seconds
// count.
void SetLevel(const char* line) {
    const char* moves = line + std::min(std::strlen(line), std::size_t{5});
    while (*moves == ' ') ++moves;
    GameClock.MovesPerControl = LeadingNumber(moves);

    const char* end = line + std::strlen(line);
    while (end > line && end[-1] == ' ') --end;
    const char* field = end;
    while (field > line && field[-1] != ' ' && field[-1] != ':') --field;
    GameClock.Increment = LeadingNumber(field);
}
