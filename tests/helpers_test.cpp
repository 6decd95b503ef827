// Several cores: a table that processes share, helpers that are gone when they should be,
// and searches with them.
#include "search/strong/helpers.h"

#include <gtest/gtest.h>

#ifdef __linux__

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <vector>

#include "bench/positions.h"
#include "board/notation.h"
#include "driver/startup.h"
#include "platform/childprocess.h"
#include "platform/clock.h"
#include "platform/memory.h"
#include "search/control.h"
#include "search/root.h"
#include "search/rootmoves.h"
#include "search/scores.h"
#include "search/strong/state.h"
#include "tests/killed.h"
#include "tests/scratch.h"
#include "tests/support.h"

namespace {

// The children of a process, those included that have ended and are not put away yet.
std::vector<pid_t> ChildrenOf(pid_t parent) {
    std::vector<pid_t> children;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        std::ifstream file(entry.path() / "stat");
        std::string line;
        if (!std::getline(file, line)) continue;
        // "PID (NAME) STATE PARENT ...": the name may hold anything.
        int owner = 0;
        const std::size_t name = line.rfind(')');
        if (name != std::string::npos &&
            std::sscanf(line.c_str() + name, ") %*c %d", &owner) == 1 && owner == parent)
            children.push_back(std::stoi(line));
    }
    return children;
}

// It has ended, whether or not somebody has put it away.
bool HasEnded(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    if (!std::getline(file, line)) return true;
    const std::size_t name = line.rfind(')');
    return name != std::string::npos && line[name + 2] == 'Z';
}

template <typename Condition>
bool Becomes(Condition condition, int milliseconds = 10000) {
    const std::int64_t deadline = ClockMilliseconds() + milliseconds;
    while (!condition()) {
        if (ClockMilliseconds() > deadline) return false;
        usleep(2000);
    }
    return true;
}

// ---- The table ----

// One bucket, many keys, and results of which every part tells the others.
constexpr int kKeys = 6, kVariants = 50;
std::uint64_t KeyOf(int i) { return 0x9E3779B97F4A7C15 * static_cast<unsigned>(i + 1); }

void StoreVariant(int key, int variant) {
    StoreResult(KeyOf(key), NO_MOVE, variant * kKeys + key, -variant, variant, kExact);
}

bool IsWhole(const KnownResult& result, int key) {
    return !result.found || (result.score == result.depth * kKeys + key &&
                             result.evaluation == -result.depth);
}

TEST(SharedTable, TornEntriesAreNotFound) {
    ASSERT_TRUE(AllocateResults(sizeof(ResultBucket), true));
    Line.Ply = 0;
    AtOnce([](int process) {
        Random random(static_cast<std::uint32_t>(process + 1));
        int found = 0;
        for (int i = 0; i < 2000000; ++i) {
            const int key = random.Below(kKeys);
            if (random.Below(2) == 0) {
                StoreVariant(key, random.Below(kVariants));
                continue;
            }
            const KnownResult result = LookUpResult(KeyOf(key));
            found += result.found ? 1 : 0;
            ASSERT_TRUE(IsWhole(result, key)) << i;
        }
        EXPECT_GT(found, 10000);
    });
    FreshEngine();
}

TEST(SharedTable, HelpersShareItAndNothingElse) {
    auto* shared = static_cast<std::atomic<int>*>(AllocateSharedTable(64));
    auto* own = static_cast<int*>(AllocateTable(64));
    ASSERT_TRUE(shared != nullptr && own != nullptr);
    own[0] = 7;
    const Copied copied = StartHelper(0, true);
    if (copied == Copied::Helper) {
        own[0] += 1;
        shared->store(100 + own[0]);
        LeaveHelper();
    }
    ASSERT_EQ(copied, Copied::Parent);
    EXPECT_TRUE(Becomes([&] { return shared->load() != 0; }));
    EXPECT_EQ(own[0], 7);
    EXPECT_LT(shared->load(), 107);  // it was zeroed
    EXPECT_TRUE(Becomes([] { return ChildrenOf(getpid()).empty(); }));
    FreeTable(shared, 64);
    FreeTable(own, 64);
}

// ---- Searches ----

class Threads : public testing::Test {
protected:
    void TearDown() override { FreshEngine(); }

    static void Begin(int threads, const char* fen) {
        ASSERT_TRUE(ResetEngine(16, StrongSearch, threads));
        AllowPondering(false);
        Position(fen);
    }
    static void Think(const std::string& limits) {
        AskForLimits(("limits " + limits).c_str());
        StartSearchClock();
        ClearRequests();
        Search(kTimedDepthLimit, true);
    }
};

TEST_F(Threads, SearchWithHelpers) {
    for (const char* fen : {kStart, kCastlings, kMiddlegame, kPromotions}) {
        Begin(4, fen);
        const BoardRecord before = Board;
        Think("0 200 0");
        EXPECT_LT(ElapsedMilliseconds(), 1000);
        EXPECT_TRUE(SameBoard(Board, before));
        EXPECT_TRUE(LegalMoves().Contains(RootMoves[0]));
        EXPECT_GT(Result.HelperNodes, 0) << fen;
        EXPECT_TRUE(Becomes([] { return ChildrenOf(getpid()).empty(); }));
    }
    // All nodes count for a limit, and a new search begins with none.
    Think("0 0 50000");
    EXPECT_GE(NodesInAll(), 50000);
    EXPECT_LT(Result.NodeCount, 50001);
    Think("0 5 0");  // too short for them
    EXPECT_EQ(Result.HelperNodes, 0);
}

