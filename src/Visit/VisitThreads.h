#ifndef TELLAR_VISIT_VISITTHREADS_H
#define TELLAR_VISIT_VISITTHREADS_H

#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

namespace TELLAR {

/// The threads of a visit besides the calling one. The destructor waits for their ends.
class VisitThreads {
public:
    VisitThreads() = default;
    VisitThreads(const VisitThreads&) = delete;
    VisitThreads& operator=(const VisitThreads&) = delete;
    ~VisitThreads() {
        for (std::thread& thread : threads)
            thread.join();
    }

    /// Starts threads that run body(1), body(2) and so on up to body(count), or fewer when the
    /// system refuses more. The body must not throw.
    template <typename Body>
    void start(int count, const Body& body) {
        try {
            threads.reserve(static_cast<std::size_t>(count));
            for (int number = 1; number <= count; ++number)
                threads.emplace_back([body, number] { body(number); });
        } catch (const std::exception&) {
            // The threads that there are do all the work.
        }
    }

private:
    std::vector<std::thread> threads;
};

} // namespace TELLAR

#endif
