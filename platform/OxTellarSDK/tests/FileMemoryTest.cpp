// What large files take of the memory budget.
#include <OxTellarSDK/MemoryBudget.h>

#include <cstdint>

#include <gmock/gmock.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>

#include "AttributePrinter.h"
#include "LargeFile.h"
#include "OpenFiles.h"

using namespace OxAttribute;
using namespace OxTellarMemory;

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
    EXPECT_EQ(WrongReadsWhileShrinking(open("4")), 0);
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
