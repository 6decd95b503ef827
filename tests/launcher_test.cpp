// The launcher and the game folder that it fills: a copy is whole or is not there.
#include <gtest/gtest.h>

#ifndef _WIN32

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

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
    int Start(const std::string& game, const std::string& blocks) {
        const std::string command =
            "trap '' XFSZ; cd '" + scratch.directory.string() + "' && ulimit -f " +
            blocks + " && env -u XDG_DATA_HOME HOME=\"$PWD/home\" VELTRAMOX_GAME='" +
            game +
            "' sh '" VELTRAMOX_TEST_FOLDER
            "/../tools/start.sh' data none /bin/pwd >said 2>complaint </dev/null";
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

}  // namespace

#endif
