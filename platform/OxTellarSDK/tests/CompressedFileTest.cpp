#include <OxTellarSDK/AttributeStream.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <xxhash.h>
#include <zstd.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/FileStream.h>

#include "AttributePrinter.h"
#include "CompressedLayout.h"
#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "FileBuffer.h"
#include "OpenFiles.h"
#include "RunTogether.h"
#include "SampleValue.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr int kArrayCount = 400000; // doubles: 3.2 MB

Attribute Opened(const std::string& path) {
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

DoubleAttribute Counting(double first) {
    std::vector<double> values(kArrayCount);
    for (int i = 0; i < kArrayCount; ++i)
        values[static_cast<std::size_t>(i)] = first + i;
    return DoubleAttribute(values, 1);
}

/// Two large arrays with small values around them, above the size from which files are opened in
/// place.
GroupAttribute LargeValue() {
    return GroupAttribute(
        {{"before", IntAttribute(1)},
         {"a", Counting(0)},
         {"group",
          GroupAttribute({{"b", Counting(1e6)}, {"text", StringAttribute("small text")}}, true)},
         {"after", IntAttribute(2)}},
        true);
}

std::string Decompressed(const std::string& path) {
    FileStream stream(path, true);
    std::string bytes(20 << 20, '\0');
    std::size_t filled = 0;
    while (const std::int64_t got = FileStream::read(
               &stream, &bytes[filled], static_cast<std::int64_t>(bytes.size() - filled)))
        filled += static_cast<std::size_t>(got);
    bytes.resize(filled);
    return bytes;
}

/// A file that is compressed in blocks, and whose parts are changed behind right checksums.
struct Parts {
    explicit Parts(const std::string& file) {
        std::memcpy(&footer, file.data() + file.size() - sizeof footer, sizeof footer);
        lengths.resize((footer.plainBytes + footer.blockBytes - 1) / footer.blockBytes);
        const std::size_t table = file.size() - sizeof footer - lengths.size() * 4;
        std::memcpy(lengths.data(), file.data() + table, lengths.size() * 4);
        frame = ContainerBytes::ValueAt<std::uint32_t>(file, table - 8);
        frameBytes = ContainerBytes::ValueAt<std::uint32_t>(file, table - 4);
        blocks = file.substr(0, table - 8);
    }

    std::string file() {
        const std::string table(reinterpret_cast<const char*>(lengths.data()), lengths.size() * 4);
        footer.tableChecksum = XXH3_64bits(table.data(), table.size());
        footer.footerChecksum = XXH3_64bits(&footer, offsetof(CompressedFooter, footerChecksum));
        const auto bytes = [](const auto& value) {
            return std::string(reinterpret_cast<const char*>(&value), sizeof value);
        };
        return blocks + bytes(frame) + bytes(frameBytes) + table + bytes(footer);
    }

    std::string blocks;
    std::uint32_t frame, frameBytes;
    std::vector<std::uint32_t> lengths;
    CompressedFooter footer;
};

class CompressedFile : public testing::Test {
protected:
    CompressedFile() : path(folder.path("large.oxa")) {
        WriteAttributeFile(path, LargeValue(), true);
        bytes = folder.read("large.oxa");
    }
    ~CompressedFile() override {
        ContainerBytes::Read(ContainerBytes::Write(IntAttribute(1))); // closes unused files
    }

    GroupAttribute read() const { return GroupAttribute(Opened(path)); }
    std::string errorOf(const std::string& content) const {
        folder.write("large.oxa", content);
        return ErrorOf([&] { read(); });
    }
    std::string damage(const std::string& what) const {
        return "File \"" + path + "\" is damaged: " + what;
    }

    TempDirectory folder;
    std::string path;
    std::string bytes;
};

} // namespace

TEST_F(CompressedFile, IsThePlainFileToAnyZstdDecoder) {
    EXPECT_TRUE(Decompressed(path) == ContainerBytes::Write(LargeValue()));
}

TEST_F(CompressedFile, IsKeptOpenAndReadsEqual) {
    const GroupAttribute value = read();
    EXPECT_TRUE(IsOpen(path));
    EXPECT_EQ(value, LargeValue());
    EXPECT_EQ(value.getHash(), LargeValue().getHash());
}

TEST_F(CompressedFile, IsClosedWhenNobodyHoldsAnythingOfIt) {
    Attribute leaf = read().getChildByName("group.text");
    EXPECT_TRUE(IsOpen(path));
    EXPECT_EQ(StringAttribute(leaf).getValue(), "small text");
    leaf = Attribute();
    ContainerBytes::Read(ContainerBytes::Write(IntAttribute(1)));
    EXPECT_FALSE(IsOpen(path));
}

