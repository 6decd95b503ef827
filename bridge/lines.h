// Lines over file descriptors: what both sides of the bridge are read with, and what is
// said to the outside.
#pragma once

#include <string>
#include <string_view>

// Longer lines are given up: nothing that a front end says is that long.
inline constexpr std::size_t kLongestLine = std::size_t{1} << 20;

// What has been read from a descriptor and not yet been taken as lines.
struct LineReader {
    int descriptor = -1;
    std::string buffer;
    std::size_t begin = 0;   // what stands before it has been taken
    std::size_t looked = 0;  // no line end stands between `begin` and here
    bool dropping = false;   // the rest of an over-long line is not wanted
    bool ended = false;      // nothing more comes
};

// Reads once; sets `ended` at the end of the stream and on an error. Blocks when nothing
// waits.
void ReadSome(LineReader& reader);
// The next complete line, without its end; control characters count as blanks. False when
// there is none. A last line without an end is no line.
bool TakeLine(LineReader& reader, std::string& line);

// ---- To the outside ----
// One line, formatted like printf, its end added here, sent at once. When the outside is
// gone, OutsideGone becomes true and nothing more is said; nor once the program is asked
// to end.
__attribute__((format(printf, 1, 2))) void Say(const char* format, ...);
extern bool OutsideGone;

// ---- Words of a line ----
// Cuts the first blank-separated word off the text; empty at its end.
std::string_view TakeWord(std::string_view& text);
// Without blanks at both ends.
std::string_view Trimmed(std::string_view text);
// The whole text is a decimal number; otherwise `number` stays as it is. One that is too
// large, or too small, becomes the largest or smallest that there is.
bool ToNumber(std::string_view text, long long& number);
// ASCII letters alone: option names, settings keys and their words.
bool EqualNoCase(std::string_view a, std::string_view b);
