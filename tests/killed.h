// Programs killed at any instant, two at once, and full disks, for the tests of files.
#pragma once

#ifndef _WIN32

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <random>

// Runs `work(n)` for n = 0, 1, 2, ... in a process of its own that is killed without
// warning while it does so, after up to `most` calls. How many calls had returned by
// then.
inline int CallsUntilKilled(const std::function<void(int)>& work, std::mt19937& random,
                            unsigned most = 40) {
    auto* done = static_cast<std::atomic<int>*>(mmap(nullptr, sizeof(std::atomic<int>),
                                                     PROT_READ | PROT_WRITE,
                                                     MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t child = fork();
    if (child == 0)
        for (int n = 0;; ++n) {
            work(n);
            done->store(n + 1);
        }
    const int wanted = static_cast<int>(random() % most);
    while (done->load() < wanted) usleep(20);
    usleep(static_cast<useconds_t>(random() % 200));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    const int calls = done->load();
    munmap(done, sizeof *done);
    return calls;
}

// Runs work(0) and work(1) in processes of their own at the same time, and waits for
// both. What they have open they must open themselves: a descriptor's place in its file
// is shared with the parent.
inline void AtOnce(const std::function<void(int)>& work) {
    pid_t workers[2];
    for (int i = 0; i < 2; ++i) {
        workers[i] = fork();
        if (workers[i] == 0) {
            work(i);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
    }
    for (const pid_t worker : workers) {
        int status = -1;
        waitpid(worker, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

// While it lives no file can be written at or behind this offset, as on a full disk.
struct FileSizeLimit {
    explicit FileSizeLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    rlimit before;
};

#endif
