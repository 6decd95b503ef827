// Without threads: output is read only while a line is waited
// for, and up to then the pipe holds it.
#include "bench/engineprocess.h"

#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr int kEndPatience = 2000;  // ms

// A measurement without its engine is worth nothing, so that every failure ends it.
[[noreturn]] void Fail(const char* message) {
    std::perror(message);
    std::exit(EXIT_FAILURE);
}

// Never negative, which would make poll wait without end.
int MillisecondsLeft(BenchClock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - BenchClock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

// A folder of its own, without book or tables: games are then played by the search alone,
// and no run changes the files of another one.
std::string MakeFolder() {
    std::string name =
        (std::filesystem::temp_directory_path() / "veltramox-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) Fail("mkdtemp");
    std::ofstream(std::filesystem::path(name) / "Veltramox.ini") << "UseEGTB=off\n";
    return name;
}

}  // namespace

EngineProcess StartEngine(const std::string& program, const std::string& greeting,
                          const std::string& ready) {
    std::signal(SIGPIPE, SIG_IGN);
    const std::string path = std::filesystem::absolute(program).string();
    const std::string folder = MakeFolder();
    EngineProcess engine;
    if (!StartChild({.program = path, .arguments = {}, .folder = folder}, engine.child))
        Fail("the engine's process");
    SendText(engine, greeting);
    if (WaitForLine(engine, ready, 5000).empty()) Fail("the engine does not start");
    // The engine has read its settings and keeps the folder as a nameless working
    // directory.
    std::filesystem::remove_all(folder);
    return engine;
}

void SendText(EngineProcess& engine, const std::string& text) {
    if (write(engine.child.input, text.data(), text.size()) !=
        static_cast<ssize_t>(text.size()))
        Fail("write to the engine");
}

std::string WaitForLine(EngineProcess& engine, const std::string& prefix,
                        int milliseconds) {
    const auto deadline = BenchClock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        std::size_t end;
        // Lines that came together with an earlier one are looked at before more is read.
        while ((end = engine.buffer.find('\n')) != std::string::npos) {
            std::string line = engine.buffer.substr(0, end);
            engine.buffer.erase(0, end + 1);
            if (!line.empty() && line.starts_with(prefix)) return line;
        }
        pollfd waiting = {engine.child.output, POLLIN, 0};
        if (poll(&waiting, 1, MillisecondsLeft(deadline)) <= 0) return "";
        char bytes[4096];
        const ssize_t got = read(engine.child.output, bytes, sizeof bytes);
        if (got <= 0) return "";
        engine.buffer.append(bytes, static_cast<std::size_t>(got));
    }
}

// The end of its input is a second request to end, for an engine that is deaf to "quit".
bool StopEngine(EngineProcess& engine) {
    SendText(engine, "quit\n");
    CloseChildInput(engine.child);
    const bool ended = ChildEnded(engine.child, kEndPatience);
    KillChild(engine.child);
    return ended;
}
