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

/// Jobs that a fixed number of threads share. The work is over when all threads wait for a job, or
/// when one has failed.
template <typename Job>
class WalkQueue {
public:
    explicit WalkQueue(int threads) : threads(threads) {}

    /// Whether more threads are waiting than there are jobs.
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

    /// Waits for a job. Returns nothing when the work is over.
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

    /// Stops all threads. Only the first error is kept.
    void fail(std::exception_ptr error) {
        {
            const std::lock_guard<std::mutex> guard(lock);
            if (!firstError) firstError = std::move(error);
            isStopped = true;
        }
        changed.notify_all();
    }

    /// The first error, or null. To be called after all threads have ended.
    std::exception_ptr error() const { return firstError; }

private:
    /// The caller holds the lock.
    void updateWanted() {
        wanted.store(waiting - static_cast<int>(jobs.size()), std::memory_order_relaxed);
    }

    const int threads;
    std::atomic<int> wanted{0};
    std::atomic<bool> isStopped{false};
    std::mutex lock; // guards the members below
    std::condition_variable changed;
    std::deque<Job> jobs;
    int waiting = 0;
    bool isDone = false;
    std::exception_ptr firstError;
};

} // namespace lantern

#endif
