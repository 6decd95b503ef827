// Files replaced as a whole: what stands beside them, where links lead, and what is left
// when a writer fails, is killed or has a rival.
#include "platform/files.h"

#include <gtest/gtest.h>

#ifndef _WIN32

#include <fcntl.h>
#include <sys/stat.h>

#include <set>
#include <string>
#include <vector>

#include "tests/killed.h"
#include "tests/scratch.h"

namespace {

namespace fs = std::filesystem;

class FilesTest : public ::testing::Test {
protected:
    bool Replace(const std::string& name, const std::string& content) {
        return ReplaceFile(scratch.Path(name).c_str(), content.data(), content.size());
    }
    std::set<std::string> Names() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(scratch.directory))
            names.insert(entry.path().filename().string());
        return names;
    }
    int ModeOf(const std::string& name) {
        struct stat status = {};
        stat(scratch.Path(name).c_str(), &status);
        return static_cast<int>(status.st_mode & 07777);
    }
    Scratch scratch;
};

// Content number n, long enough to be written in several pieces.
std::string Content(int n) {
    return std::to_string(n) + std::string(3'000'000, static_cast<char>('a' + n % 26));
}
bool IsContent(const std::string& text, int n) { return text == Content(n); }

using Names = std::set<std::string>;

TEST_F(FilesTest, NothingBesideTheTargetIsTouched) {
    scratch.Write("out.new", "a stranger's");
    scratch.Write("out", "old");
    EXPECT_TRUE(Replace("out", "new"));
    EXPECT_EQ(scratch.Read("out"), "new");
    EXPECT_EQ(scratch.Read("out.new"), "a stranger's");
    fs::remove(scratch.Path("out.new"));
    scratch.Write("precious", "precious");
    fs::create_symlink("precious", scratch.Path("out.new"));
    EXPECT_TRUE(Replace("out", "newer"));
    EXPECT_EQ(scratch.Read("precious"), "precious");
    EXPECT_EQ(Names(), (::Names{"out", "out.new", "precious"}));
}

// What a killed program with this process number may have left.
TEST_F(FilesTest, AnOldTemporaryIsPassedOver) {
    const std::string old = ".veltramox-" + std::to_string(getpid()) + "-0";
    fs::create_symlink("precious", scratch.Path(old));
    EXPECT_TRUE(Replace("out", "new"));
    EXPECT_EQ(Names(), (::Names{old, "out"}));
}

TEST_F(FilesTest, LinksStayLinks) {
    fs::create_directory(scratch.Path("folder"));
    scratch.Write("folder/real", "old");
    fs::create_symlink("folder/real", scratch.Path("first"));
    fs::create_symlink("first", scratch.Path("second"));
    fs::create_symlink("folder/later", scratch.Path("dangling"));
    fs::create_symlink("round", scratch.Path("round"));
    EXPECT_TRUE(Replace("second", "new"));
    EXPECT_TRUE(Replace("dangling", "made"));
    EXPECT_EQ(scratch.Read("folder/real"), "new");
    EXPECT_EQ(scratch.Read("folder/later"), "made");
    EXPECT_FALSE(Replace("round", "x"));
    for (const char* link : {"first", "second", "dangling", "round"})
        EXPECT_TRUE(fs::is_symlink(scratch.Path(link))) << link;
}

TEST_F(FilesTest, TheModeStays) {
    const mode_t before = umask(027);
    EXPECT_TRUE(Replace("fresh", "x"));
    umask(before);
    EXPECT_EQ(ModeOf("fresh"), 0640);
    for (const mode_t mode : {0600u, 0664u, 0755u, 0444u}) {
        scratch.Write("out", "old");
        chmod(scratch.Path("out").c_str(), mode);
        EXPECT_TRUE(Replace("out", "new"));
        EXPECT_EQ(ModeOf("out"), static_cast<int>(mode));
        fs::remove(scratch.Path("out"));
    }
}

