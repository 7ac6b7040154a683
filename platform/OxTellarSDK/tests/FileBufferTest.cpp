#include "FileBuffer.h"

#include <cstdint>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "MapSettings.h"
#include "TempDirectory.h"
#include "files/RegularFile.h"

using namespace OxAttribute;

TEST(FileBuffer, OfAMappedFileTellsWhatIsNoLongerThereBeforeItIsTouched) {
    const TempDirectory folder;
    const std::string path = folder.write("file", std::string(100000, 'x'));
    RegularFile::State state;
    std::string reason;
    const RegularFile::Pointer file = RegularFile::Open(path, state, reason);
    const FileBuffer buffer = FileBuffer::Open(file.get(), state, FileAccess::Map);
    EXPECT_TRUE(buffer.fetch(0, 100000, reason));
    std::filesystem::resize_file(path, 50000);
    EXPECT_TRUE(buffer.fetch(0, 50000, reason));
    EXPECT_FALSE(buffer.fetch(50000, 50001, reason));
    EXPECT_EQ(reason, "can no longer be read: it has become shorter since it was opened");
}

TEST(FileBuffer, OfAMappedFileHasZerosForBytesThatAreNoLongerThere) {
    const TempDirectory folder;
    const std::string path = folder.write("file", std::string(100000, 'x'));
    RegularFile::State state;
    std::string reason;
    const RegularFile::Pointer file = RegularFile::Open(path, state, reason);
    const FileBuffer buffer = FileBuffer::Open(file.get(), state, FileAccess::Map);
    EXPECT_FALSE(buffer.hasChanged());
    std::filesystem::resize_file(path, 50000);
    EXPECT_TRUE(buffer.hasChanged());
    EXPECT_EQ(buffer.data()[49999], 'x');
    EXPECT_EQ(buffer.data()[80000], '\0');
    EXPECT_EQ(buffer.data()[99999], '\0');
    EXPECT_EQ(buffer.data()[100], 'x');
    std::filesystem::resize_file(path, 100000);
    EXPECT_FALSE(buffer.fetch(0, 100, reason));
    EXPECT_EQ(reason, "has changed since it was opened");
}

TEST(MapFiles, ThatOtherMachinesMayChangeOnlyWhereTheConfigurationSaysSo) {
    for (const std::uint64_t remote : {0x6969u, 0xff534d42u, 0xfe534d42u, 0x65735546u, 0x01021997u})
        EXPECT_TRUE(IsRemoteFileSystem(remote)) << remote;
    for (const std::uint64_t local : {0xef53u, 0x58465342u, 0x9123683eu, 0x01021994u, 0x794c7630u})
        EXPECT_FALSE(IsRemoteFileSystem(local)) << local;
}
