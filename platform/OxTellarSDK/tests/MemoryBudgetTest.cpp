#include <OxTellarSDK/MemoryBudget.h>

#include <functional>
#include <iostream>
#include <thread>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"
#include "TestCache.h"

namespace {

using namespace OxTellarMemory;
using TellarTest::TestCache;
using testing::HasSubstr;

constexpr std::uint64_t kMebibyte = 1 << 20;

CacheStatistics StatisticsOf(const std::string& name) {
    for (const CacheStatistics& cache : GetMemoryStatistics().caches)
        if (cache.name == name) return cache;
    ADD_FAILURE() << "no cache is called " << name;
    return {};
}

TEST(ParseMemorySize, ReadsNumbersWithAndWithoutUnits) {
    EXPECT_EQ(ParseMemorySize("1000000"), 1000000u);
    EXPECT_EQ(ParseMemorySize("3k"), 3u << 10);
    EXPECT_EQ(ParseMemorySize("512M"), 512u << 20);
    EXPECT_EQ(ParseMemorySize("1.5GiB"), 3ull << 29);
    EXPECT_EQ(ParseMemorySize("2 gb"), 2ull << 30);
    EXPECT_EQ(ParseMemorySize("1T"), 1ull << 40);
    EXPECT_EQ(ParseMemorySize("0"), 0u);
    EXPECT_EQ(ParseMemorySize("7B"), 7u);
    EXPECT_EQ(ParseMemorySize("unlimited"), kUnlimitedMemory);
    EXPECT_EQ(ParseMemorySize("99999999999T"), kUnlimitedMemory);
}

TEST(ParseMemorySize, RefusesEverythingElse) {
    for (const char* text : {"", "G", "-1", "-0", "2X", "2GG", "2iB", "2bb", "nan", "inf", "1e9",
                             "0x10", " 2G", "2G!", "2,5G", "unlimited "}) {
        std::string error;
        EXPECT_FALSE(ParseMemorySize(text, &error)) << text;
        EXPECT_EQ(error, '"' + std::string(text) +
                             "\" is no size; write for example 512M, 2G, 1.5GiB or unlimited");
    }
}

/// Runs the body in a process of its own, which has not asked for the limit yet.
void InNewProcess(const std::function<void()>& body, const std::string& expected) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT((body(), std::exit(0)), testing::ExitedWithCode(0), expected);
}

TEST(MemoryLimit, IsThatOfTheConfiguration) {
    const ScopedEnvironment limit("OX_CONFIG_MEMORY_LIMIT", "5M");
    InNewProcess([] { std::cerr << GetMemoryLimit(); }, "^5242880$");
}

/// Prints the limit of a process whose configuration file has this content.
void PrintLimitWithFile(const std::string& content) {
    const TempDirectory folder;
    const ScopedEnvironment file("OX_CONFIG_FILE", folder.write("settings.json", content));
    std::cerr << GetMemoryLimit();
}

TEST(MemoryLimit, IsThatOfAConfigurationFile) {
    const ScopedEnvironment limit("OX_CONFIG_MEMORY_LIMIT", std::nullopt);
    InNewProcess([] { PrintLimitWithFile(R"({"MEMORY_LIMIT": "6M"})"); }, "^6291456$");
    InNewProcess([] { PrintLimitWithFile(R"({"MEMORY_LIMIT": 7340032})"); }, "^7340032$");
}

TEST(MemoryLimit, IsThatOfTheEnvironmentBeforeThatOfAConfigurationFile) {
    const ScopedEnvironment limit("OX_CONFIG_MEMORY_LIMIT", "5M");
    InNewProcess([] { PrintLimitWithFile(R"({"MEMORY_LIMIT": "6M"})"); }, "^5242880$");
}

TEST(MemoryLimit, IsTheDefaultAndAnErrorIsLoggedWhenTheConfigurationHasNoSize) {
    const ScopedEnvironment limit("OX_CONFIG_MEMORY_LIMIT", "much");
    InNewProcess(
        [] {
            const CapturedLog log;
            const bool isDefault = GetMemoryLimit() == GetDefaultMemoryLimit();
            const auto texts = log.textsOf("MemoryBudget");
            std::cerr << isDefault << (texts.size() == 1 ? texts[0] : "");
        },
        "^1MEMORY_LIMIT: \"much\" is no size; write for example 512M, 2G, 1.5GiB or unlimited. "
        "The default is used: [0-9]* MiB.$");
}

TEST(MemoryLimit, IsTheDefaultUnlessSet) {
    const ScopedEnvironment limit("OX_CONFIG_MEMORY_LIMIT", std::nullopt);
    InNewProcess([] { std::cerr << (GetMemoryLimit() == GetDefaultMemoryLimit()); }, "^1$");
}

TEST(MemoryLimit, IsAtLeastOneMebibyte) {
    SetMemoryLimit(1);
    EXPECT_EQ(GetMemoryLimit(), kMebibyte);
}

TEST(MemoryStatistics, CountWhatACacheDoes) {
    SetMemoryLimit(64 * kMebibyte);
    auto* const cache = new TestCache("counted");
    cache->use(1, 1000);
    cache->use(2, 500000);
    cache->use(1, 1000);
    cache->clear();
    cache->use(3, 70);
    const CacheStatistics counted = StatisticsOf("counted");
    EXPECT_EQ(counted.entries, 1u);
    EXPECT_EQ(counted.bytes, 70u);
    EXPECT_EQ(counted.peak, 501000u);
    EXPECT_EQ(counted.hits, 1u);
    EXPECT_EQ(counted.misses, 3u);
    EXPECT_EQ(counted.drops, 0u);
    cache->clear();
}

