// Holds one conversation with the program, as its file says, and reports the first
// difference with everything said until then. The language is explained in
// conversations/README.md.
//   conversation PROGRAM FILE
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/childprocess.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// One line of the conversation's file.
struct Step {
    int line;
    std::string verb;
    std::string text;     // what follows the verb and one blank
    std::string content;  // the lines of a file to be placed
};

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// ---- State of the conversation ----
std::string Program;                 // absolute path
std::filesystem::path Folder;        // the program's own working directory
std::vector<std::string> Arguments;  // for its next start
int Slowness = 1;                    // factor for all limits, in slow builds
milliseconds Patience{10000};        // for an expected answer
std::vector<std::string> Groups;     // what the last pattern's groups matched: $1, $2 ...
std::string Log;                     // everything said, with times in seconds
Clock::time_point Beginning;

// ---- The program ----
ChildProcess Child;
bool Started = false;    // at least once: the first step that needs the program starts it
int ExitStatus = -1;     // once it has ended; 128 + n when signal n killed it
std::string Unfinished;  // output after the last line feed
std::deque<std::string> Unread;  // complete lines that no step has looked at

constexpr std::size_t kMostShown = 200;  // characters of a text in the log

void Record(char direction, const std::string& text) {
    const std::chrono::duration<double> elapsed = Clock::now() - Beginning;
    char time[32];
    std::snprintf(time, sizeof time, "%9.3f %c ", elapsed.count(), direction);
    Log += time;
    for (const char c : text.substr(0, kMostShown)) {
        if (c >= ' ' && c < 0x7F) {
            Log += c;
        } else {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(c));
            Log += code;
        }
    }
    if (text.size() > kMostShown) {
        Log += "... (" + std::to_string(text.size()) + " bytes)";
    }
    Log += '\n';
}

void StartProgram() {
    if (Child.pid > 0) throw Failure("the program is running already");
    Started = true;
    if (!StartChild({.program = Program,
                     .arguments = Arguments,
                     .folder = Folder.string(),
                     .diesWithParent = true},
                    Child))
        throw Failure("no process");
    fcntl(Child.input, F_SETFL, O_NONBLOCK);
    Unfinished.clear();
    Unread.clear();
    ExitStatus = -1;
    Record('*', "start");
}

void NeedProgram() {
    if (!Started) StartProgram();
}

// Notes the end of the program, if it has come.
bool HasEnded() {
    int status = 0;
    if (Child.pid < 0) return true;
    if (!ChildEnded(Child, 0, &status)) return false;
    ExitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    Record('*', "ended with status " + std::to_string(ExitStatus));
    return true;
}

int MillisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

void SplitLines() {
    std::size_t end;
    while ((end = Unfinished.find('\n')) != std::string::npos) {
        Unread.push_back(Unfinished.substr(0, end));
        Record('<', Unread.back());
        Unfinished.erase(0, end + 1);
    }
}

// Waits for output until the deadline and takes in what there is. False when the
// program's output has ended.
bool Listen(Clock::time_point deadline) {
    if (Child.output < 0) return false;
    pollfd descriptor = {Child.output, POLLIN, 0};
    if (poll(&descriptor, 1, MillisecondsUntil(deadline)) <= 0) return true;
    char bytes[4096];
    const ssize_t got = read(Child.output, bytes, sizeof bytes);
    if (got <= 0) {
        CloseChildOutput(Child);
        return false;
    }
    Unfinished.append(bytes, static_cast<std::size_t>(got));
    SplitLines();
    return true;
}

// Writes all of it, listening at the same time so that neither side waits for the other.
void Send(const std::string& bytes, const std::string& shown) {
    NeedProgram();
    Record('>', shown);
    const auto deadline = Clock::now() + Patience;
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t part = write(Child.input, bytes.data() + sent, bytes.size() - sent);
        if (part > 0) {
            sent += static_cast<std::size_t>(part);
        } else if (errno != EAGAIN) {
            throw Failure("the program takes no more input");
        } else {
            Listen(Clock::now() + milliseconds(1));
        }
        if (Clock::now() > deadline) throw Failure("the program does not read");
    }
}