TEST_F(CompressedFile, OpenedTwiceIsKeptOnceAndShared) {
    const GroupAttribute first = read(), second = read();
    EXPECT_EQ(first.getHandle(), second.getHandle());
    EXPECT_EQ(NumberOfOpenings(path), 1);
}

TEST_F(CompressedFile, IsProbedAndReadAsAnOpFile) {
    const GroupAttribute op({{"opType", StringAttribute("Source")}, {"opArgs", LargeValue()}},
                            true);
    const GroupAttribute tree({{"op", op}}, true);
    WriteOpFile(path, tree, true);
    FileStream stream(path, true);
    EXPECT_EQ(ProbeFile(stream), FileKind::OpFile);
    EXPECT_EQ(ReadOpFile(stream), tree);
    EXPECT_TRUE(IsOpen(path));
}

TEST_F(CompressedFile, BlocksAreDecompressedByManyThreadsAtOnce) {
    const GroupAttribute expected = LargeValue();
    for (int round = 0; round < 5; ++round) {
        std::atomic<int> wrong{0};
        const GroupAttribute value = read();
        RunTogether(8, [&](int number) {
            for (const char* name : {"a", "group.b", "a", "group.text"}) {
                if (number % 2)
                    wrong += value.getChildByName("group") != expected.getChildByName("group");
                wrong += value.getChildByName(name) != expected.getChildByName(name);
            }
        });
        ASSERT_EQ(wrong, 0);
    }
}

TEST_F(CompressedFile, OfAVeryRegularValueComesBack) {
    const DoubleAttribute zeros(std::vector<double>(9000000), 1); // 72 MB
    WriteAttributeFile(path, zeros, true);
    EXPECT_LT(std::filesystem::file_size(path), 40000u);
    EXPECT_EQ(Opened(path), zeros);
}

TEST_F(CompressedFile, ThatWasCompressedAsAWholeIsStillRead) {
    const std::string plain = ContainerBytes::Write(LargeValue());
    std::string packed(ZSTD_compressBound(plain.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), plain.data(), plain.size(), 1));
    folder.write("whole.oxa", packed);
    EXPECT_EQ(Opened(folder.path("whole.oxa")), LargeValue());
    EXPECT_FALSE(IsOpen(folder.path("whole.oxa")));
}

// Damage ------------------------------------------------------------------------------------------

TEST_F(CompressedFile, DamageOfABlockIsFoundWhenAndOnlyWhenItIsRead) {
    const Parts parts(bytes);
    const std::size_t middle = parts.lengths.size() * 3 / 4; // inside of "group.b"
    std::size_t offset = 0;
    for (std::size_t i = 0; i < middle; ++i)
        offset += parts.lengths[i];
    for (std::size_t i = 20; i < parts.lengths[middle]; i += parts.lengths[middle] / 7) {
        std::string damaged = bytes;
        damaged[offset + i] ^= 0x55;
        folder.write("large.oxa", damaged);
        const GroupAttribute value = read();
        EXPECT_EQ(value.getChildByName("a"), Counting(0));
        const std::string error = ErrorOf([&] { value.getChildByName("group.b"); });
        EXPECT_THAT(error, StartsWith(damage("")));
        EXPECT_EQ(ErrorOf([&] { value.getChildByName("group.b"); }), error);
        EXPECT_EQ(value.getChildByName("a"), Counting(0));
    }
}

TEST_F(CompressedFile, ABlockThatIsShorterOrLongerThanStatedIsRefused) {
    for (const std::size_t plain : {100000u, 200000u}) {
        Parts parts(bytes);
        std::string other(ZSTD_compressBound(plain), '\0');
        const std::string content(plain, 'x');
        other.resize(ZSTD_compress(other.data(), other.size(), content.data(), plain, 1));
        parts.blocks.replace(0, parts.lengths[0], other);
        parts.lengths[0] = static_cast<std::uint32_t>(other.size());
        EXPECT_THAT(errorOf(parts.file()), AllOf(StartsWith(damage("its compressed bytes 0 to ")),
                                                 HasSubstr("cannot be decompressed")));
    }
}

TEST_F(CompressedFile, AnyChangeBehindTheBlocksIsFoundAtOnce) {
    const std::size_t end = Parts(bytes).blocks.size();
    for (std::size_t offset = end; offset < bytes.size(); ++offset) {
        std::string damaged = bytes;
        damaged[offset] ^= 0x10;
        const std::string error = errorOf(damaged);
        // A file without the magic number of its footer is read as one that was compressed as a
        // whole.
        const std::size_t magic =
            bytes.size() - sizeof(CompressedFooter) + offsetof(CompressedFooter, magic);
        if (offset >= magic && offset < magic + 8)
            ASSERT_EQ(error, "no error");
        else
            ASSERT_THAT(error, StartsWith(damage(""))) << offset;
    }
}