TEST_F(Threads, FindTheSameMates) {
    Begin(3, "r6k/6pp/7N/8/2Q5/8/8/6K1 w - - 0 1");
    Think("0 1000 0");
    EXPECT_EQ(RootScore, MateScore - 3);
    EXPECT_EQ(MoveText(RootMoves[0]), "c4g8");
}

TEST_F(Threads, OneIsAsWithoutHelpers) {
    const auto outcome = [] {
        Think("0 0 30000");
        return std::vector<std::int64_t>{Result.NodeCount, Result.HelperNodes, RootScore,
                                         RootMoves[0]};
    };
    Begin(1, kMiddlegame);
    const auto first = outcome();
    Begin(1, kMiddlegame);
    EXPECT_EQ(outcome(), first);
    EXPECT_EQ(first[0], 30000);
    EXPECT_EQ(first[1], 0);
}

TEST_F(Threads, AsManyAsThereCanBe) {
    Begin(kMostThreads, kMiddlegame);
    for (int search = 0; search < 3; ++search) {
        Think("0 400 0");
        EXPECT_LT(ElapsedMilliseconds(), 2000);
        EXPECT_TRUE(LegalMoves().Contains(RootMoves[0]));
    }
    EXPECT_TRUE(Becomes([] { return ChildrenOf(getpid()).empty(); }, 30000));
}

// ---- The program ----

// The engine as a program, analysing with four threads.
class ThreadsProgram : public testing::Test {
protected:
    static constexpr std::size_t kHelpers = 3;

    void SetUp() override {
        folder.Write("Veltramox.ini", "UseEGTB=off\nSearch=strong\nThreads=4\n");
        ASSERT_TRUE(StartChild({.program = VELTRAMOX_PROGRAM,
                                .arguments = {},
                                .folder = folder.directory.string()},
                               engine));
        signal(SIGPIPE, SIG_IGN);
        Say("analyze\n");
        ASSERT_TRUE(Becomes([&] {
            helpers = ChildrenOf(engine.pid);
            return helpers.size() == kHelpers;
        }));
    }
    void TearDown() override { KillChild(engine); }

    void Say(const std::string& text) {
        EXPECT_EQ(write(engine.input, text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
    }
    // Reads to the end of its output, which comes only when nobody can write there.
    bool OutputEnds() {
        char buffer[4096];
        const std::int64_t deadline = ClockMilliseconds() + 10000;
        while (ClockMilliseconds() < deadline) {
            pollfd waiting = {engine.output, POLLIN, 0};
            if (poll(&waiting, 1, 100) > 0 &&
                read(engine.output, buffer, sizeof buffer) <= 0)
                return true;
        }
        return false;
    }
    static std::string StreamOf(pid_t process, const std::string& stream) {
        std::error_code ignored;
        const std::string name = "/proc/" + std::to_string(process) + "/fd/" + stream;
        return std::filesystem::read_symlink(name, ignored).string();
    }
    bool AllEnd() {
        return Becomes([&] {
            for (const pid_t helper : helpers)
                if (!HasEnded(helper)) return false;
            return true;
        });
    }

    Scratch folder;
    ChildProcess engine;
    std::vector<pid_t> helpers;
};

TEST_F(ThreadsProgram, HelpersEndWithTheSearch) {
    Say("exit\n");
    EXPECT_TRUE(AllEnd());
    EXPECT_TRUE(Becomes([&] { return ChildrenOf(engine.pid).empty(); }));
    // One that is lost is not missed.
    Say("analyze\n");
    ASSERT_TRUE(Becomes([&] { return ChildrenOf(engine.pid).size() == kHelpers; }));
    kill(ChildrenOf(engine.pid)[0], SIGKILL);
    EXPECT_TRUE(Becomes([&] { return ChildrenOf(engine.pid).size() == kHelpers - 1; }));
    // Nor is one that does not run.
    kill(ChildrenOf(engine.pid)[0], SIGSTOP);
    Say("exit\n");
    EXPECT_TRUE(Becomes([&] { return ChildrenOf(engine.pid).empty(); }));
    Say("quit\n");
    int status = -1;
    EXPECT_TRUE(ChildEnded(engine, 10000, &status));
    EXPECT_EQ(status, 0);
}

TEST_F(ThreadsProgram, HelpersEndWithQuit) {
    Say("quit\n");
    EXPECT_TRUE(OutputEnds());
    EXPECT_TRUE(AllEnd());
}

TEST_F(ThreadsProgram, HelpersEndWithTheInput) {
    CloseChildInput(engine);
    EXPECT_TRUE(OutputEnds());
    EXPECT_TRUE(AllEnd());
}

TEST_F(ThreadsProgram, HelpersEndWhenTheEngineIsKilled) {
    // None holds the pipes, once it has had a processor.
    for (const pid_t helper : helpers)
        for (const char* stream : {"0", "1", "2"})
            EXPECT_TRUE(Becomes([&] { return StreamOf(helper, stream) == "/dev/null"; }));
    kill(engine.pid, SIGKILL);
    EXPECT_TRUE(OutputEnds());
    EXPECT_TRUE(AllEnd());
}

TEST_F(ThreadsProgram, HelpersEndWhenTheEngineIsAskedToEnd) {
    kill(engine.pid, SIGTERM);
    int status = -1;
    EXPECT_TRUE(ChildEnded(engine, 10000, &status));
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(AllEnd());
}

}  // namespace

#endif
