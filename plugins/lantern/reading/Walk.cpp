#include "reading/Walk.h"

#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "reading/Walker.h"

namespace lantern {

namespace {

/// Threads that the destructor joins.
class Threads {
public:
    ~Threads() {
        for (std::thread& thread : threads)
            thread.join();
    }
    template <typename Body>
    void start(Body body) {
        threads.emplace_back(body);
    }

private:
    std::vector<std::thread> threads;
};

} // namespace

void WalkScene(const Location& root, int threads, const WalkContext& context) {
    WalkQueue<WalkJob> queue(threads);
    WalkJob whole;
    whole.root = root;
    whole.part = context.parts.first();
    queue.give(std::move(whole));
    const auto walk = [&] {
        try {
            Walker(context, queue).run();
        } catch (...) {
            queue.fail(std::current_exception());
        }
    };
    {
        Threads others;
        try {
            for (int i = 1; i < threads; ++i)
                others.start(walk);
        } catch (const std::exception& error) { // the queue waits for all of them
            const std::string why = error.what();
            queue.fail(std::make_exception_ptr(
                std::runtime_error("the threads that read the scene cannot be started: " + why)));
        }
        walk();
    }
    if (queue.error()) std::rethrow_exception(queue.error());
}

} // namespace lantern