// The next line of output; `expected` is for the report when none comes.
std::string NextLine(const std::string& expected, Clock::time_point deadline) {
    NeedProgram();
    while (Unread.empty()) {
        if (Clock::now() >= deadline) throw Failure("no answer in time: " + expected);
        if (!Listen(deadline) && Unread.empty()) {
            throw Failure("the output has ended, expected: " + expected);
        }
    }
    std::string line = Unread.front();
    Unread.pop_front();
    return line;
}

double ProcessorSeconds() {
    if (HasEnded()) throw Failure("the program has ended");
    clockid_t clock;
    timespec time = {};
    if (clock_getcpuclockid(Child.pid, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        throw Failure("the program's processor time cannot be read");
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// ---- The texts of steps ----

// Puts in what the groups of the last pattern matched.
std::string WithGroups(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); i++) {
        const std::size_t number =
            text[i] == '$' && i + 1 < text.size() ? std::size_t(text[i + 1] - '0') : 0;
        if (number < 1 || number > 9) {
            result += text[i];
        } else if (number < Groups.size()) {
            result += Groups[number];
            i++;
        } else {
            throw Failure("the last pattern had no such group: " + text);
        }
    }
    return result;
}

bool Matches(const std::string& line, const std::string& pattern) {
    std::smatch match;
    if (!std::regex_match(line, match, std::regex(pattern))) return false;
    Groups.assign(match.begin(), match.end());
    return true;
}

// The number at the end of "... within MS"; the text before it stays.
milliseconds TakeWithin(std::string& text, milliseconds otherwise) {
    static const std::regex kWithin("(.*?) ?within ([0-9]+)");
    std::smatch match;
    if (!std::regex_match(text, match, kWithin)) return otherwise;
    const milliseconds limit(std::stoi(match[2]));
    text = std::string(match[1]);
    return limit;
}

// \n \r \t \\, \xHH for any byte, and \{N}, which repeats the byte before it to N of
// them.
std::string Unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        const char kind = ++i < text.size() ? text[i] : '\0';
        switch (kind) {
            case 'n':
                result += '\n';
                break;
            case 'r':
                result += '\r';
                break;
            case 't':
                result += '\t';
                break;
            case '\\':
                result += '\\';
                break;
            case 'x':
                result +=
                    static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
                i += 2;
                break;
            case '{': {
                const int count = std::stoi(text.substr(i + 1));
                if (count < 1 || result.empty()) throw Failure("nothing to repeat");
                result.append(static_cast<std::size_t>(count - 1), result.back());
                i = text.find('}', i);
                break;
            }
            default:
                throw Failure("unknown escape in: " + text);
        }
    }
    return result;
}

// ---- The steps ----

void SendLine(const Step& step) {
    const std::string line = WithGroups(step.text);
    Send(line + '\n', line);
}

void SendRaw(const Step& step) {
    const std::string bytes = Unescaped(WithGroups(step.text));
    Send(bytes, bytes);
}

void ExpectExact(const Step& step) {
    const std::string expected = WithGroups(step.text);
    const std::string line = NextLine(expected, Clock::now() + Patience);
    if (line != expected) throw Failure("expected: " + expected + "\n     got: " + line);
}

void ExpectPattern(const Step& step) {
    const std::string pattern = WithGroups(step.text);
    const std::string line = NextLine(pattern, Clock::now() + Patience);
    if (!Matches(line, pattern)) {
        throw Failure("expected a match of: " + pattern + "\n     got: " + line);
    }
}

void SkipTo(const std::string& pattern) {
    const auto deadline = Clock::now() + Patience;
    while (!Matches(NextLine(pattern, deadline), pattern)) {
    }
}

void ExpectEventually(const Step& step) { SkipTo(WithGroups(step.text)); }

