#include "MachineMemory.h"

#include <filesystem>

#include <gtest/gtest.h>

#include <OxTellarSDK/MemoryBudget.h>

#include "TempDirectory.h"

namespace {

using OxTellarMemory::FindMachineMemory;

/// A root folder of a machine with 1,000 KiB of memory.
class MachineMemory : public testing::Test {
protected:
    MachineMemory() {
        write("proc/meminfo", "MemFree:   10 kB\nMemTotal:   1000 kB\nMemAvailable:  900 kB\n");
    }

    void write(const std::string& file, const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(folder.path(file)).parent_path());
        folder.write(file, text);
    }

    std::uint64_t found() const { return FindMachineMemory(folder.path()); }

    TempDirectory folder;
};

TEST_F(MachineMemory, IsThatOfTheMachineWithoutGroups) {
    EXPECT_EQ(found(), 1000u << 10);
}

TEST_F(MachineMemory, IsThatOfTheGroupOfVersion2) {
    write("proc/self/cgroup", "0::/shop/oven\n");
    write("sys/fs/cgroup/shop/oven/memory.max", "5000\n");
    EXPECT_EQ(found(), 5000u);
}

TEST_F(MachineMemory, IsThatOfAGroupAboveWhenThatIsLess) {
    write("proc/self/cgroup", "0::/shop/oven\n");
    write("sys/fs/cgroup/shop/oven/memory.max", "max\n");
    write("sys/fs/cgroup/shop/memory.max", "4000\n");
    EXPECT_EQ(found(), 4000u);
}

TEST_F(MachineMemory, IsThatOfTheFoldersRootInAContainer) {
    write("proc/self/cgroup", "0::/docker/0123\n");
    write("sys/fs/cgroup/memory.max", "3000\n");
    EXPECT_EQ(found(), 3000u);
}

TEST_F(MachineMemory, IsThatOfTheGroupOfVersion1) {
    write("proc/self/cgroup", "5:cpu,cpuacct:/a\n4:hugetlb,memory:/shop\n3:memory2:/a\n");
    write("sys/fs/cgroup/memory/shop/memory.limit_in_bytes", "6000\n");
    write("sys/fs/cgroup/memory/memory.limit_in_bytes", "9223372036854771712\n");
    write("sys/fs/cgroup/memory/a/memory.limit_in_bytes", "1\n");
    EXPECT_EQ(found(), 6000u);
}

TEST_F(MachineMemory, IsThatOfTheMachineWhenTheGroupMayUseMore) {
    write("proc/self/cgroup", "0::/\n");
    write("sys/fs/cgroup/memory.max", "99999999999\n");
    EXPECT_EQ(found(), 1000u << 10);
}

TEST_F(MachineMemory, PassesOverWhatItDoesNotUnderstand) {
    write("proc/self/cgroup", "none\n0::relative\n:\n::\n");
    write("sys/fs/cgroup/memory.max", "plenty\n");
    EXPECT_EQ(found(), 1000u << 10);
}

TEST(MachineMemoryElsewhere, IsUnlimitedWhenNothingTells) {
    EXPECT_EQ(FindMachineMemory("/no/such/root"), OxTellarMemory::kUnlimitedMemory);
}

} // namespace
