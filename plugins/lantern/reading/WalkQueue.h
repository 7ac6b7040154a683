#ifndef LANTERN_READING_WALKQUEUE_H
#define LANTERN_READING_WALKQUEUE_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

namespace lantern {

/// Work that a fixed number of threads give each other. It ends when all of them wait, or when one
/// has failed.
template <typename Job>
class WalkQueue {
public:
    explicit WalkQueue(int threads) : threads(threads) {}

    /// Whether somebody waits for whom there is no work yet.
    bool isWanting() const { return wanted.load(std::memory_order_relaxed) > 0; }
    bool hasFailed() const { return isStopped.load(std::memory_order_relaxed); }

    void give(Job job) {
        {
            const std::lock_guard<std::mutex> guard(lock);
            jobs.push_back(std::move(job));
            updateWanted();
        }
        changed.notify_one();
    }

    /// Waits for work; nothing comes when there will be none any more.
    std::optional<Job> take() {
        std::unique_lock<std::mutex> guard(lock);
        ++waiting;
        updateWanted();
        if (waiting == threads && jobs.empty()) isDone = true;
        if (isDone) changed.notify_all();
        changed.wait(guard, [this] { return isDone || isStopped || !jobs.empty(); });
        if (isDone || isStopped) return {};
        std::optional<Job> job(std::move(jobs.front()));
        jobs.pop_front();
        --waiting;
        updateWanted();
        return job;
    }

    /// Ends all work; the first error is the one that counts.
    void fail(std::exception_ptr error) {
        {
            const std::lock_guard<std::mutex> guard(lock);
            if (!firstError) firstError = std::move(error);
            isStopped = true;
        }
        changed.notify_all();
    }

    /// Null when there was none. To be asked when all threads have ended.
    std::exception_ptr error() const { return firstError; }

private:
    /// The lock is held.
    void updateWanted() {
        wanted.store(waiting - static_cast<int>(jobs.size()), std::memory_order_relaxed);
    }

    const int threads;
    std::atomic<int> wanted{0};
    std::atomic<bool> isStopped{false};
    std::mutex lock; // guards what follows
    std::condition_variable changed;
    std::deque<Job> jobs;
    int waiting = 0;
    bool isDone = false;
    std::exception_ptr firstError;
};

} // namespace lantern

#endif
