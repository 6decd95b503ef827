// POSIX processes and pipes, without threads: output is read only while a line is waited
// for, and up to then the pipe holds it.
#include "bench/engineprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

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
    int in[2], out[2];
    // Ends that a later child would inherit would keep this one from seeing its input
    // closed.
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) Fail("pipe");
    EngineProcess engine;
    engine.pid = fork();
    if (engine.pid < 0) Fail("fork");
    if (engine.pid == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        if (chdir(folder.c_str()) != 0) _exit(127);
        execl(path.c_str(), path.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    engine.toEngine = in[1];
    engine.fromEngine = out[0];
    SendText(engine, greeting);
    if (WaitForLine(engine, ready, 5000).empty()) Fail("the engine does not start");
    // The engine has read its settings and keeps the folder as a nameless working
    // directory.
    std::filesystem::remove_all(folder);
    return engine;
}

void SendText(EngineProcess& engine, const std::string& text) {
    if (write(engine.toEngine, text.data(), text.size()) !=
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
        pollfd waiting = {engine.fromEngine, POLLIN, 0};
        if (poll(&waiting, 1, MillisecondsLeft(deadline)) <= 0) return "";
        char bytes[4096];
        const ssize_t got = read(engine.fromEngine, bytes, sizeof bytes);
        if (got <= 0) return "";
        engine.buffer.append(bytes, static_cast<std::size_t>(got));
    }
}

// The end of its input is a second request to end, for an engine that is deaf to "quit".
bool StopEngine(EngineProcess& engine) {
    SendText(engine, "quit\n");
    close(engine.toEngine);
    bool ended = false;
    for (int i = 0; i < 200 && !ended; ++i) {
        ended = waitpid(engine.pid, nullptr, WNOHANG) == engine.pid;
        if (!ended) usleep(10000);
    }
    if (!ended) {
        kill(engine.pid, SIGKILL);
        waitpid(engine.pid, nullptr, 0);
    }
    close(engine.fromEngine);
    return ended;
}
