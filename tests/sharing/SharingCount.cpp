// Counts, for each location that threads walk, how many locks they take and how many cache lines
// they write that another thread writes, too:
//
//     sharing_count [--threads N] [--groups N] [--sites N]
//
// The loader has to find SharingRuntime.cpp in place of ThreadSanitizer's library; count.py does
// that. A phase is a line of the output. In phases of "own groups" each thread walks the groups
// that fall to it, as when threads share the work; in phases of "all" each thread walks everything,
// which is the worst that can happen. The first two phases are for the counter itself, whose
// results are known.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeStream.h>

#include "RunTogether.h"
#include "SceneBuilders.h"
#include "SharingRuntime.h"
#include "TempDirectory.h"

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;
using Producer = GeometryProducer::Ptr;
using Suite = OxScenegraphIteratorHostSuite_v4;
using Handle = OxSgIteratorStruct*;

constexpr int kLeaves = 100; // of a group

struct Options {
    int threads = 4;
    int groups = 128;
    int sites = 0;
};

/// The counter's functions, which the sanitizer's own library lacks.
struct Counter {
    decltype(&TellarSharingBegin) begin = find<decltype(begin)>("TellarSharingBegin");
    decltype(&TellarSharingLocation) location = find<decltype(location)>("TellarSharingLocation");
    decltype(&TellarSharingEnd) end = find<decltype(end)>("TellarSharingEnd");

private:
    template <typename Function>
    static Function find(const char* name) {
        auto* const function = reinterpret_cast<Function>(::dlsym(RTLD_DEFAULT, name));
        if (!function) throw std::runtime_error("the counter is not loaded; use count.py");
        return function;
    }
};

class Program {
public:
    explicit Program(const Options& options) : options(options) {
        OxPluginHost* const host = OxGetPluginHost();
        OxTellarProducersInitialize(host);
        suite = static_cast<const Suite*>(host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4));
    }

    void run() {
        std::printf("%d threads, %d locations\n", options.threads, options.groups * (kLeaves + 1));
        checkCounter();
        walkProducers();
        walkHandles();
    }

