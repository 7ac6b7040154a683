#include <OxTellarSDK/FileStream.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <zstd.h>

#include <OxTellarSDK/Attribute.h>

#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "SampleValue.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::StartsWith;

namespace {

std::string Compressed(const std::string& bytes) {
    std::string packed(ZSTD_compressBound(bytes.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), bytes.data(), bytes.size(), 3));
    return packed;
}

} // namespace

namespace {

std::string ReadAll(FileStream& stream, std::int64_t step) {
    std::string bytes;
    std::vector<char> buffer(static_cast<std::size_t>(step));
    while (const std::int64_t got = FileStream::read(&stream, buffer.data(), step))
        bytes.append(buffer.data(), static_cast<std::size_t>(got));
    return bytes;
}

} // namespace

TEST(FileStream, ReadsPlainFilesAsTheyAre) {
    const TempDirectory folder;
    const std::string path = folder.write("a", "twelve bytes");
    FileStream stream(path, true);
    EXPECT_EQ(stream.getPath(), path);
    EXPECT_EQ(ReadAll(stream, 5), "twelve bytes");
    char byte;
    EXPECT_EQ(FileStream::read(&stream, &byte, 1), 0);
    EXPECT_EQ(FileStream::read(&stream, &byte, 0), 0);
    EXPECT_EQ(FileStream::read(&stream, &byte, -5), 0);
}

TEST(FileStream, ReadsFilesShorterThanAnyMagicNumber) {
    const TempDirectory folder;
    for (const std::string content : {"", "(", "(\xb5", "(\xb5/"}) {
        FileStream stream(folder.write("a", content), true);
        EXPECT_EQ(ReadAll(stream, 10), content);
    }
}

TEST(FileStream, DecompressesOnlyWhenAskedTo) {
    const TempDirectory folder;
    const std::string text(100000, 't');
    const std::string packed = Compressed(text);
    const std::string path = folder.write("a", packed);
    FileStream decompressed(path, true), plain(path, false);
    EXPECT_EQ(ReadAll(decompressed, 777), text);
    EXPECT_EQ(ReadAll(plain, 777), packed);
}

TEST(FileStream, DecompressesFramesThatFollowEachOther) {
    const TempDirectory folder;
    const std::string skippable("\x50\x2a\x4d\x18\x03\x00\x00\x00xyz", 11);
    FileStream stream(
        folder.write("a", Compressed("one ") + Compressed("") + skippable + Compressed("two")),
        true);
    EXPECT_EQ(ReadAll(stream, 2), "one two");
}

TEST(FileStream, RewoundAnywhereReadsFromTheFirstByte) {
    const TempDirectory folder;
    const std::string text(300000, 't');
    for (const std::string& content : {text, Compressed(text)}) {
        FileStream stream(folder.write("a", content), true);
        char buffer[10];
        FileStream::read(&stream, buffer, sizeof(buffer));
        stream.rewind();
        EXPECT_EQ(ReadAll(stream, 777), text);
        stream.rewind();
        EXPECT_EQ(ReadAll(stream, 777), text);
    }
}

TEST(FileStream, RefusesCompressedDataThatEndsEarlyWhereverItIsCut) {
    const TempDirectory folder;
    const std::string packed = Compressed(ContainerBytes::Write(SampleValue()));
    for (std::size_t length = 5; length < packed.size(); ++length) {
        const std::string path = folder.write("a", packed.substr(0, length));
        FileStream stream(path, true);
        EXPECT_EQ(ErrorOf([&] { ReadAll(stream, 4096); }),
                  "Cannot read file \"" + path + "\": the compressed data ends early")
            << length;
    }
}

TEST(FileStream, RefusesBytesBehindCompressedData) {
    const TempDirectory folder;
    const std::string path = folder.write("a", Compressed("text") + "garbage");
    FileStream stream(path, true);
    EXPECT_THAT(ErrorOf([&] { ReadAll(stream, 4096); }),
                StartsWith("Cannot read file \"" + path + "\": "));
}

TEST(FileStream, RefusesASmallFileThatWouldFillTheMemory) {
    const TempDirectory folder;
    const std::string path = folder.write("bomb", Compressed(std::string(200 << 20, '\0')));
    ASSERT_LT(std::filesystem::file_size(path), 30000u);
    FileStream stream(path, true);
    EXPECT_EQ(ErrorOf([&] { Attribute::readAttributeStream(&stream, &FileStream::read, 0); }),
              "Cannot read file \"" + path +
                  "\": it decompresses to more than 2000 times its size");
}

TEST(FileStream, NamesWhatIsNoFile) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { FileStream(folder.path("none"), false); }),
              "Cannot read file \"" + folder.path("none") + "\": No such file or directory");
    EXPECT_EQ(ErrorOf([&] { FileStream(folder.path(), true); }),
              "Cannot read file \"" + folder.path() + "\": not a regular file");
    EXPECT_EQ(ErrorOf([&] { FileStream("", true); }),
              "Cannot read file \"\": No such file or directory");
}

TEST(FileStream, RefusesAPipeAndADeviceWithoutWaiting) {
    const TempDirectory folder;
    const std::string pipe = folder.makePipe("pipe");
    EXPECT_EQ(ErrorOf([&] { FileStream(pipe, true); }),
              "Cannot read file \"" + pipe + "\": not a regular file");
    EXPECT_EQ(ErrorOf([&] { FileStream("/dev/zero", true); }),
              "Cannot read file \"/dev/zero\": not a regular file");
}
