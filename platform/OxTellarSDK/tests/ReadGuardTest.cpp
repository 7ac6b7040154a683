#include "ReadGuard.h"

#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>
#ifdef __linux__
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

#include "RunTogether.h"
#include "Sanitized.h"

using OxTellarRuntimeDetail::ReadGuard;

namespace {

void AwaitGrace() {
    ASSERT_TRUE(ReadGuard::BeginGrace());
    while (!ReadGuard::HasGracePassed())
        std::this_thread::yield();
}

/// A thread that has a guard until it is told to leave.
class Reader {
public:
    explicit Reader(int depth) : thread([this, depth] { stay(depth); }) {
        while (!isInside)
            std::this_thread::yield();
    }
    ~Reader() { leave(); }
    void leave() {
        mayLeave = true;
        if (thread.joinable()) thread.join();
    }

private:
    void stay(int depth) {
        const ReadGuard guard;
        if (depth > 0) return stay(depth - 1);
        isInside = true;
        while (!mayLeave)
            std::this_thread::yield();
    }

    std::atomic<bool> isInside{false};
    std::atomic<bool> mayLeave{false};
    std::thread thread;
};

} // namespace

TEST(ReadGuard, LetsTheGracePassWhenNobodyReads) {
    { const ReadGuard guard; }
    ASSERT_TRUE(ReadGuard::BeginGrace());
    EXPECT_TRUE(ReadGuard::HasGracePassed());
}

#if defined(__linux__) && !defined(__SANITIZE_THREAD__)
namespace {

bool SystemHasBarriers() {
    const long commands = syscall(__NR_membarrier, MEMBARRIER_CMD_QUERY, 0, 0);
    return commands > 0 && (commands & MEMBARRIER_CMD_PRIVATE_EXPEDITED) != 0;
}

} // namespace

TEST(ReadGuard, BecomesLightWithTheFirstGrace) {
    Reader other(0); // so that there are two threads
    { const ReadGuard guard; }
    ASSERT_TRUE(ReadGuard::BeginGrace());
    { const ReadGuard guard; }
    { const ReadGuard guard; }
    EXPECT_EQ(ReadGuard::IsLight(), SystemHasBarriers());
}

TEST(ReadGuard, BecomesLightWhenAThreadHasHadMany) {
    std::thread([] {
        for (int i = 0; i < 1000002; ++i)
            const ReadGuard guard;
        EXPECT_EQ(ReadGuard::IsLight(), SystemHasBarriers());
    }).join();
}
#endif

TEST(ReadGuard, IsAwaitedOnceForAllThatAreNested) {
    Reader reader(3);
    ASSERT_TRUE(ReadGuard::BeginGrace());
    EXPECT_FALSE(ReadGuard::HasGracePassed());
    EXPECT_FALSE(ReadGuard::HasGracePassed());
    reader.leave();
    EXPECT_TRUE(ReadGuard::HasGracePassed());
}

TEST(ReadGuard, IsNotAwaitedWhenItBeganLater) {
    ASSERT_TRUE(ReadGuard::BeginGrace());
    const Reader reader(0);
    EXPECT_TRUE(ReadGuard::HasGracePassed());
}

TEST(ReadGuard, ThatEndedAndBeganAnewIsAnotherOne) {
    Reader first(0);
    ASSERT_TRUE(ReadGuard::BeginGrace());
    first.leave();
    const Reader second(0); // with the count that the first one's thread gave back
    EXPECT_TRUE(ReadGuard::HasGracePassed());
    ASSERT_TRUE(ReadGuard::BeginGrace());
    EXPECT_FALSE(ReadGuard::HasGracePassed());
}

TEST(ReadGuard, KeepsWhatItsThreadFound) {
    constexpr int kReplacements = TellarTest::kSanitized ? 2000 : 20000;
    struct Object {
        int value = 1;
        ~Object() { value = 0; }
    };
    std::atomic<Object*> current{new Object};
    std::atomic<bool> isOver{false};
    std::atomic<int> wrong{0};
    std::atomic<int> looks{0};
    RunTogether(4, [&](int number) {
        if (number == 0) {
            for (int i = 0; i < kReplacements || looks < kReplacements; ++i) {
                const std::unique_ptr<Object> old(current.exchange(new Object));
                AwaitGrace();
            }
            isOver = true;
        }
        while (!isOver) {
            std::this_thread::yield(); // else the one who frees waits for its turn
            const ReadGuard guard;
            const Object* seen = current.load(std::memory_order_acquire);
            const ReadGuard inner;
            wrong += seen->value != 1;
            ++looks;
        }
    });
    delete current.load();
    EXPECT_EQ(wrong, 0);
}

TEST(ReadGuard, ServesThreadsThatComeAndGo) {
    for (int round = 0; round < 10; ++round)
        RunTogether(20, [](int) { const ReadGuard guard; });
    AwaitGrace();
}