TEST_F(CompressedFile, CutShortAnywhereItIsRefused) {
    for (std::size_t length = 100; length < bytes.size(); length += bytes.size() / 50)
        EXPECT_THAT(errorOf(bytes.substr(0, length)), HasSubstr('"' + path + '"')) << length;
    const std::string early = "Cannot read file \"" + path + "\": the compressed data ends early";
    EXPECT_EQ(errorOf(bytes.substr(0, bytes.size() - 1)), early);
    EXPECT_EQ(errorOf(bytes.substr(0, bytes.size() - 1000)), early);
}

TEST_F(CompressedFile, WithAnImpossibleTableIsRefused) {
    const auto refused = [&](auto change) {
        Parts parts(bytes);
        change(parts);
        return errorOf(parts.file());
    };
    const std::string size = damage("its compressed blocks are of no possible size");
    for (const std::uint32_t blockBytes : {0u, 100000u, 1u << 21, 1u << 31})
        EXPECT_EQ(refused([&](Parts& p) { p.footer.blockBytes = blockBytes; }), size);
    EXPECT_EQ(refused([](Parts& p) { p.footer.plainBytes = 0; }), size);
    EXPECT_EQ(refused([](Parts& p) { p.footer.reserved = 1; }), size);
    EXPECT_EQ(refused([](Parts& p) { p.footer.plainBytes = ~std::uint64_t(0); }),
              damage("it states more than 10000 times the bytes that it has"));
    EXPECT_EQ(refused([](Parts& p) { p.footer.plainBytes *= 1000; }),
              damage("its table of compressed blocks has no frame"));
    EXPECT_EQ(refused([](Parts& p) { p.frame = 0x184d2a5f; }),
              damage("its table of compressed blocks has no frame"));
    EXPECT_EQ(refused([](Parts& p) { ++p.frameBytes; }),
              damage("its table of compressed blocks has no frame"));
    EXPECT_EQ(refused([](Parts& p) { ++p.lengths[3]; }),
              damage("its compressed blocks do not fill it"));
    EXPECT_EQ(refused([](Parts& p) { p.lengths[3] = 0; }),
              damage("a compressed block is of no possible size"));
    EXPECT_EQ(refused([](Parts& p) { p.lengths[3] = 0xffffffff; }),
              damage("a compressed block is of no possible size"));
    EXPECT_EQ(refused([](Parts& p) { p.footer.blockBytes /= 2; }),
              damage("its table of compressed blocks has no frame"));
}

TEST_F(CompressedFile, OfAnotherBlockSizeIsRead) {
    const std::string plain = ContainerBytes::Write(LargeValue());
    Parts parts(bytes);
    parts.footer.blockBytes = 1u << 20;
    parts.blocks.clear();
    parts.lengths.clear();
    for (std::size_t begin = 0; begin < plain.size(); begin += 1u << 20) {
        const std::size_t count = std::min<std::size_t>(1u << 20, plain.size() - begin);
        std::string packed(ZSTD_compressBound(count), '\0');
        packed.resize(ZSTD_compress(packed.data(), packed.size(), &plain[begin], count, 1));
        parts.blocks += packed;
        parts.lengths.push_back(static_cast<std::uint32_t>(packed.size()));
    }
    parts.frameBytes = static_cast<std::uint32_t>(parts.lengths.size() * 4 + sizeof parts.footer);
    folder.write("large.oxa", parts.file());
    EXPECT_EQ(read(), LargeValue());
    EXPECT_TRUE(IsOpen(path));
}

// Changes while it is open ------------------------------------------------------------------------

TEST_F(CompressedFile, KeepsWhatWasReadWhenItIsCutShortAndRefusesTheRest) {
    const GroupAttribute value = read();
    const Attribute first = value.getChildByName("a");
    std::filesystem::resize_file(path, 0);
    EXPECT_EQ(ErrorOf([&] { value.getChildByName("group.b"); }),
              "File \"" + path +
                  "\" can no longer be read: it has become shorter since it was "
                  "opened");
    EXPECT_EQ(first, Counting(0));
    EXPECT_EQ(value.getNumberOfChildren(), 4);
}

TEST_F(CompressedFile, KeepsWhatWasReadWhenItIsOverwrittenAndRefusesTheRest) {
    const GroupAttribute value = read();
    const Attribute first = value.getChildByName("a");
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary)
        << std::string(bytes.size(), 'x');
    EXPECT_EQ(ErrorOf([&] { value.getChildByName("group.b"); }),
              "File \"" + path + "\" has changed since it was opened");
    EXPECT_EQ(first, Counting(0));
}
