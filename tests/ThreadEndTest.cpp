// State that the library keeps for a thread: when there is no memory for it, at the thread's end,
// and for code that still runs on the thread after that.

#include <OxTellarProducers/ThreadLocalClient.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <malloc.h>
#include <pthread.h>

#include <gmock/gmock.h>

#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>

#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "SceneBuilders.h"
#include "TempDirectory.h"

// Every allocation of the program and of the libraries by way of C++ comes here.
namespace {

std::atomic<std::ptrdiff_t> allocatedBytes{0};
// How many more allocations of the thread succeed before one fails; all of them below 0.
thread_local int allocationsLeft = -1;

bool FailsNow() {
    return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

void* Count(void* memory) {
    if (!memory) throw std::bad_alloc();
    allocatedBytes += static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    return memory;
}

void Free(void* memory) noexcept {
    if (memory) allocatedBytes -= static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    std::free(memory);
}

} // namespace

void* operator new(std::size_t bytes) {
    return Count(FailsNow() ? nullptr : std::malloc(bytes));
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept try {
    return operator new(bytes);
} catch (const std::bad_alloc&) {
    return nullptr;
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return Count(FailsNow() ? nullptr : std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit));
}
void operator delete(void* memory) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    Free(memory);
}

namespace {

using namespace TellarTest;
using TELLAR::ClientCreateWithOpTree;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::OpTreeSource;
using TELLAR::ThreadLocalClient;
using Client = std::shared_ptr<TellarRuntime::Client>;
using Producer = TELLAR::GeometryProducer::Ptr;

/// A scene that no other test has, with attributes that are found by path.
OxAttribute::GroupAttribute UniqueScene() {
    const auto leaf = Location({{"user", Group({{"size", Int(7)}})}});
    return SceneTree(Location({{"tag", Text(UniqueTag())}}, {{"a", leaf}, {"b", leaf}}));
}

/// The bytes that the process has allocated. Sanitizers have allocators of their own; under them,
/// the bytes allocated by operator new.
std::ptrdiff_t AllocatedBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return allocatedBytes;
#else
    const struct mallinfo2 all = mallinfo2();
    return static_cast<std::ptrdiff_t>(all.uordblks + all.hblkhd);
#endif
}

int SizeOf(const Producer& producer) {
    return IntOf(producer->getAttribute("user.size"));
}

/// Calls a function on the calling thread when all that the thread keeps has come to its end once:
/// its thread_local objects, and what other libraries let go after those.
class AfterTheEnd {
public:
    static void call(std::function<void()> body) {
        pthread_setspecific(key(), new AfterTheEnd(std::move(body)));
    }

private:
    explicit AfterTheEnd(std::function<void()> function) : body(std::move(function)) {}

    static pthread_key_t key() {
        static const pthread_key_t made = [] {
            pthread_key_t fresh = {};
            pthread_key_create(&fresh, &run);
            return fresh;
        }();
        return made;
    }

    // Whatever has a value again when all keys were called once is called a second time.
    static void run(void* value) {
        std::unique_ptr<AfterTheEnd> self(static_cast<AfterTheEnd*>(value));
        if (std::exchange(self->isSecondCall, true)) {
            self->body();
            return;
        }
        pthread_setspecific(key(), self.release());
    }

    std::function<void()> body;
    bool isSecondCall = false;
};

