#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "OpenFiles.h"
#include "RunTogether.h"
#include "SampleValue.h"
#include "Sanitized.h"
#include "TempDirectory.h"

using namespace OxAttribute;

namespace {

Attribute ReadFile(const std::string& path) {
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

/// Opening a file closes those that nobody holds.
void CollectUnusedFiles(const TempDirectory& folder) {
    WriteAttributeFile(folder.path("other.oxa"), IntAttribute(1));
    ReadFile(folder.path("other.oxa"));
}

/// Above the size from which files are mapped.
GroupAttribute LargeValue(int leaves = 500) {
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < leaves; ++i) {
        const std::vector<double> numbers(1500, i);
        children.emplace_back(
            "leaf" + std::to_string(i),
            GroupAttribute({{"numbers", DoubleAttribute(numbers, 3)}, {"i", IntAttribute(i)}},
                           true));
    }
    return GroupAttribute(children, true);
}

} // namespace

TEST(AttributeThreads, ManyThreadsMayAskForOneHashAtOnce) {
    const Hash expected = SampleValue().getHash();
    for (int round = 0; round < 50; ++round) {
        const GroupAttribute value = SampleValue();
        std::atomic<int> wrong{0};
        RunTogether(8, [&](int) { wrong += value.getHash() != expected; });
        ASSERT_EQ(wrong, 0);
    }
}

TEST(AttributeThreads, ManyThreadsMayShareAndDropOneValue) {
    const IntAttribute leaf(1);
    const GroupAttribute group({{"a", leaf}, {"b", GroupAttribute({{"c", leaf}}, true)}}, true);
    RunTogether(8, [&](int) {
        for (int i = 0; i < 2000; ++i) {
            const Attribute copy = group;
            const Attribute child = GroupAttribute(copy).getChildByName("b.c");
            if (IntAttribute(child).getValue() != 1) throw std::runtime_error("wrong value");
        }
    });
    EXPECT_EQ(IntAttribute(group.getChildByName("a")).getValue(), 1);
}

TEST(AttributeThreads, TheLastHandleMayBeDroppedOnAnotherThread) {
    for (int round = 0; round < 200; ++round) {
        Attribute first = SampleValue(), second = first;
        std::thread other([taken = std::move(first)]() mutable { taken = Attribute(); });
        second = Attribute();
        other.join();
    }
}

TEST(AttributeThreads, OneFileIsReadByMoreThreadsThanThereAreCounters) {
    const TempDirectory folder;
    const std::string path = folder.path("large.oxa");
    const GroupAttribute expected = LargeValue();
    WriteAttributeFile(path, expected);
    std::atomic<int> wrong{0};
    {
        const GroupAttribute file(ReadFile(path));
        ASSERT_TRUE(IsOpen(path));
        RunTogether(48, [&](int number) {
            for (int i = 0; i < 100; ++i) {
                const int leaf = (number * 37 + i * 11) % 500;
                const GroupAttribute group(file.getChildByIndex(leaf));
                wrong += IntAttribute(group.getChildByName("i")).getValue() != leaf;
                wrong += DoubleAttribute(group.getChildByName("numbers")).getValue() != leaf;
            }
        });
        CollectUnusedFiles(folder);
        EXPECT_TRUE(IsOpen(path));
    }
    EXPECT_EQ(wrong, 0);
    CollectUnusedFiles(folder);
    EXPECT_FALSE(IsOpen(path));
}

TEST(AttributeThreads, HandlesOfAFileMayChangeThreadsAndAreStillCounted) {
    const TempDirectory folder;
    const std::string path = folder.path("large.oxa");
    WriteAttributeFile(path, LargeValue());
    std::vector<Attribute> handles(400);
    {
        const GroupAttribute file(ReadFile(path));
        RunTogether(4, [&](int number) {
            for (int i = 0; i < 100; ++i)
                handles[static_cast<std::size_t>(number * 100 + i)] = file.getChildByIndex(i);
        });
    }
    CollectUnusedFiles(folder);
    EXPECT_TRUE(IsOpen(path));
    RunTogether(4, [&](int number) { // each drops what another one took
        for (int i = 0; i < 100; ++i)
            handles[static_cast<std::size_t>((3 - number) * 100 + i)] = Attribute();
    });
    CollectUnusedFiles(folder);
    EXPECT_FALSE(IsOpen(path));
}

TEST(AttributeThreads, FilesAreOpenedReadAndClosedByManyThreadsAtOnce) {
    const TempDirectory folder;
    const std::string paths[] = {folder.path("a.oxa"), folder.path("b.oxa")};
    const GroupAttribute values[] = {LargeValue(400), LargeValue(450)};
    const std::string small = folder.path("small.oxa");
    for (int i = 0; i < 2; ++i)
        WriteAttributeFile(paths[i], values[i]);
    WriteAttributeFile(small, SampleValue(), true);
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 40; ++i) {
            const int which = (number + i) % 2;
            const GroupAttribute file(ReadFile(paths[which]));
            wrong += file.getNumberOfChildren() != values[which].getNumberOfChildren();
            const GroupAttribute leaf(file.getChildByIndex(i));
            wrong += leaf != values[which].getChildByIndex(i);
            wrong += ReadFile(small) != SampleValue();
        }
    });
    EXPECT_EQ(wrong, 0);
    CollectUnusedFiles(folder);
    EXPECT_FALSE(IsOpen(paths[0]));
    EXPECT_FALSE(IsOpen(paths[1]));
}

// A writer renames files of different lengths over one path while readers open it: what is opened
// must be one file or the other, whole.
TEST(AttributeThreads, AFileReplacedWhileItIsOpenedIsOneOrTheOther) {
    const TempDirectory folder;
    const std::string path = folder.path("scene.oxa");
    const GroupAttribute shorter = LargeValue(360), longer = LargeValue(500);
    WriteAttributeFile(path, shorter);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < (TellarTest::kSanitized ? 20 : 60); ++i)
            WriteAttributeFile(path, i % 2 ? shorter : longer);
        done = true;
    });
    std::string error;
    while (!done && error.empty()) {
        try {
            const GroupAttribute file(ReadFile(path));
            const std::int64_t count = file.getNumberOfChildren();
            if (count != 360 && count != 500) error = std::to_string(count) + " children";
            if (IntAttribute(file.getChildByName("leaf359.i")).getValue() != 359)
                error = "a wrong value";
        } catch (const std::exception& thrown) {
            error = thrown.what();
        }
    }
    writer.join();
    EXPECT_EQ(error, "");
}
