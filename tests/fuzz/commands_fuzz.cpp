// Fuzzing of the whole program through its standard input, with libFuzzer: the command
// loop and what comes while it thinks ("commands"), and edit mode followed by a look at
// the position from every side ("edit"). VELTRAMOX_FUZZ_KIND names which.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "driver/commands.h"
#include "driver/startup.h"
#include "tests/scratch.h"

namespace {

// The whole input waits in a pipe, which must hold it without a reader.
constexpr std::size_t kLongestInput = 32768;

void Require(bool condition) {
    if (!condition) std::abort();
}

// A clock that is nearly out makes the program look at its input after a few hundred
// nodes.
std::string Session(const std::string& kind, std::string bytes) {
    if (kind == "edit")
        bytes = "force\nedit\n" + bytes + "\n.\nbrd\nevl\ntst\nsd 2\ngo\ntime 50\ngo\n";
    else
        bytes = "time 50\n" + bytes;
    return bytes.substr(0, kLongestInput);
}

void PutIntoStandardInput(const std::string& text) {
    int ends[2];
    Require(pipe(ends) == 0);
    Require(write(ends[1], text.data(), text.size()) ==
            static_cast<ssize_t>(text.size()));
    close(ends[1]);
    Require(dup2(ends[0], STDIN_FILENO) == STDIN_FILENO);
    close(ends[0]);
}

// From start-up to the end of input, in a folder of its own with the smallest tables.
void RunProgram(bool strong) {
    static const Scratch folder;
    static const int before = open(".", O_RDONLY);
    folder.Write(
        "Veltramox.ini",
        std::string("TranspositionSize=13\nPawnHashSize=12\nUseEGTB=off\nSearch=") +
            (strong ? "strong\n" : "classic\n"));
    Require(chdir(folder.directory.c_str()) == 0);
    StartUp();
    CommandLoop();
    ShutDown();
    Require(fchdir(before) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PutIntoStandardInput(
        Session(VELTRAMOX_FUZZ_KIND, {reinterpret_cast<const char*>(data), size}));
    // Either search, as the input's length has it: a fault comes again with its input.
    RunProgram(size % 2 != 0);
    return 0;
}