TEST(ThreadStart, MayRunOutOfMemoryAtAnyPoint) {
    const TempDirectory folder;
    const std::string file = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(file, UniqueScene());
    const Producer root = CreateThreadAwareGeometryProducer(file, "/root");
    const auto walk = [&root] {
        return WalkChildren(root).size() == 2 && SizeOf(root->getFirstChild(true)) == 7;
    };
    bool isComplete = false;
    const auto runThread = [&](int allocations) {
        std::thread([&] {
            allocationsLeft = allocations;
            try {
                EXPECT_TRUE(walk());
            } catch (const std::exception&) { // the allocation, or the cook that needed it, failed
            }
            isComplete = allocationsLeft >= 0;
            allocationsLeft = -1;
            EXPECT_TRUE(walk()) << "with memory it works again";
        }).join();
    };
    const auto failEachInTurn = [&] {
        isComplete = false;
        int allocations = 0;
        while (!isComplete)
            runThread(allocations++);
        return allocations;
    };
    EXPECT_GT(failEachInTurn(), 10);
    const std::ptrdiff_t before = AllocatedBytes();
    for (int i = 0; i < 20; ++i)
        failEachInTurn();
    EXPECT_LE(AllocatedBytes() - before, 4096);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(ThreadAwareFactory, ReleasesTheSourceOfAPathThatIsNone) {
    constexpr std::size_t kLarge = 1 << 20;
    const auto open = [](const std::string& path) {
        const Children attrs = {{"tag", Text(UniqueTag() + std::string(kLarge, 'x'))}};
        return CreateThreadAwareGeometryProducer(SceneTree(Location(attrs)), path);
    };
    open("no path");
    const std::ptrdiff_t before = AllocatedBytes();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(open("no path"), nullptr);
    EXPECT_LE(AllocatedBytes() - before, 4096);
    EXPECT_NE(open("/root"), nullptr);
    EXPECT_GE(AllocatedBytes() - before, kLarge) << "the thread's client keeps what it needs";
}
#endif

TEST(ThreadEnd, LeavesNoMemoryBehind) {
    const TempDirectory folder;
    const std::string file = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(file, UniqueScene());
    const Producer roots[] = {CreateThreadAwareGeometryProducer(file, "/root"),
                              CreateThreadAwareGeometryProducer(UniqueScene(), "/root")};
    std::atomic<int> wrong{0};
    const auto runThreads = [&](int count) {
        for (int i = 0; i < count; ++i) {
            std::thread([&] {
                for (const Producer& root : roots) {
                    const Producer child = root->getFirstChild(false)->getNextSibling(i % 8 == 0);
                    wrong += SizeOf(child) != 7;
                }
            }).join();
        }
    };
    runThreads(kSanitized ? 100 : 1000);
    const std::ptrdiff_t before = AllocatedBytes();
    runThreads(kSanitized ? 900 : 9000);
    EXPECT_LE(AllocatedBytes() - before, 4096);
    EXPECT_EQ(wrong, 0);
}

TEST(ThreadEnd, LeavesNoMemoryBehindOfThreadsThatRanTogether) {
    constexpr int kThreads = 4;
    const Producer root = CreateThreadAwareGeometryProducer(UniqueScene(), "/root");
    const auto runThreads = [&](int rounds) {
        for (int round = 0; round < rounds; ++round) {
            std::atomic<int> served{0};
            RunTogether(kThreads, [&](int) {
                WalkChildren(root);
                ++served;
                while (served < kThreads) // nobody ends before all have a client
                    std::this_thread::yield();
            });
        }
    };
    runThreads(100);
    const std::ptrdiff_t before = AllocatedBytes();
    runThreads(900);
    EXPECT_LE(AllocatedBytes() - before, 4096);
}

TEST(ThreadEnd, HandsTheClientsOfAllStoresBack) {
    const OpTreeSource sources[] = {OpTreeSource::createFromGroupAttribute(UniqueScene()),
                                    OpTreeSource::createFromGroupAttribute(UniqueScene())};
    Client clients[2];
    std::thread([&] {
        for (int i : {0, 1})
            clients[i] = ThreadLocalClient(sources[i]).getClient();
    }).join();
    for (int i : {0, 1}) {
        EXPECT_EQ(ClientCreateWithOpTree(sources[i]), clients[i]);
        EXPECT_NE(ClientCreateWithOpTree(sources[i]), clients[i]) << "it was handed back once";
    }
}

TEST(ThreadEnd, TakesTheClientFromThoseWhoRunOnTheThreadAfterThat) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(UniqueScene());
    ThreadLocalClient threadLocalClient(source);
    Client before;
    Client ofAnother;
    Client after;
    std::thread([&] {
        before = threadLocalClient.getClient();
        AfterTheEnd::call([&] {
            ofAnother = ClientCreateWithOpTree(source);
            after = threadLocalClient.getClient();
        });
    }).join();
    EXPECT_EQ(ofAnother, before) << "it was handed back";
    EXPECT_TRUE(after && after->cookLocation("/root/a").doesLocationExist());
    EXPECT_NE(after, before) << "somebody else has it now";
    EXPECT_EQ(ClientCreateWithOpTree(source), after) << "the second one is handed back as well";
}

TEST(ThreadEnd, LetsThoseWhoRunOnTheThreadAfterThatWalkAndReadOn) {
    const TempDirectory folder;
    const std::string file = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(file, UniqueScene());
    const Producer root = CreateThreadAwareGeometryProducer(file, "/root");
    std::vector<std::string> names;
    int size = 0;
    const auto walk = [&] {
        names = WalkChildren(root);
        size = SizeOf(root->getFirstChild(true));
    };
    for (int life = 0; life < 3; ++life) {
        names.clear();
        size = 0;
        std::thread([&] {
            if (life != 1) walk(); // the second thread comes to the library only at its end
            AfterTheEnd::call(walk);
        }).join();
        EXPECT_THAT(names, testing::ElementsAre("/root/a", "/root/b"));
        EXPECT_EQ(size, 7);
    }
    EXPECT_EQ(root->use_count(), 1u);
}

TEST(ThreadEnd, LeavesNoMemoryBehindOfThoseWhoRunOnTheThreadAfterThat) {
    const Producer root = CreateThreadAwareGeometryProducer(UniqueScene(), "/root");
    const auto runThreads = [&](int count) {
        for (int i = 0; i < count; ++i)
            std::thread([&] {
                WalkChildren(root);
                AfterTheEnd::call([&root] { WalkChildren(root); });
            }).join();
    };
    runThreads(100);
    const std::ptrdiff_t before = AllocatedBytes();
    runThreads(900);
    EXPECT_LE(AllocatedBytes() - before, 4096);
}

} // namespace