private:
    /// Runs the body in all threads. Each waits for the last one, so that none gets the memory of
    /// one that has ended.
    void count(const char* phase, const std::function<void(int)>& body) {
        std::atomic<int> working{options.threads};
        counter.begin();
        RunTogether(options.threads, [&](int thread) {
            body(thread);
            working.fetch_sub(1);
            while (working.load() > 0)
                std::this_thread::yield();
        });
        const TellarSharing sharing = counter.end(options.sites);
        if (sharing.locations == 0) throw std::logic_error(std::string(phase) + ": no locations");
        const auto locations = static_cast<double>(sharing.locations);
        std::printf("%-40s %8.3f locks  %8.3f shared lines\n", phase,
                    static_cast<double>(sharing.locks) / locations,
                    static_cast<double>(sharing.sharedWrites) / locations);
        std::fflush(stdout);
    }

    /// One line that all threads write, and one lock, at each location; then none.
    void checkCounter() {
        constexpr int kSteps = 1000;
        struct alignas(64) Line {
            std::atomic<int> value{0};
        };
        const auto line = std::make_unique<Line>();
        const auto own = std::make_unique<Line[]>(static_cast<std::size_t>(options.threads));
        struct alignas(64) Lock {
            std::mutex mutex;
        };
        const auto lock = std::make_unique<Lock>();
        count("counter: one lock and one counter", [&](int) {
            for (int step = 0; step < kSteps; ++step) {
                counter.location();
                line->value.fetch_add(1);
                const std::lock_guard<std::mutex> guard(lock->mutex);
            }
        });
        count("counter: a counter for each thread", [&](int thread) {
            for (int step = 0; step < kSteps; ++step) {
                counter.location();
                own[static_cast<std::size_t>(thread)].value.fetch_add(1);
            }
        });
    }

    std::string writeScene(const TempDirectory& folder) const {
        Children groups;
        for (int group = 0; group < options.groups; ++group) {
            Children leaves;
            for (int leaf = 0; leaf < kLeaves; ++leaf)
                leaves.emplace_back("leaf" + std::to_string(leaf),
                                    Location({{"type", Text("leaf")}, {"n", Int(leaf)}}));
            groups.emplace_back("group" + std::to_string(group),
                                Location({{"type", Text("group")}, {"n", Int(group)}}, leaves));
        }
        const std::string path = folder.path("scene.oxop");
        OxAttribute::WriteOpFile(path, SceneTree(Location({{"tag", Text(UniqueTag())}}, groups)));
        return path;
    }

    void visit(const Producer& location, std::size_t& bytes) {
        counter.location();
        bytes += location->getName().size() + location->getType().size();
        for (Producer child = location->getFirstChild(); child; child = child->getNextSibling())
            visit(child, bytes);
    }

    /// Every thread at its own groups, or at all of them.
    void walk(const char* phase, const Producer& root, bool isShared) {
        count(phase, [&](int thread) {
            std::size_t bytes = 0;
            const int step = isShared ? options.threads : 1;
            for (int group = isShared ? thread : 0; group < options.groups; group += step)
                visit(root->getChildByIndex(group), bytes);
            bytesRead.fetch_add(bytes, std::memory_order_relaxed);
        });
    }

    void walkProducers() {
        const TempDirectory folder;
        const Producer root =
            TELLAR::CreateThreadAwareGeometryProducer(writeScene(folder), "/root");
        walk("C++, first walk, own groups", root, true);
        walk("C++, second walk, own groups", root, true);
        walk("C++, second walk, all", root, false);
    }

    void visit(Handle location, std::size_t& bytes) {
        counter.location();
        std::int64_t name = 0;
        std::int64_t type = 0;
        suite->getName(location, &name);
        suite->getType(location, &type);
        bytes += static_cast<std::size_t>(name + type);
        Handle child = suite->getFirstChild(location, nullptr);
        while (child) {
            visit(child, bytes);
            Handle next = suite->getNextSibling(child, nullptr);
            suite->releaseIterator(child);
            child = next;
        }
    }

    void walk(const char* phase, Handle root, bool isShared) {
        count(phase, [&](int thread) {
            std::size_t bytes = 0;
            const int step = isShared ? options.threads : 1;
            for (int group = isShared ? thread : 0; group < options.groups; group += step) {
                Handle location = suite->getChild(root, group, nullptr);
                visit(location, bytes);
                suite->releaseIterator(location);
            }
            bytesRead.fetch_add(bytes, std::memory_order_relaxed);
        });
    }

    void walkHandles() {
        const TempDirectory folder;
        Handle root = suite->createRootIteratorFromOpTreeFile(writeScene(folder).c_str(), nullptr);
        if (!root) throw std::runtime_error("the scene has no /root");
        walk("C suite 4, first walk, own groups", root, true);
        walk("C suite 4, second walk, own groups", root, true);
        walk("C suite 4, second walk, all", root, false);
        suite->releaseIterator(root);
    }

    const Options options;
    std::atomic<std::size_t> bytesRead{0}; // so that compilers do not leave the reading out
    const Counter counter;
    const Suite* suite = nullptr;
};

Options ParseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; i += 2) {
        const int value = i + 1 < argc ? std::atoi(argv[i + 1]) : -1;
        if (std::strcmp(argv[i], "--threads") == 0 && value > 0)
            options.threads = value;
        else if (std::strcmp(argv[i], "--groups") == 0 && value > 0)
            options.groups = value;
        else if (std::strcmp(argv[i], "--sites") == 0 && value >= 0)
            options.sites = value;
        else
            throw std::invalid_argument(std::string(argv[i]) +
                                        ": no option, or no number behind it");
    }
    return options;
}

} // namespace

int main(int argc, char** argv) {
    try {
        Program(ParseOptions(argc, argv)).run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sharing_count: %s\n", error.what());
        return 1;
    }
}
