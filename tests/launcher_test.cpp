// The launcher and the game folder that it fills: a copy is whole or is not there.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/version.h"
#include "tests/scratch.h"

namespace {

namespace fs = std::filesystem;

class LauncherTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* folder : {"data", "data/tables", "home"})
            fs::create_directory(scratch.Path(folder));
        scratch.Write("data/Book.vlx", std::string(100'000, 'b'));
        scratch.Write("data/Veltramox.ini", "EGTBPath=tables\n");
    }
    // Starts "pwd" in place of the engine: what it says is the game folder. No file can
    // grow beyond `blocks` half kilobytes, as on a full disk.
    int Start(const std::string& game, const std::string& blocks,
              const std::string& program = "/bin/pwd") {
        const std::string command =
            "trap '' XFSZ; cd '" + scratch.directory.string() + "' && ulimit -f " +
            blocks + " && env -u XDG_DATA_HOME HOME=\"$PWD/home\" VELTRAMOX_GAME='" +
            game + "' sh '" VELTRAMOX_TEST_FOLDER "/../tools/start.sh' data none " +
            program + " >said 2>complaint </dev/null";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string Said() { return scratch.Read("said"); }
    bool NothingIsHalfMade(const std::string& folder) {
        for (const auto& entry : fs::directory_iterator(scratch.Path(folder)))
            if (entry.path().filename() != "tables") return false;
        return true;
    }
    Scratch scratch;
};

TEST_F(LauncherTest, FillsTheFolderOnce) {
    const std::string folder = scratch.Path("home/.local/share/veltramox");
    for (const char* blocks : {"unlimited", "1"}) {  // then there is nothing to copy
        EXPECT_EQ(Start("", blocks), 0);
        EXPECT_EQ(Said(), fs::canonical(folder).string() + "\n");
    }
    EXPECT_EQ(fs::file_size(folder + "/Book.vlx"), 100'000u);
    EXPECT_TRUE(fs::is_symlink(folder + "/tables"));
}

TEST_F(LauncherTest, OnAFullDiskItPlaysWithoutAFolderOfItsOwn) {
    EXPECT_EQ(Start("", "1"), 0);
    EXPECT_EQ(Said(), fs::canonical(scratch.Path("data")).string() + "\n");
    EXPECT_NE(scratch.Read("complaint").find("nothing will be learned"),
              std::string::npos);
    EXPECT_TRUE(NothingIsHalfMade("home/.local/share/veltramox"));
    EXPECT_EQ(Start("named", "1"), 1);
    EXPECT_NE(scratch.Read("complaint").find("cannot be used"), std::string::npos);
    EXPECT_TRUE(NothingIsHalfMade("named"));
}

struct Program {
    const char* path;
    const char* name;
};

constexpr Program kPrograms[] = {
    {VELTRAMOX_PROGRAM, "veltramox"},
    {VELTRAMOX_BRIDGE, "veltramox-bridge"},
#ifdef VELTRAMOX_TOOL
    {VELTRAMOX_TOOL, "veltramox-tool"},
#endif
};

// The launcher of the bridge puts words of its own in front.
TEST_F(LauncherTest, HelpAndVersionMakeNoFolder) {
    for (const Program& program : kPrograms) {
        const std::string call = std::string("'") + program.path + "' --game . ";
        EXPECT_EQ(Start("game", "unlimited", call + "--version"), 0) << program.name;
        EXPECT_EQ(Said(), std::string(program.name) + " " + kVersion + "\n");
        EXPECT_EQ(Start("game", "unlimited", call + "--help"), 0) << program.name;
        EXPECT_NE(Said().find("--version"), std::string::npos) << Said();
        EXPECT_EQ(scratch.Read("complaint"), "");
    }
    EXPECT_FALSE(fs::exists(scratch.Path("game")));
    EXPECT_TRUE(NothingIsHalfMade("home"));
}

}  // namespace

#endif