// Looks at lines without taking them: later steps see them again.
void ExpectNever(const Step& step) {
    NeedProgram();
    std::string pattern = step.text;
    const auto deadline = Clock::now() + TakeWithin(pattern, milliseconds(0));
    const std::regex compiled(WithGroups(pattern));
    std::size_t seen = 0;
    do {
        Listen(deadline);
        for (; seen < Unread.size(); seen++) {
            if (!std::regex_match(Unread[seen], compiled)) continue;
            throw Failure("unwanted: " + Unread[seen]);
        }
    } while (Clock::now() < deadline && Child.output >= 0);
}

void SkipUnread(const Step&) {
    NeedProgram();
    Listen(Clock::now());
    Unread.clear();
}

// Everything sent before has been handled once the castling flags are answered.
void ReachReady(const Step&) {
    Send("mvd\n", "mvd");
    SkipTo("NBP=[0-9]+ NWP=[0-9]+");
}

void Wait(const Step& step) {
    const auto deadline = Clock::now() + milliseconds(std::stoi(step.text));
    NeedProgram();
    while (Clock::now() < deadline && Listen(deadline)) {
    }
    std::this_thread::sleep_until(deadline);
}

// The share of one processor used while the step lasts.
double Load(const Step& step) {
    NeedProgram();
    const double before = ProcessorSeconds();
    Wait(step);
    return (ProcessorSeconds() - before) * 1000 / std::stod(step.text);
}

// Stretches of the given length follow each other until one is as wanted: it may have
// something to finish first, or other programs may have kept it from the processor.
void AwaitLoad(const Step& step, bool (*wanted)(double), const char* complaint) {
    const auto deadline = Clock::now() + Patience;
    while (!wanted(Load(step))) {
        if (Clock::now() > deadline) throw Failure(complaint);
    }
}

void BeIdle(const Step& step) {
    AwaitLoad(
        step, [](double load) { return load < 0.02; }, "does not come to rest");
}

void BeBusy(const Step& step) {
    AwaitLoad(
        step, [](double load) { return load > 0.1; }, "does not think");
}

void EndInput(const Step&) {
    NeedProgram();
    Record('*', "end of input");
    CloseChildInput(Child);
}

void LeaveOutput(const Step&) {
    NeedProgram();
    Record('*', "nobody reads any more");
    CloseChildOutput(Child);
}

void SendSignal(const Step& step) {
    NeedProgram();
    const int number = step.text == "INT" ? SIGINT : step.text == "TERM" ? SIGTERM : 0;
    if (number == 0) throw Failure("unknown signal " + step.text);
    Record('*', "signal " + step.text);
    if (HasEnded() || kill(Child.pid, number) != 0)
        throw Failure("the program has ended");
}

void ExpectExit(const Step& step) {
    NeedProgram();
    std::string status = step.text;
    const auto deadline =
        Clock::now() + Slowness * TakeWithin(status, milliseconds(10000));
    while (!HasEnded()) {
        if (Clock::now() > deadline) throw Failure("the program has not ended in time");
        Listen(Clock::now() + milliseconds(5));
        if (Child.output < 0) std::this_thread::sleep_for(milliseconds(5));
    }
    while (Listen(Clock::now())) {  // what it wrote last can still be read
        if (Child.output < 0) break;
    }
    CloseChildInput(Child);
    if (ExitStatus != std::stoi(status)) {
        throw Failure("ended with status " + std::to_string(ExitStatus) + ", not " +
                      status);
    }
}

void PlaceFile(const Step& step) {
    const std::filesystem::path name(step.text.substr(0, step.text.find(' ')));
    std::filesystem::create_directories((Folder / name).parent_path());
    std::ofstream(Folder / name, std::ios::binary) << step.content;
}

void SetArguments(const Step& step) {
    Arguments.clear();
    std::size_t begin = 0;
    while ((begin = step.text.find_first_not_of(' ', begin)) != std::string::npos) {
        const std::size_t end = std::min(step.text.find(' ', begin), step.text.size());
        Arguments.push_back(step.text.substr(begin, end - begin));
        begin = end;
    }
}

