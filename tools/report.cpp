// JSON is laid out by the library; only where it stands within a larger document is added
// here, so that a document written in parts reads like one written whole.
#include "tools/report.h"

#include <nlohmann/json.hpp>
#include <string>

#include "platform/output.h"
#include "tools/progress.h"

#ifndef _WIN32
#include <fcntl.h>

#include <csignal>
#endif

namespace {

constexpr int kIndent = 2;  // blanks a level

// As it stands `level` levels deep; line feeds in texts are escaped, so that every one
// begins a line.
std::string TextOf(const Json& value, int level) {
    const std::string text =
        value.dump(kIndent, ' ', false, Json::error_handler_t::replace);
    const std::string margin(static_cast<std::size_t>(level * kIndent), ' ');
    std::string moved;
    for (const char c : text) {
        moved += c;
        if (c == '\n') moved += margin;
    }
    return moved;
}

// `"key": value,` on a line of its own for each member.
void WriteMembers(const Json& members, const char* before, const char* after) {
    for (const auto& [key, value] : members.items()) {
        WriteText(before);
        WriteText("  " + TextOf(key, 0) + ": " + TextOf(value, 1));
        WriteText(after);
    }
}

}  // namespace

// What takes the place of a closed stream can only be read, so that a report sent there
// is known to be lost.
void PrepareReport() {
    KeepWorkingWithoutOutput();
#ifndef _WIN32
    // Writing to a closed pipe is to be an error like others, not the end.
    std::signal(SIGPIPE, SIG_IGN);
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY);
#endif
}

// A failure that has been told keeps its own status.
int FinishReport(int status) {
    FlushOutput();
    if (!OutputIsLost()) return status;
    Fail("the report could not be written");
    return status != 0 ? status : 1;
}

void WriteJson(const Json& document) { WriteText(TextOf(document, 0) + '\n'); }

// The line end behind the list's "[" comes with the first element, so that an empty list
// is written "[]".
JsonList BeginJsonList(const Json& members, const char* key) {
    WriteText("{\n");
    WriteMembers(members, "", ",\n");
    WriteText("  " + TextOf(key, 0) + ": [");
    return {};
}

void AddToJsonList(JsonList& list, const Json& element) {
    WriteText((list.empty ? "\n    " : ",\n    ") + TextOf(element, 2));
    list.empty = false;
}

void EndJsonList(const JsonList& list, const Json& members) {
    WriteText(list.empty ? "]" : "\n  ]");
    WriteMembers(members, ",\n", "");
    WriteText("\n}\n");
}