TEST_F(FilesTest, WhatIsNoRegularFileIsWrittenStraightOrRefused) {
    fs::create_directory(scratch.Path("folder"));
    EXPECT_FALSE(Replace("folder", "x"));
    EXPECT_FALSE(Replace("none/file", "x"));
    fs::create_symlink("/dev/null", scratch.Path("null"));
    EXPECT_TRUE(Replace("null", "x"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    fs::create_symlink("/dev/full", scratch.Path("full"));
    EXPECT_FALSE(Replace("full", "x"));
    ASSERT_EQ(mkfifo(scratch.Path("pipe").c_str(), 0600), 0);
    const int reader = open(scratch.Path("pipe").c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_TRUE(Replace("pipe", "through"));
    char text[20] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 7);
    close(reader);
    EXPECT_EQ(text, std::string("through"));
    EXPECT_TRUE(fs::is_fifo(scratch.Path("pipe")));
    EXPECT_EQ(Names(), (::Names{"folder", "full", "null", "pipe"}));
}

// Wherever the disk is full, the old file stays and nothing else.
TEST_F(FilesTest, AFullDiskLeavesTheOldFile) {
    ASSERT_TRUE(Replace("out", Content(0)));
    for (const rlim_t room : {0u, 1u, 4096u, 1u << 20, 2'500'000u, 3'000'000u}) {
        const FileSizeLimit full(room);
        EXPECT_FALSE(Replace("out", Content(1))) << room;
        EXPECT_FALSE(Replace("other", Content(1))) << room;
        EXPECT_EQ(Names(), ::Names{"out"}) << room;
    }
    EXPECT_TRUE(IsContent(scratch.Read("out"), 0));
}

// A program that has not said what is to become of a write beyond the limit lives on.
TEST_F(FilesTest, AFileSizeLimitKillsNobody) {
    const pid_t child = fork();
    if (child == 0) {
        const FileSizeLimit full(4096);
        signal(SIGXFSZ, SIG_DFL);
        _exit(Replace("out", Content(1)) ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Names(), ::Names{});
}

TEST_F(FilesTest, AKillLeavesTheOldFileOrTheNewOne) {
    ASSERT_TRUE(Replace("out", "start"));
    std::mt19937 random(3);
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        const std::string before = scratch.Read("out");
        const auto text = [&](int n) {
            return std::to_string(round) + ' ' + std::to_string(n) +
                   std::string(20'000, static_cast<char>('a' + n % 26));
        };
        const int calls =
            CallsUntilKilled([&](int n) { Replace("out", text(n)); }, random, 3);
        const std::string found = scratch.Read("out");
        EXPECT_TRUE(found == text(calls) ||
                    found == (calls == 0 ? before : text(calls - 1)))
            << round;
        for (const auto& name : Names())
            if (name != "out") fs::remove(scratch.Path(name));
    }
}

// Asked to end in the middle of writing: the temporary file goes with the program.
TEST_F(FilesTest, ARequestToEndLeavesNoTemporary) {
    std::mt19937 random(4);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        for (int round = 0; round < 15; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                ::signal(signal, SIG_DFL);  // background shells and nohup ignore some
                for (int n = 0;; ++n) Replace("out", Content(n));
            }
            while (!fs::exists(scratch.Path("out"))) usleep(100);
            usleep(static_cast<useconds_t>(random() % 5000));
            kill(child, signal);
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
            EXPECT_EQ(Names(), ::Names{"out"});
            EXPECT_EQ(scratch.Read("out").substr(0, 1).find_first_not_of("0123456789"),
                      std::string::npos);
        }
}

// A file that was open when the process was copied has one position for both.
TEST_F(FilesTest, TwoReadersOfOneHandle) {
    std::string text(20000, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i / 100);
    scratch.Write("in", text);
    FileHandle file = OpenFile(scratch.Path("in").c_str(), FileMode::Read);
    ASSERT_NE(file, nullptr);
    AtOnce([&](int i) {
        char part[100];
        for (int n = 0; n < 20000; ++n) {
            const int at = (n * 7 + i * 3) % 200;
            ASSERT_EQ(FileSize(file), 20000);
            ASSERT_TRUE(ReadAt(file, at * 100, part, sizeof part));
            ASSERT_EQ(part[0], static_cast<char>(at));
            ASSERT_EQ(part[99], static_cast<char>(at));
        }
    });
    char part[100];
    EXPECT_FALSE(ReadAt(file, 19901, part, sizeof part));
    EXPECT_FALSE(ReadAt(file, -1, part, sizeof part));
    CloseFile(file);
}

TEST_F(FilesTest, OfTwoWritersOneWins) {
    const std::string texts[2] = {std::string(100'000, 'a'), std::string(50'000, 'b')};
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        AtOnce([&](int i) { EXPECT_TRUE(Replace("out", texts[i])); });
        const std::string found = scratch.Read("out");
        EXPECT_TRUE(found == texts[0] || found == texts[1]) << round;
        EXPECT_EQ(Names(), ::Names{"out"});
    }
}

// A line is added whole or not at all.
TEST_F(FilesTest, AppendedTextIsWholeOrMissing) {
    const std::string name = scratch.Path("log");
    EXPECT_TRUE(AppendText(name.c_str(), "first\n"));
    {
        const FileSizeLimit full(10);
        EXPECT_FALSE(AppendText(name.c_str(), "second\n"));
    }
    EXPECT_EQ(scratch.Read("log"), "first\n");
    EXPECT_TRUE(AppendText(name.c_str(), "third\n"));
    EXPECT_EQ(scratch.Read("log"), "first\nthird\n");
    EXPECT_FALSE(AppendText("/dev/full", "x"));
}

// ---- Locks ----

// Holds a lock of the file in a process of its own until it is killed.
pid_t Holder(const std::string& name) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        FileHandle file = OpenFile(name.c_str(), FileMode::Update);
        const FileLock lock(file, 10, 10);
        EXPECT_EQ(write(ready[1], "", 1), 1);
        for (;;) pause();
    }
    char byte;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
    return child;
}

TEST_F(FilesTest, ALockIsGivenUpWaitedForAndLeftByTheKilled) {
    scratch.Write("file", "content");
    const pid_t holder = Holder(scratch.Path("file"));
    FileHandle file = OpenFile(scratch.Path("file").c_str(), FileMode::Update);
    EXPECT_NE(FileLock(file, 0, 10).file, nullptr);  // other bytes
    EXPECT_NE(FileLock(file, 20, 1).file, nullptr);
    EXPECT_EQ(FileLock(file, 19, 1).file, nullptr);  // after two seconds
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_NE(FileLock(file, 19, 1).file, nullptr);
    CloseFile(file);
    file = OpenFile("/dev/null", FileMode::Read);  // cannot be locked for writing
    EXPECT_EQ(FileLock(file, 0, 1).file, nullptr);
    CloseFile(file);
}

}  // namespace

#endif