void SetPatience(const Step& step) {
    Patience = Slowness * milliseconds(std::stoi(step.text));
}

void Start(const Step&) { StartProgram(); }

constexpr struct {
    const char* verb;
    void (*perform)(const Step&);
} kSteps[] = {
    {">", SendLine},       {">>", SendRaw},          {"<", ExpectExact},
    {"<~", ExpectPattern}, {"<*", ExpectEventually}, {"<!", ExpectNever},
    {"skip", SkipUnread},  {"ready", ReachReady},    {"wait", Wait},
    {"idle", BeIdle},      {"busy", BeBusy},         {"eof", EndInput},
    {"deaf", LeaveOutput}, {"signal", SendSignal},   {"exit", ExpectExit},
    {"file", PlaceFile},   {"args", SetArguments},   {"timeout", SetPatience},
    {"start", Start},
};

void Perform(const Step& step) {
    for (const auto& known : kSteps) {
        if (step.verb == known.verb) return known.perform(step);
    }
    throw Failure("unknown step: " + step.verb);
}

// However the conversation went, the program then ends by itself and in peace.
void Finish() {
    if (Child.pid < 0) return;
    CloseChildInput(Child);
    ExpectExit({0, "exit", "0", ""});
}

// ---- The file ----

// Reads the lines up to the mark after "<<".
std::string ReadContent(std::istream& file, const std::string& text, int& lineNumber) {
    const std::size_t mark = text.find("<<");
    if (mark == std::string::npos) throw Failure("file needs <<MARK");
    const std::string end = text.substr(mark + 2);
    std::string content;
    std::string line;
    while (std::getline(file, line)) {
        lineNumber++;
        if (line == end) return content;
        content += line + '\n';
    }
    throw Failure("no line " + end + " ends the file");
}

std::vector<Step> ReadSteps(const std::string& name) {
    std::ifstream file(name);
    if (!file) throw Failure("cannot be read");
    std::vector<Step> steps;
    std::string line;
    for (int number = 1; std::getline(file, line); number++) {
        if (line.empty() || line[0] == '#') continue;
        const std::size_t blank = std::min(line.find(' '), line.size());
        Step step = {number, line.substr(0, blank), "", ""};
        if (blank < line.size()) step.text = line.substr(blank + 1);
        if (step.verb == "file") step.content = ReadContent(file, step.text, number);
        steps.push_back(std::move(step));
    }
    if (steps.empty()) throw Failure("says nothing");
    return steps;
}

// The number of the line that failed is left in `line` for the report.
void Converse(const std::string& name, int& line) {
    for (const Step& step : ReadSteps(name)) {
        line = step.line;
        Perform(step);
    }
    Finish();
}

std::filesystem::path MakeFolder() {
    std::string name =
        (std::filesystem::temp_directory_path() / "veltramox-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw Failure("no temporary folder");
    return name;
}

}  // namespace

int main(int count, char** words) {
    if (count != 3) {
        std::fprintf(stderr, "usage: conversation PROGRAM FILE\n");
        return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    Beginning = Clock::now();
    if (const char* slowness = std::getenv("VELTRAMOX_SLOWNESS")) {
        Slowness = std::max(1, std::atoi(slowness));
        Patience *= Slowness;
    }
    int line = 0;
    int status = EXIT_SUCCESS;
    try {
        Program = std::filesystem::absolute(words[1]).string();
        Folder = MakeFolder();
        Converse(words[2], line);
    } catch (const std::exception& failure) {
        std::printf("%s:%d: %s\nThe conversation (seconds, > sent, < received):\n%s",
                    words[2], line, failure.what(), Log.c_str());
        status = EXIT_FAILURE;
    }
    KillChild(Child);
    if (!Folder.empty()) std::filesystem::remove_all(Folder);
    return status;
}
