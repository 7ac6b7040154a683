#include <OxTellarSDK/MemoryBudget.h>

#include <random>
#include <thread>

#include <gmock/gmock.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "TestCache.h"

namespace {

using namespace OxTellarMemory;
using TellarTest::TestCache;

constexpr std::uint64_t kMebibyte = 1 << 20;
constexpr int kThreads = 8;

TEST(MemoryBudgetThreads, KeepTheLimitWhileAllAddAndDrop) {
    SetMemoryLimit(2 * kMebibyte);
    ResetMemoryStatistics();
    TestCache* const caches[] = {new TestCache("shared a"), new TestCache("shared b")};
    const int steps = TellarTest::kSanitized ? 3000 : 30000;
    RunTogether(kThreads, [&](int thread) {
        std::minstd_rand random(static_cast<unsigned>(thread) + 1);
        for (int i = 0; i < steps; ++i)
            caches[random() % 2]->use(static_cast<int>(random() % 8000), 1000);
    });
    const MemoryStatistics all = GetMemoryStatistics();
    EXPECT_GT(all.reliefs, 0u);
    std::uint64_t asked = 0;
    std::uint64_t missing = 0;
    for (const CacheStatistics& cache : all.caches) {
        if (cache.name.rfind("shared", 0) != 0) continue;
        EXPECT_EQ(cache.bytes, 1000 * cache.entries);
        asked += cache.hits + cache.misses;
        missing += cache.misses - cache.drops - cache.entries;
    }
    EXPECT_EQ(asked, static_cast<std::uint64_t>(kThreads) * static_cast<unsigned>(steps));
    EXPECT_EQ(missing, 0u); // each entry that was added is there or was dropped
    // Beyond the eighth of the limit from which on threads wait, what they had in hand.
    EXPECT_LE(all.peak, 2 * kMebibyte + kMebibyte / 4 + kThreads * 2 * (32 << 10));
    for (TestCache* cache : caches)
        cache->clear();
}

TEST(MemoryBudgetThreads, MayAskForStatisticsSetLimitsAndEndMeanwhile) {
    auto* const cache = new TestCache("asked about");
    RunTogether(kThreads, [&](int thread) {
        for (int i = 0; i < 50; ++i) {
            if (thread == 0) SetMemoryLimit((1 + static_cast<unsigned>(i) % 4) * kMebibyte);
            if (thread == 1) ResetMemoryStatistics();
            if (thread == 2) {
                EXPECT_LE(GetMemoryStatistics().caches.size(), 32u);
            }
            std::thread([&] {
                for (int number = 0; number < 100; ++number)
                    cache->use(100 * i + number, 3000);
            }).join();
        }
    });
    SetMemoryLimit(kMebibyte);
    EXPECT_LE(GetMemoryStatistics().bytes, kMebibyte);
    cache->clear();
    EXPECT_EQ(GetMemoryStatistics().bytes, 0u);
}

} // namespace
