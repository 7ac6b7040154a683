// The memory of files that are copied or decompressed piece by piece.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <OxTellarSDK/TellarError.h>

#include "AttributePrinter.h"
#include "CapturedLog.h"
#include "FileSizeLimit.h"
#include "LargeFile.h"
#include "OpenFiles.h"

using namespace OxAttribute;
using namespace OxTellarMemory;

namespace {

/// Files larger than half of the budget, and a folder for their temporary files.
class FileBeyondTheBudget : public LargeFile, public testing::WithParamInterface<bool> {
protected:
    FileBeyondTheBudget() {
        std::filesystem::create_directory(temporary);
        SetMemoryLimit(8 << 20);
    }
    /// Compressed, or to be copied.
    GroupAttribute openPieces() { return open("never", GetParam()); }
    std::uint64_t residentBytes() const { return ResidentBytesOf(temporary); }

    std::string temporary = folder.path("temporary");
    ScopedEnvironment key{"OX_CONFIG_TEMPORARY_FOLDER", temporary.c_str()};
};

INSTANTIATE_TEST_SUITE_P(CopiedOrCompressed, FileBeyondTheBudget, testing::Bool());

} // namespace

TEST_F(LargeFile, ThatIsCopiedOrDecompressedCountsWhatItHolds) {
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress);
        SetMemoryLimit(kUnlimitedMemory);
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

#ifdef __linux__
TEST_F(LargeFile, ThatFitsIsPutIntoTheMemoryOfAFile) {
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress);
        {
            const GroupAttribute value = open("never", compress);
            EXPECT_EQ(value, Arrays());
            EXPECT_TRUE(IsOpen("/memfd:tellar-pieces"));
        }
        closeUnused();
        EXPECT_FALSE(IsOpen("/memfd:tellar-pieces"));
    }
}

TEST_F(LargeFile, ThatFitsIsPutIntoPlainMemoryWhereFilesMustBeSmall) {
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress);
        open("never", compress);
        closeUnused();
        const FileSizeLimit limited(1 << 20);
        const Attribute value = Read(path);
        EXPECT_FALSE(IsOpen("/memfd:tellar-pieces"));
        EXPECT_EQ(value, Arrays());
    }
}
#endif

TEST_P(FileBeyondTheBudget, IsReadWithinTheLimitThroughATemporaryFile) {
    {
        const GroupAttribute value = openPieces();
        const GroupAttribute expected = Arrays();
        ResetMemoryStatistics();
        for (int pass = 0; pass < 2; ++pass)
            EXPECT_EQ(value, expected);
        EXPECT_EQ(StatisticsOf("pieces of files").bytes, 0u);
        EXPECT_LT(StatisticsOf("mapped files").peak, 10u << 20);
        EXPECT_GT(StatisticsOf("mapped files").drops, 0u);
        EXPECT_EQ(GetMemoryStatistics().beyondLimit, 0u);
        EXPECT_LT(residentBytes(), 10u << 20);
        EXPECT_TRUE(IsOpen(temporary));
        EXPECT_TRUE(std::filesystem::is_empty(temporary)) << "nobody else can find it";
    }
    closeUnused();
    EXPECT_FALSE(IsOpen(temporary));
    EXPECT_EQ(StatisticsOf("mapped files").bytes, 0u);
}

TEST_P(FileBeyondTheBudget, CountsEachPieceOnce) {
    SetMemoryLimit(40 << 20);
    const GroupAttribute value = openPieces();
    for (int pass = 0; pass < 2; ++pass)
        EXPECT_EQ(value, Arrays());
    EXPECT_NEAR(double(StatisticsOf("mapped files").bytes), double(kBytes), double(kSlack));
    EXPECT_NEAR(double(residentBytes()), double(kBytes), double(kSlack));
}

TEST_P(FileBeyondTheBudget, KeepsItsContentWhenTheOriginalChanges) {
    const GroupAttribute value = openPieces();
    EXPECT_EQ(value, Arrays());
    std::ofstream(path) << "something else";
    SetMemoryLimit(1 << 20);
    EXPECT_LT(residentBytes(), 2 * kSlack);
    EXPECT_EQ(value, Arrays());
}

TEST_P(FileBeyondTheBudget, IsReadByThreadsWhileItsPagesAreGivenBack) {
    EXPECT_EQ(WrongReadsWhileShrinking(openPieces()), 0);
}

TEST_P(FileBeyondTheBudget, IsReadByAForkedProcessAtTheSameTime) {
    const GroupAttribute value = openPieces();
    const GroupAttribute expected = Arrays();
    value.getChildByName("array7");
    const pid_t child = fork();
    if (child == 0) _exit(value == expected ? 0 : 1);
    EXPECT_EQ(value, expected);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(value, expected);
}

TEST_P(FileBeyondTheBudget, IsAnErrorWhenTheDiskIsFull) {
    const GroupAttribute value = openPieces();
    const FileSizeLimit limited(1 << 20);
    try {
        EXPECT_EQ(value, Arrays());
        FAIL() << "no error";
    } catch (const TellarError& error) {
        EXPECT_EQ(std::string(error.what()),
                  "File \"" + path + "\" cannot be read: its temporary copy in \"" + temporary +
                      "\" cannot be written: File too large");
    }
}

TEST_P(FileBeyondTheBudget, StaysInMemoryWhereNoFolderHasRoom) {
    const ScopedEnvironment absent("OX_CONFIG_TEMPORARY_FOLDER", "/nowhere");
    const CapturedLog log;
    const GroupAttribute value = openPieces();
    EXPECT_EQ(value, Arrays());
    EXPECT_NEAR(double(StatisticsOf("pieces of files").bytes), double(kBytes), double(kSlack));
    EXPECT_GT(GetMemoryStatistics().beyondLimit, kBytes / 2);
    EXPECT_THAT(log.textsOf("FileStream"),
                testing::ElementsAre("File \"" + path +
                                     "\" takes more memory than half of the limit, and is not put "
                                     "into a temporary file, because TEMPORARY_FOLDER, which is "
                                     "\"/nowhere\", is no folder with room for them."));
}

TEST_P(FileBeyondTheBudget, StaysInMemoryWhereBusErrorsAreNotHandled) {
    const ScopedEnvironment off("OX_CONFIG_HANDLE_BUS_ERRORS", "0");
    const GroupAttribute value = openPieces();
    EXPECT_EQ(value, Arrays());
    EXPECT_FALSE(IsOpen(temporary));
}
