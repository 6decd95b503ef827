// The settings file: one "Key=value" a line, keys and words in any case, no blanks before
// the key or around "=". Lines that begin with ";" are comments.
#pragma once

// Characters of a line; what is beyond them is taken as the next line.
inline constexpr int kSettingsLineLength = 249;

// Reads the file into the settings. Settings that it does not name keep their values, as
// do those whose value is not of the expected form. A missing file changes nothing.
void ReadSettingsFile(const char* name);
