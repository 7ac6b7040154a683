#ifndef TELLAR_TEST_RUNTOGETHER_H
#define TELLAR_TEST_RUNTOGETHER_H

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

/// Runs the body in `count` threads that start together, each with its number from 0 on,
/// and returns when all have ended.
inline void RunTogether(int count, const std::function<void(int)>& body) {
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&go, &body, number] {
            while (!go)
                std::this_thread::yield();
            body(number);
        });
    }
    go = true;
    for (std::thread& thread : threads)
        thread.join();
}

#endif
