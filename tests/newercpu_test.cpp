// The program for newer processors takes the place of the one that was called, and plays
// the same.
#ifndef _WIN32
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

#include "platform/childprocess.h"
#include "tests/scratch.h"

namespace {

namespace fs = std::filesystem;

struct Game {
    std::string thoughts;  // depth, score, nodes and moves of each line
    fs::path ran;          // the program that thought
};

// Lets the program think about the start position.
Game Think(const Scratch& folder, const fs::path& program) {
    ChildProcess child;
    if (!StartChild({program.string(), {}, folder.directory.string()}, child)) return {};
    constexpr char kGo[] = "xboard\npost\nsd 9\ngo\n";
    EXPECT_GT(write(child.input, kGo, sizeof kGo - 1), 0);
    Game game;
    std::FILE* output = fdopen(dup(child.output), "r");
    char text[4096];
    while (std::fgets(text, sizeof text, output) != nullptr) {
        if (std::string_view(text).starts_with("move")) break;
        std::istringstream line(text);
        int depth = 0;
        std::string score, time, rest;
        if (!(line >> depth >> score >> time)) continue;
        std::getline(line, rest);
        game.thoughts += std::to_string(depth) + " " + score + rest + "\n";
    }
    game.ran = fs::read_symlink("/proc/" + std::to_string(child.pid) + "/exe");
    std::fclose(output);
    KillChild(child);
    return game;
}

TEST(NewerCpu, PlaysTheSame) {
    const fs::path program = VELTRAMOX_PROGRAM;
    const fs::path newer = program.string() + "-v3";
    if (!fs::exists(newer)) GTEST_SKIP() << "not in this build";
    const Scratch folder;
    fs::copy_file(program, folder.Path("alone"));
    const Game alone = Think(folder, folder.Path("alone"));
    const Game helped = Think(folder, program);
    EXPECT_EQ(alone.ran.filename(), "alone");
    EXPECT_NE(alone.thoughts.find("9 "), std::string::npos) << alone.thoughts;
    EXPECT_EQ(helped.thoughts, alone.thoughts);
#ifdef __x86_64__
    const bool isNewer = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
    EXPECT_EQ(fs::canonical(helped.ran), fs::canonical(isNewer ? newer : program));
#endif
}

}  // namespace
#endif
