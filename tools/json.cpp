// The pieces go out as they come: nothing is kept but the open brackets.
#include "tools/json.h"

#include <cassert>
#include <string>

#include "platform/output.h"

namespace {

// Quotes, backslashes and control characters are escaped; bytes above ASCII pass.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < ' ') {
            constexpr char kHex[] = "0123456789abcdef";
            quoted += "\\u00";
            quoted += kHex[c >> 4 & 15];
            quoted += kHex[c & 15];
            continue;
        }
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

void NewLine(int depth) { Write("\n%*s", 2 * depth, ""); }

}  // namespace

// What stands before every piece: a comma, the line's indentation, its key.
void JsonWriter::Begin(std::string_view key) {
    if (depth > 0) {
        if (!first) Write(",");
        NewLine(depth);
    }
    if (!key.empty()) Write("%s: ", Quoted(key).c_str());
    first = false;
}

void JsonWriter::BeginObject(std::string_view key) {
    Begin(key);
    assert(depth < static_cast<int>(sizeof closing));
    Write("{");
    closing[depth++] = '}';
    first = true;
}

void JsonWriter::BeginArray(std::string_view key) {
    Begin(key);
    assert(depth < static_cast<int>(sizeof closing));
    Write("[");
    closing[depth++] = ']';
    first = true;
}

void JsonWriter::End() {
    --depth;
    if (!first) NewLine(depth);
    Write("%c", closing[depth]);
    first = false;
    if (depth == 0) Write("\n");
}

void JsonWriter::Text(std::string_view key, std::string_view value) {
    Begin(key);
    Write("%s", Quoted(value).c_str());
}

void JsonWriter::Number(std::string_view key, std::int64_t value) {
    Begin(key);
    Write("%lld", static_cast<long long>(value));
}

void JsonWriter::Flag(std::string_view key, bool value) {
    Begin(key);
    Write("%s", value ? "true" : "false");
}
