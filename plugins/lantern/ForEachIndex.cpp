#include "ForEachIndex.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace lantern {

void ForEachIndex(int count, int portion, int threads, const std::function<void(int)>& work) {
    std::atomic<std::int64_t> next{0};
    std::mutex lock; // guards `failure`
    std::exception_ptr failure;
    const auto take = [&] {
        try {
            for (std::int64_t first = next.fetch_add(portion); first < count;
                 first = next.fetch_add(portion))
                for (std::int64_t i = first; i < std::min<std::int64_t>(first + portion, count);
                     ++i)
                    work(static_cast<int>(i));
        } catch (...) {
            next = count;
            const std::lock_guard<std::mutex> guard(lock);
            if (!failure) failure = std::current_exception();
        }
    };
    std::vector<std::thread> others;
    try {
        for (int i = 1; i < std::min(threads, count / portion); ++i)
            others.emplace_back(take);
    } catch (const std::exception&) { // the threads that could be started are enough
    }
    take();
    for (std::thread& other : others)
        other.join();
    if (failure) std::rethrow_exception(failure);
}

} // namespace lantern
