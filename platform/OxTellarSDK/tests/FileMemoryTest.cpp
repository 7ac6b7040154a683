// What large files take of the memory budget.
#include <OxTellarSDK/MemoryBudget.h>

#include <atomic>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>

#include "AttributePrinter.h"
#include "OpenFiles.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using namespace OxTellarMemory;

namespace {

constexpr int kArrays = 64;
constexpr int kNumbers = 50000;                          // doubles of an array
constexpr std::uint64_t kBytes = kArrays * kNumbers * 8; // 25.6 MB
constexpr std::uint64_t kSlack = 1 << 20;

GroupAttribute Arrays() {
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < kArrays; ++i)
        children.emplace_back("array" + std::to_string(i),
                              DoubleAttribute(std::vector<double>(kNumbers, i), 1));
    return GroupAttribute(children, true);
}

CacheStatistics StatisticsOf(const std::string& name) {
    for (const CacheStatistics& cache : GetMemoryStatistics().caches)
        if (cache.name == name) return cache;
    return {};
}

/// How much of a mapped file the process has in its memory, in bytes.
std::uint64_t ResidentBytesOf(const std::string& path) {
    std::ifstream maps("/proc/self/smaps");
    std::uint64_t kilobytes = 0;
    bool isFile = false;
    for (std::string line; std::getline(maps, line);) {
        const bool isHead = line.find(" kB") == std::string::npos && line.find('-') < 17;
        if (isHead) isFile = line.find(path) != std::string::npos;
        if (isFile && line.rfind("Rss:", 0) == 0) kilobytes += std::stoull(line.substr(4));
    }
    return kilobytes * 1024;
}

class LargeFile : public testing::Test {
protected:
    ~LargeFile() override {
        SetMemoryLimit(kUnlimitedMemory);
        setting.reset();
        Config()->reload();
    }

    GroupAttribute open(const char* mapAbove, bool compress = false) {
        setting.emplace("OX_CONFIG_MAP_FILES_ABOVE", mapAbove);
        Config()->reload();
        WriteAttributeFile(path, Arrays(), compress);
        FileStream stream(path, true);
        return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
    }
    void closeUnused() const {
        WriteAttributeFile(folder.path("small"), IntAttribute(1));
        FileStream stream(folder.path("small"), true);
        Attribute::readAttributeStream(&stream, &FileStream::read, 0);
    }

    TempDirectory folder;
    std::string path = folder.path("large.oxa");
    std::optional<ScopedEnvironment> setting;
};

} // namespace

TEST_F(LargeFile, ThatIsMappedCountsWhatWasReadUntilItIsClosed) {
    {
        const GroupAttribute value = open("4");
        ASSERT_TRUE(IsMapped(path));
        EXPECT_LT(StatisticsOf("mapped files").bytes, kSlack);
        value.getChildByName("array7");
        EXPECT_GT(StatisticsOf("mapped files").bytes, kNumbers * 8u);
        EXPECT_LT(StatisticsOf("mapped files").bytes, 2 * kSlack);
        EXPECT_EQ(value, Arrays());
        EXPECT_NEAR(double(StatisticsOf("mapped files").bytes), double(kBytes), double(kSlack));
    }
    closeUnused();
    EXPECT_EQ(StatisticsOf("mapped files").bytes, 0u);
    EXPECT_EQ(StatisticsOf("mapped files").entries, 0u);
}

TEST_F(LargeFile, ThatIsMappedGivesItsPagesBackAndReadsThemAgain) {
    const GroupAttribute value = open("4");
    EXPECT_EQ(value, Arrays());
    EXPECT_NEAR(double(ResidentBytesOf(path)), double(kBytes), double(kSlack));
    SetMemoryLimit(1 << 20);
    EXPECT_LT(ResidentBytesOf(path), 2 * kSlack);
    EXPECT_LT(StatisticsOf("mapped files").bytes, kSlack);
    EXPECT_GT(StatisticsOf("mapped files").drops, 0u);
    EXPECT_EQ(value, Arrays());
    EXPECT_EQ(value.getHash(), Arrays().getHash());
}

TEST_F(LargeFile, ThatIsMappedIsReadWithinTheLimitWithoutOtherCaches) {
    const GroupAttribute value = open("4");
    const GroupAttribute expected = Arrays();
    SetMemoryLimit(8 << 20);
    ResetMemoryStatistics();
    for (int pass = 0; pass < 2; ++pass)
        EXPECT_EQ(value, expected);
    EXPECT_LT(StatisticsOf("mapped files").peak, 10u << 20);
    EXPECT_GT(StatisticsOf("mapped files").drops, 0u);
    EXPECT_LT(ResidentBytesOf(path), 10u << 20);
}

TEST_F(LargeFile, ThatIsMappedIsReadWhileItsPagesAreGivenBack) {
    const GroupAttribute value = open("4");
    const GroupAttribute expected = Arrays();
    std::atomic<bool> isDone{false};
    std::atomic<int> wrong{0};
    std::thread shrinking([&] {
        while (!isDone) {
            SetMemoryLimit(1 << 20);
            SetMemoryLimit(kUnlimitedMemory);
        }
    });
    RunTogether(4, [&](int) {
        for (int pass = 0; pass < (TellarTest::kSanitized ? 2 : 10); ++pass)
            wrong += value != expected;
    });
    isDone = true;
    shrinking.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(LargeFile, ThatIsMappedIsWrittenAnewWithinTheLimit) {
    const GroupAttribute value = open("4");
    SetMemoryLimit(8 << 20);
    ResetMemoryStatistics();
    for (const bool compress : {false, true}) {
        WriteAttributeFile(folder.path("copy"), value, compress);
        EXPECT_LT(StatisticsOf("mapped files").peak, 10u << 20);
        EXPECT_LT(ResidentBytesOf(path), 10u << 20);
    }
}

TEST_F(LargeFile, ThatIsCopiedOrDecompressedCountsWhatItHolds) {
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress);
        {
            const GroupAttribute value = open("never", compress);
            value.getChildByName("array7");
            EXPECT_LT(StatisticsOf("pieces of files").bytes, 4 * kSlack);
            EXPECT_EQ(value, Arrays());
            SetMemoryLimit(1 << 20); // readers use the bytes in place
            EXPECT_NEAR(double(StatisticsOf("pieces of files").bytes), double(kBytes),
                        double(kSlack));
            EXPECT_GT(GetMemoryStatistics().beyondLimit, kBytes - 2 * kSlack);
            EXPECT_EQ(value, Arrays());
        }
        closeUnused();
        EXPECT_EQ(StatisticsOf("pieces of files").bytes, 0u);
        EXPECT_EQ(StatisticsOf("pieces of files").entries, 0u);
    }
}