TEST(MemoryStatistics, KeepWhatThreadsCountedThatHaveEnded) {
    SetMemoryLimit(64 * kMebibyte);
    auto* const cache = new TestCache("of a thread");
    std::thread([&] { cache->use(1, 5000); }).join();
    EXPECT_EQ(StatisticsOf("of a thread").bytes, 5000u);
    EXPECT_EQ(StatisticsOf("of a thread").misses, 1u);
    cache->clear(); // by another thread than the one that added the entry
    EXPECT_EQ(StatisticsOf("of a thread").bytes, 0u);
    EXPECT_EQ(StatisticsOf("of a thread").entries, 0u);
}

TEST(MemoryStatistics, CountFromZeroAgainAfterAReset) {
    SetMemoryLimit(64 * kMebibyte);
    auto* const cache = new TestCache("reset");
    cache->use(1, 300000);
    cache->use(2, 200000);
    cache->use(2, 200000);
    cache->clear();
    cache->use(3, 100000);
    ResetMemoryStatistics();
    cache->use(3, 100000);
    const CacheStatistics counted = StatisticsOf("reset");
    EXPECT_EQ(counted.hits, 1u);
    EXPECT_EQ(counted.misses, 0u);
    EXPECT_EQ(counted.entries, 1u);
    EXPECT_EQ(counted.bytes, 100000u);
    EXPECT_EQ(counted.peak, 100000u);
    EXPECT_EQ(GetMemoryStatistics().reliefs, 0u);
    cache->clear();
}

TEST(MemoryBudget, DropsTheEntriesThatWereUsedTheLongestTimeAgo) {
    SetMemoryLimit(4 * kMebibyte);
    auto* const cache = new TestCache("oldest");
    cache->use(-1, 1000); // used all the time
    for (int i = 0; i < 100; ++i) {
        cache->use(i, 100000);
        cache->use(-1, 1000);
        ASSERT_LE(GetMemoryStatistics().bytes, 4 * kMebibyte) << i;
    }
    EXPECT_TRUE(cache->has(-1));
    EXPECT_TRUE(cache->has(99));
    EXPECT_FALSE(cache->has(0));
    EXPECT_GE(StatisticsOf("oldest").drops, 59u);          // 10 MB less the limit
    EXPECT_GE(GetMemoryStatistics().bytes, 3 * kMebibyte); // no more is dropped than is needed
    cache->clear();
}

TEST(MemoryBudget, DropsFromTheCacheWithTheOldestEntries) {
    SetMemoryLimit(4 * kMebibyte);
    auto* const old = new TestCache("old entries");
    auto* const used = new TestCache("used entries");
    used->use(1, kMebibyte);
    old->use(1, kMebibyte);
    for (int i = 2; i < 40; ++i) {
        used->use(i, 200000);
        used->use(1, kMebibyte);
    }
    EXPECT_TRUE(used->has(1));
    EXPECT_FALSE(old->has(1));
    used->clear();
}

TEST(MemoryBudget, TellsWhatIsHeldBeyondTheLimitAndTriesAgainAfterMoreWasAdded) {
    SetMemoryLimit(4 * kMebibyte);
    ResetMemoryStatistics();
    auto* const cache = new TestCache("held");
    cache->hold(true);
    for (int i = 0; i < 60; ++i)
        cache->use(i, 100000);
    EXPECT_EQ(GetMemoryStatistics().beyondLimit, 6000000 - 4 * kMebibyte);
    // One attempt at the limit, and one for each further 256 KiB.
    EXPECT_GE(GetMemoryStatistics().reliefs, 5u);
    EXPECT_LE(GetMemoryStatistics().reliefs, 9u);

    cache->hold(false);
    for (int i = 60; i < 64; ++i)
        cache->use(i, 100000);
    EXPECT_EQ(GetMemoryStatistics().beyondLimit, 0u);
    cache->clear();
}

TEST(MemoryBudget, DropsAtOnceWhatExceedsANewLimit) {
    SetMemoryLimit(8 * kMebibyte);
    auto* const cache = new TestCache("of a new limit");
    for (int i = 0; i < 60; ++i)
        cache->use(i, 100000);
    SetMemoryLimit(2 * kMebibyte);
    EXPECT_LE(GetMemoryStatistics().bytes, 2 * kMebibyte);
    EXPECT_GT(GetMemoryStatistics().bytes, kMebibyte);
    cache->clear();
}

TEST(MemoryBudget, LetsNoTimePassInsideHalfOfTheLimit) {
    SetMemoryLimit(8 * kMebibyte);
    auto* const cache = new TestCache("without time");
    const std::uint32_t before = CurrentTick();
    for (int i = 0; i < 30; ++i)
        cache->use(i, 100000);
    EXPECT_EQ(CurrentTick(), before);
    for (int i = 30; i < 80; ++i)
        cache->use(i, 100000);
    EXPECT_GE(CurrentTick(), before + 5);
    EXPECT_LE(CurrentTick(), before + 11); // 8 MB less half of the limit, in steps of 448 KiB
    cache->clear();
}

/// Its entries are counted, but it has no memory to drop them.
class FailingCache final : public Cache {
public:
    using Cache::Cache;
    std::uint64_t drop(std::uint32_t, std::uint64_t) override { throw std::bad_alloc(); }
};

TEST(MemoryBudget, DropsFromOtherCachesWhenOneFails) {
    SetMemoryLimit(4 * kMebibyte);
    auto* const cache = new TestCache("beside a failing one");
    auto* const failing = new FailingCache("failing");
    for (int i = 0; i < 60; ++i)
        cache->use(i, 100000);
    EXPECT_GT(StatisticsOf("beside a failing one").drops, 0u);
    failing->miss();
    EXPECT_EQ(StatisticsOf("failing").misses, 1u);
    cache->clear();
}

} // namespace
