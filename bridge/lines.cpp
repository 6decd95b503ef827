// Both sides are read without stdio: poll says what waits in a descriptor, not what a
// library has put into its buffer.
#include "bridge/lines.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <vector>

#include "board/tables.h"
#include "platform/output.h"
#include "platform/process.h"

bool OutsideGone;

void ReadSome(LineReader& reader) {
    char bytes[1 << 16];
    ssize_t got;
    do got = read(reader.descriptor, bytes, sizeof bytes);
    while (got < 0 && errno == EINTR);
    if (got <= 0) {
        reader.ended = got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
        return;
    }
    reader.buffer.append(bytes, static_cast<std::size_t>(got));
}

namespace {

// Frees what has been taken, once that is worth the copy.
void Compact(LineReader& reader) {
    if (reader.begin < reader.buffer.size() && reader.begin < kLongestLine) return;
    reader.buffer.erase(0, reader.begin);
    reader.looked -= reader.begin;
    reader.begin = 0;
}

// The buffer holds no line end: what is too long for a line already is dropped.
void DropIfTooLong(LineReader& reader) {
    reader.looked = reader.buffer.size();
    if (!reader.dropping && reader.buffer.size() - reader.begin <= kLongestLine) return;
    reader.dropping = true;
    reader.begin = reader.buffer.size();
    Compact(reader);
}

}  // namespace

// Control characters, a carriage return before the line end above all, become blanks,
// which the parsing of words passes over.
bool TakeLine(LineReader& reader, std::string& line) {
    for (;;) {
        const std::size_t end = reader.buffer.find('\n', reader.looked);
        if (end == std::string::npos) {
            DropIfTooLong(reader);
            return false;
        }
        const bool whole = !reader.dropping;
        line.assign(reader.buffer, reader.begin, end - reader.begin);
        reader.dropping = false;
        reader.begin = reader.looked = end + 1;
        Compact(reader);
        if (!whole) continue;
        std::replace_if(
            line.begin(), line.end(),
            [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
        return true;
    }
}

// Measured first and then formatted: a line with a long principal variation has no fixed
// bound. One write a line, so that lines never mix.
void Say(const char* format, ...) {
    if (OutsideGone || TerminationRequested()) return;
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::vector<char> text(static_cast<std::size_t>(std::max(length, 0)) + 2);
    std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    text[text.size() - 2] = '\n';
    OutsideGone = !SendOutput(text.data(), text.size() - 1);
}

std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// Saturating: a front end's "nodes 99999999999999999999" means "no limit", not an error.
bool ToNumber(std::string_view text, long long& number) {
    long long value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error == std::errc::invalid_argument ||
        end != text.data() + text.size())
        return false;
    if (error == std::errc::result_out_of_range)
        value = text[0] == '-' ? std::numeric_limits<long long>::min()
                               : std::numeric_limits<long long>::max();
    number = value;
    return true;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return ToLower(x) == ToLower(y); });
}
