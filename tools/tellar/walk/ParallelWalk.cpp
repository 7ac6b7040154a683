#include "ParallelWalk.h"

#include <atomic>
#include <exception>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "OrderedText.h"
#include "WalkPlan.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;

/// Enough parts for each thread that an uneven scene keeps none of them waiting for long.
constexpr std::size_t kPartsPerThread = 32;

/// The threads of one walk. The destructor makes them stop and joins them.
class Workers {
public:
    Workers(std::vector<WalkPart> parts, std::size_t depthLimit, const LocationPrinter& printer,
            LocationCount& count)
        : parts(std::move(parts)), depthLimit(depthLimit), printer(printer), count(count),
          output(this->parts.size()) {}
    ~Workers() {
        nextPart = parts.size();
        output.stop();
        for (std::thread& thread : threads)
            thread.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void add() {
        threads.emplace_back([this] { work(); });
    }

    /// See OrderedText::next().
    std::optional<std::string> nextText() { return output.next(); }

private:
    /// Takes parts in order until none are left.
    void work() {
        for (;;) {
            const std::size_t part = nextPart++;
            if (part >= parts.size()) return;
            std::exception_ptr error;
            try {
                LocationWalk(printer, depthLimit, count, [&](std::string text) {
                    output.put(part, std::move(text));
                }).walk(parts[part]);
            } catch (const OrderedText::Stopped&) {
                return;
            } catch (...) {
                error = std::current_exception();
            }
            output.finish(part, error);
            if (error) return;
        }
    }

    const std::vector<WalkPart> parts;
    const std::size_t depthLimit;
    const LocationPrinter& printer;
    LocationCount& count;
    OrderedText output;
    std::atomic<std::size_t> nextPart{0};
    std::vector<std::thread> threads;
};

} // namespace

void WalkLocations(const GeometryProducer::Ptr& start, const WalkLimits& limits,
                   const LocationPrinter& printer, LocationCount& count,
                   const std::function<void(const std::string&)>& write) {
    if (limits.threads <= 1) {
        LocationWalk(printer, limits.depth, count, write)
            .walk({WalkPart::Subtree, start, {}, false, {}});
        return;
    }
    Workers workers(PlanWalk(start, limits.depth, limits.threads * kPartsPerThread), limits.depth,
                    printer, count);
    for (std::size_t i = 0; i < limits.threads; ++i)
        workers.add();
    while (const std::optional<std::string> text = workers.nextText())
        write(*text);
}

} // namespace TellarTool
