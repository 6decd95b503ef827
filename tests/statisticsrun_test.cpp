// The program's modes for results by material, as they are called: exit statuses, what is
// left of the files, and that every input ends when the program is asked to.
#include <gtest/gtest.h>

#ifdef __linux__

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "book/statistics.h"
#include "tests/killed.h"
#include "tests/scratch.h"

namespace {

namespace fs = std::filesystem;

class StatisticsRunTest : public ::testing::Test {
protected:
    void SetUp() override { scratch.Write("Veltramox.ini", "UseEGTB=off\n"); }
    // Starts the engine in the folder with no input; its output goes into the file
    // "said", or another one.
    pid_t Start(std::vector<std::string> words, const char* output = "said") {
        const pid_t child = fork();
        if (child != 0) return child;
        fs::current_path(folder);
        const int said = open(output, O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(open("/dev/null", O_RDWR), 0);
        dup2(said, 1);
        words.insert(words.begin(), VELTRAMOX_PROGRAM);
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        execv(VELTRAMOX_PROGRAM, arguments.data());
        _exit(127);
    }
    static int StatusOf(pid_t child) {
        int status = -1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    int Run(const std::vector<std::string>& words) { return StatusOf(Start(words)); }
    // What the program said behind its start-up lines.
    std::string Said() {
        const std::string all = scratch.Read(fs::path(folder) / "said");
        const std::string last = "Error opening \"book.vlx\"!\n";
        const std::size_t at = all.find(last);
        return at == std::string::npos ? all : all.substr(at + last.size());
    }
    Scratch scratch;
    fs::path folder = scratch.directory;
};

// Waits until the program hears SIGTERM, and a little more.
void AwaitHandler(pid_t program) {
    for (int i = 0; i < 5000; ++i, usleep(1000)) {
        std::ifstream status("/proc/" + std::to_string(program) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("SigCgt:") &&
                (std::stoull(line.substr(7), nullptr, 16) >> (SIGTERM - 1) & 1) != 0) {
                usleep(100'000);
                return;
            }
    }
    ADD_FAILURE() << "no handler";
}

constexpr char kGame[] = "[Result \"1-0\"]\n\n1. e4 e5 1-0\n\n";

// A report that cannot be written is status 1; the games are counted all the same.
TEST_F(StatisticsRunTest, LostOutputCostsNoCounts) {
    scratch.Write("games", kGame);
    EXPECT_EQ(Run({"-p", "games"}), 0);
    const std::string once = scratch.Read("Veltramox.set");
    EXPECT_EQ(StatusOf(Start({"-p", "games", "--fresh"}, "/dev/full")), 1);
    EXPECT_TRUE(scratch.Read("Veltramox.set") == once);
    EXPECT_EQ(StatusOf(Start({"-c"}, "/dev/full")), 1);
    EXPECT_TRUE(fs::exists(scratch.Path("out.vlx")));
    EXPECT_EQ(StatusOf(Start({"--version"}, "/dev/full")), 1);
}

TEST_F(StatisticsRunTest, StatusesTellWhatHappened) {
    scratch.Write("games", kGame);
    EXPECT_EQ(Run({"-p", "none"}), 1);
    EXPECT_EQ(Run({"-p", "none", "--fresh"}), 1);
    EXPECT_EQ(Said(), "Error opening file none...\n");
    EXPECT_EQ(Run({"-p", "."}), 1);
    EXPECT_EQ(Said(), "Error opening file ....\n");
    EXPECT_FALSE(fs::exists(scratch.Path("Veltramox.set")));
    EXPECT_EQ(Run({"-p", "games"}), 0);
    EXPECT_EQ(Said(), "");
    EXPECT_EQ(Run({"-c"}), 0);
    EXPECT_EQ(scratch.Read("out.vlx"), "Draws=0 wins=1 losses=1 Result=2/4 (50%)\n\n");
    fs::remove(scratch.Path("out.vlx"));
    fs::create_symlink("/dev/full", scratch.Path("out.vlx"));
    EXPECT_EQ(Run({"-c"}), 1);
    EXPECT_EQ(Said(), "Error opening file out.vlx...\n");
    fs::remove(scratch.Path("Veltramox.set"));
    fs::create_directory(scratch.Path("Veltramox.set"));
    for (const char* mode : {"-c", "-p"}) {
        EXPECT_EQ(Run(mode[1] == 'c' ? std::vector<std::string>{mode}
                                     : std::vector<std::string>{mode, "games"}),
                  1);
        EXPECT_EQ(Said(), "Error opening file Veltramox.set...\n");
    }
}

// Each run adds to what is there, unless it is to begin anew.
TEST_F(StatisticsRunTest, FreshRunsForgetTheOldOnes) {
    scratch.Write("games", kGame);
    const auto wins = [this] {
        return static_cast<int>(
            scratch.Read("Veltramox.set").at((647 * 648 + 647) * 6 + 3));
    };
    EXPECT_EQ(Run({"-p", "games"}), 0);
    EXPECT_EQ(Run({"-p", "games"}), 0);
    EXPECT_EQ(wins(), 2);
    EXPECT_EQ(Run({"-p", "none", "--fresh"}), 1);
    EXPECT_EQ(wins(), 2);
    EXPECT_EQ(Run({"-p", "games", "--fresh"}), 0);
    EXPECT_EQ(wins(), 1);
    EXPECT_EQ(Run({"-p", "--fresh", "games"}), 0);
    EXPECT_EQ(wins(), 1);
}

// Whatever is read without end, a request to end is heard.
TEST_F(StatisticsRunTest, EndlessInputEndsWhenAsked) {
    ASSERT_EQ(mkfifo(scratch.Path("unopened").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(scratch.Path("silent").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(scratch.Path("endless").c_str(), 0600), 0);
    const int writer = open(scratch.Path("silent").c_str(), O_RDWR);
    EXPECT_EQ(write(writer, kGame, sizeof kGame - 1),
              static_cast<ssize_t>(sizeof kGame - 1));
    for (const char* games : {"/dev/zero", "unopened", "silent", "endless"}) {
        const pid_t program = Start({"-p", games});
        pid_t feeder = 0;
        if (games == std::string("endless") && (feeder = fork()) == 0) {
            const int end = open(scratch.Path(games).c_str(), O_WRONLY);
            const std::string line(50'000, '.');
            EXPECT_GT(write(end, kGame, 20), 0);
            for (;;)
                if (write(end, line.data(), line.size()) < 0) _exit(0);
        }
        AwaitHandler(program);
        const auto asked = std::chrono::steady_clock::now();
        kill(program, SIGTERM);
        EXPECT_EQ(StatusOf(program), 0) << games;
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(5));
        if (feeder != 0) kill(feeder, SIGKILL);
        if (feeder != 0) waitpid(feeder, nullptr, 0);
    }
    close(writer);

    fs::remove(scratch.Path("Veltramox.ini"));
    fs::create_symlink("/dev/zero", scratch.Path("Veltramox.ini"));
    const pid_t program = Start({});
    AwaitHandler(program);
    kill(program, SIGTERM);
    EXPECT_EQ(StatusOf(program), 0);
}

TEST_F(StatisticsRunTest, TwoProgramsAtOnceCountAllGames) {
    std::string games;
    for (int i = 0; i < 5000; ++i) games += kGame;
    scratch.Write("games", games);
    ASSERT_EQ(Run({"-p", "games"}), 0);
    for (int round = 0; round < 5; ++round) {
        const pid_t first = Start({"-p", "games"}), second = Start({"-p", "games"});
        EXPECT_EQ(StatusOf(first), 0);
        EXPECT_EQ(StatusOf(second), 0);
    }
    EXPECT_EQ(Run({"-c"}), 0);
    EXPECT_EQ(scratch.Read("out.vlx"),
              "Draws=0 wins=55000 losses=55000 Result=110000/220000 (50%)\n\n");
}

// A file system of its own, of 4 MB.
class SmallDisk {
public:
    explicit SmallDisk(const fs::path& where) : folder(where) {
        fs::create_directory(where);
        mounted = mount("none", where.c_str(), "tmpfs", 0, "size=4m") == 0;
    }
    ~SmallDisk() {
        if (mounted) umount2(folder.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    bool mounted;

private:
    fs::path folder;
};

// The statistics file is full of holes, and there is no room for what belongs there.
TEST_F(StatisticsRunTest, ASparseFileOnAFullDiskStaysAsItIs) {
    folder = scratch.Path("disk");
    const SmallDisk disk(folder);
    if (!disk.mounted) GTEST_SKIP() << "no file system may be mounted here";
    scratch.Write("games", kGame);
    scratch.Write("disk/Veltramox.ini", "UseEGTB=off\n");
    scratch.Write("disk/said", "");
    scratch.Write("disk/Veltramox.set", "");
    fs::resize_file(folder / "Veltramox.set", kStatisticsSize);
    scratch.Write("disk/filler", std::string(3'000'000, 'x'));
    EXPECT_EQ(Run({"-p", "../games"}), 1);
    EXPECT_EQ(scratch.Read("disk/Veltramox.set"), std::string(kStatisticsSize, '\0'));
    fs::remove(folder / "Veltramox.set");
    EXPECT_EQ(Run({"-p", "../games"}), 1);
    EXPECT_FALSE(fs::exists(folder / "Veltramox.set"));
    fs::remove(folder / "filler");
    EXPECT_EQ(Run({"-p", "../games"}), 0);
}

}  // namespace

#endif
