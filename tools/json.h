// JSON, written piece by piece to standard output; two blanks a level.
#pragma once

#include <cstdint>
#include <string_view>

// Every piece but the outermost stands in an object, where it has a key, or in an array,
// where the key is empty.
struct JsonWriter {
    void BeginObject(std::string_view key = {});
    void BeginArray(std::string_view key = {});
    void End();  // of the innermost object or array; a line feed after the outermost
    void Text(std::string_view key, std::string_view value);
    void Number(std::string_view key, std::int64_t value);
    void Flag(std::string_view key, bool value);

    // ---- Private ----
    void Begin(std::string_view key);
    char closing[16] = {};
    int depth = 0;
    bool first = true;  // nothing stands in the innermost one yet
};
