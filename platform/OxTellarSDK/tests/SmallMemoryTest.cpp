#include "SmallMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "RunTogether.h"
#include "Sanitized.h"

namespace {

using namespace OxTellarRuntimeDetail;
using SmallMemory::kLargest;

/// A piece of memory that is full of one byte.
struct Filled {
    unsigned char* memory;
    std::size_t bytes;
    unsigned char value;

    static Filled Take(std::size_t bytes, unsigned char value) {
        auto* const memory = static_cast<unsigned char*>(SmallMemory::Take(bytes));
        std::memset(memory, value, bytes);
        return {memory, bytes, value};
    }
    bool isIntact() const {
        return std::all_of(memory, memory + bytes, [this](unsigned char c) { return c == value; });
    }
    void give() const { SmallMemory::Give(memory, bytes); }
};

std::uint64_t ResidentBytes() {
    unsigned long long all = 0;
    unsigned long long resident = 0;
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    const int found = file ? std::fscanf(file, "%llu %llu", &all, &resident) : 0;
    if (file) std::fclose(file);
    return found == 2 ? resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) : 0;
}

TEST(SmallMemory, HasALittleMoreRoomThanWasAskedFor) {
    for (std::size_t bytes = 0; bytes <= 2 * kLargest; ++bytes) {
        const std::size_t room = SmallMemory::RoomFor(bytes);
        ASSERT_GE(room, bytes);
        ASSERT_LE(room, bytes + 16 + bytes / 3);
        if (bytes <= kLargest) {
            ASSERT_EQ(SmallMemory::RoomFor(room), room);
        }
    }
}

TEST(SmallMemory, HasRoomForNodesOfACacheLineEach) {
    for (const std::size_t nodes : {1, 2, 3, 4, 5, 6, 8, 16, 32})
        EXPECT_EQ(SmallMemory::RoomFor(64 * nodes), 64 * nodes);
}

TEST(SmallMemory, AlignsPieces) {
    for (std::size_t bytes = 16; bytes <= kLargest; bytes += 16) {
        void* const memory = SmallMemory::Take(bytes);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % (bytes % 64 == 0 ? 64 : 16), 0u);
        SmallMemory::Give(memory, bytes);
    }
}

TEST(SmallMemory, KeepsWhatPiecesOfAllSizesHold) {
    std::minstd_rand random;
    std::vector<Filled> held;
    int damaged = 0;
    for (int i = 0; i < (TellarTest::kSanitized ? 20000 : 200000); ++i) {
        if (held.size() < 5000 && random() % 5 < 3) {
            held.push_back(
                Filled::Take(random() % (kLargest + 500), static_cast<unsigned char>(random())));
        } else if (!held.empty()) {
            std::swap(held[random() % held.size()], held.back());
            damaged += held.back().isIntact() ? 0 : 1;
            held.back().give();
            held.pop_back();
        }
    }
    for (const Filled& piece : held)
        piece.give();
    EXPECT_EQ(damaged, 0);
}

TEST(SmallMemory, GoesBackToTheSystem) {
    if (TellarTest::kSanitized) GTEST_SKIP() << "sanitizers keep memory";
    constexpr std::size_t kBytes = 100;
    constexpr std::size_t kCount = 640000; // about 68 MiB
    std::vector<void*> pieces;
    pieces.reserve(kCount);
    const std::uint64_t before = ResidentBytes();
    while (pieces.size() < kCount)
        pieces.push_back(Filled::Take(kBytes, 1).memory);
    const std::uint64_t most = ResidentBytes();
    for (void* piece : pieces)
        SmallMemory::Give(piece, kBytes);
    EXPECT_GT(most - before, kBytes * kCount);
    EXPECT_LT(ResidentBytes() - before, (most - before) / 3);
}

TEST(SmallMemory, OfOneSizeServesAnother) {
    if (TellarTest::kSanitized) GTEST_SKIP() << "sanitizers keep memory";
    std::vector<void*> pieces(100000);
    const auto fill = [&](std::size_t bytes) {
        for (void*& piece : pieces)
            piece = Filled::Take(bytes, 1).memory;
        const std::uint64_t resident = ResidentBytes();
        for (void* piece : pieces)
            SmallMemory::Give(piece, bytes);
        return resident;
    };
    const std::uint64_t first = fill(240);
    EXPECT_LT(fill(160), first + (2 << 20));
    EXPECT_LT(fill(208), first + (2 << 20));
}

TEST(SmallMemory, OfAnEndedThreadServesOthers) {
    if (TellarTest::kSanitized) GTEST_SKIP() << "memory may be plain";
    const std::uint64_t before = ResidentBytes();
    for (int i = 0; i < 2000; ++i)
        std::thread([] {
            for (std::size_t bytes = 16; bytes <= kLargest; bytes += 16)
                Filled::Take(bytes, 1).give();
        }).join();
    EXPECT_LT(ResidentBytes(), before + (16 << 20));
}

TEST(SmallMemory, IsGivenBackByOtherThreadsThanTookIt) {
    std::mutex lock;
    std::vector<Filled> shared;
    std::vector<int> damaged(8);
    RunTogether(8, [&](int thread) {
        std::minstd_rand random(static_cast<unsigned>(thread) + 1);
        for (int i = 0; i < (TellarTest::kSanitized ? 3000 : 30000); ++i) {
            const Filled mine = Filled::Take(16 + random() % 700, static_cast<unsigned char>(i));
            Filled other = mine;
            {
                const std::lock_guard<std::mutex> guard(lock);
                shared.push_back(mine);
                std::swap(shared[random() % shared.size()], shared.back());
                if (shared.size() < 2000) continue;
                other = shared.back();
                shared.pop_back();
            }
            damaged[static_cast<std::size_t>(thread)] += other.isIntact() ? 0 : 1;
            other.give();
        }
    });
    for (const Filled& piece : shared)
        piece.give();
    EXPECT_THAT(damaged, testing::Each(0));
}

TEST(SmallMemory, ThrowsWhenTheSystemHasNoneAndGoesOnAfterwards) {
    if (TellarTest::kSanitized) GTEST_SKIP() << "sanitizers need all addresses";
    rlimit old = {};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old), 0);
    std::vector<Filled> pieces;
    pieces.reserve(1 << 20);
    const rlimit small = {std::uint64_t(512) << 20, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &small), 0);
    EXPECT_THROW(for (;;) pieces.push_back(Filled::Take(2048, 7)), std::bad_alloc);
    const bool areIntact = std::all_of(pieces.begin(), pieces.end(),
                                       [](const Filled& piece) { return piece.isIntact(); });
    for (const Filled& piece : pieces)
        piece.give();
    EXPECT_TRUE(areIntact);
    EXPECT_GT(pieces.size(), 512u); // more than a region
    const Filled again = Filled::Take(2048, 7);
    again.give();
    setrlimit(RLIMIT_AS, &old);
}

} // namespace
