// Loops over ranges on several threads, for work that falls into independent pieces:
// making, packing and checking endgame tables.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <thread>
#include <vector>

// Calls work(begin, end) for consecutive pieces of 0..total, `pieceSize` long but for the
// last, on `jobs` threads at once, the caller's among them; returns when all are done.
// Threads take the next piece as they become free, for pieces differ in what they cost.
// The order is not fixed: what pieces share `work` must guard. The first exception that a
// piece throws ends the loop and is thrown on; pieces that others are at are finished
// first.
template <class Work>
void ForEachPiece(int jobs, std::uint64_t total, std::uint64_t pieceSize,
                  const Work& work) {
    std::atomic<std::uint64_t> next{0};
    std::exception_ptr failure;
    std::atomic<bool> failed{false};
    const auto run = [&] {
        try {
            while (!failed) {
                const std::uint64_t begin = next.fetch_add(pieceSize);
                if (begin >= total) return;
                work(begin, std::min(begin + pieceSize, total));
            }
        } catch (...) {
            if (!failed.exchange(true)) failure = std::current_exception();
        }
    };
    const std::uint64_t pieces = (total + pieceSize - 1) / pieceSize;
    const std::uint64_t extra =
        std::min(pieces, static_cast<std::uint64_t>(std::max(jobs, 1)));
    std::vector<std::thread> threads;
    for (std::uint64_t i = 1; i < extra; ++i) threads.emplace_back(run);
    run();
    for (std::thread& thread : threads) thread.join();
    if (failure) std::rethrow_exception(failure);
}
