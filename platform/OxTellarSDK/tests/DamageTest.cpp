#include <OxTellarSDK/AttributeStream.h>

#include <cstdint>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/FileStream.h>

#include "AttributePrinter.h"
#include "CarelessReader.h"
#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "SampleValue.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using namespace Damaged;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

Attribute ReadFile(const std::string& path) {
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

/// A file with correct checksums must either be refused or give a value like any other:
/// readable, hashable, and the same after one more round trip.
void ExpectRefusedOrSound(const std::string& file) {
    Attribute value;
    try {
        value = ContainerBytes::Read(file);
        Reader().read(value);
    } catch (const std::logic_error&) {
        throw;
    } catch (const std::exception& error) {
        EXPECT_THAT(error.what(), StartsWith("the attribute stream "));
        EXPECT_THROW(static_cast<void>(ContainerBytes::Write(value)), std::exception);
        EXPECT_TRUE(!value.isValid() ||
                    ErrorOf<std::exception>([&] { value.getHash(); }) != "no error");
        return;
    }
    const Attribute again = ContainerBytes::Read(ContainerBytes::Write(value));
    EXPECT_EQ(again.getHash(), value.getHash());
    EXPECT_EQ(again.getXML(), value.getXML());
    EXPECT_EQ(ParseAttributeXml(value.getXML()), value);
}

/// An op tree may be refused for what it says, too.
void ExpectRefusedOrSoundOpTree(const TempDirectory& folder, const std::string& file) {
    const std::string path = folder.write("mutant", file);
    try {
        Reader().read(ReadOpFile(path));
    } catch (const std::logic_error&) {
        throw;
    } catch (const std::exception& error) {
        EXPECT_THAT(error.what(), HasSubstr(path));
    }
}

} // namespace

// Wrong checksums

class DamagedFile : public testing::TestWithParam<const char*> {
protected:
    DamagedFile() : path(folder.path("damaged.oxa")) {
        isOpFile = std::strstr(GetParam(), "OpFile") != nullptr;
        isCompressed = std::strstr(GetParam(), "Compressed") != nullptr;
        if (isOpFile)
            WriteOpFile(path, SampleOpTree(), isCompressed);
        else
            WriteAttributeFile(path, SampleValue(), isCompressed);
        bytes = folder.read("damaged.oxa");
    }

    Attribute value() const { return isOpFile ? Attribute(ReadOpFile(path)) : ReadFile(path); }

    /// Writes `damaged` where the sound file was and returns the error of reading it.
    std::string errorOf(const std::string& damaged) {
        folder.write("damaged.oxa", damaged);
        return ErrorOf<std::exception>([&] { read = value(); });
    }

    TempDirectory folder;
    std::string path;
    bool isOpFile, isCompressed;
    std::string bytes;
    Attribute read;
};

INSTANTIATE_TEST_SUITE_P(Damage, DamagedFile,
                         testing::Values("AttributeFile", "OpFile", "CompressedAttributeFile",
                                         "CompressedOpFile"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(DamagedFile, TruncatedAtAnyLengthGivesAnErrorThatNamesTheFile) {
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        const std::string error = errorOf(bytes.substr(0, length));
        // All blocks of a compressed file without its table are a compressed file as well.
        if (isCompressed && error == "no error") {
            ASSERT_EQ(read, isOpFile ? SampleOpTree() : SampleValue());
            continue;
        }
        ASSERT_THAT(error, HasSubstr('"' + path + '"')) << length;
    }
}

TEST_P(DamagedFile, WithAnyByteChangedGivesAnErrorThatNamesTheFile) {
    for (std::size_t offset = 0; offset < bytes.size(); ++offset) {
        for (const int change : {0x01, 0x80, 0xff, bytes[offset] & 0xff}) {
            if (change == 0) continue; // the byte was 0 already
            std::string damaged = bytes;
            damaged[offset] = static_cast<char>(damaged[offset] ^ change);
            const std::string error = errorOf(damaged);
            // Some bits of a compressed frame mean nothing, and then all is well.
            if (isCompressed && error == "no error") {
                ASSERT_EQ(read, isOpFile ? SampleOpTree() : SampleValue());
                continue;
            }
            ASSERT_THAT(error, HasSubstr('"' + path + '"')) << offset << " ^ " << change;
        }
    }
}

TEST_P(DamagedFile, WithBytesRemovedOrAddedGivesAnErrorThatNamesTheFile) {
    for (std::size_t offset = 0; offset < bytes.size(); offset += 5) {
        std::string shorter = bytes, longer = bytes;
        shorter.erase(offset, 1);
        longer.insert(offset, 1, 'x');
        ASSERT_THAT(errorOf(shorter), HasSubstr('"' + path + '"')) << offset;
        ASSERT_THAT(errorOf(longer), HasSubstr('"' + path + '"')) << offset;
    }
    ASSERT_THAT(errorOf(bytes + std::string(1, '\0')), HasSubstr('"' + path + '"'));
    ASSERT_THAT(errorOf(bytes + bytes), HasSubstr('"' + path + '"'));
}

TEST(Damage, AValidFileIsReadAfterDamagedOnes) {
    const std::string file = ContainerBytes::Write(SampleValue());
    EXPECT_TRUE(ContainerBytes::Repaired(file) == file);
    ExpectRefusedOrSound(file);
    EXPECT_EQ(ContainerBytes::Read(file), SampleValue());
}

// Right checksums, wrong structure

namespace {

const std::uint32_t kNastyWords[] = {
    0, 1, 2, 4, 16, 0x7fffffff, 0x80000000, 0xffffffff, 0xfffffff0, 0xffff, 0x10000, 0x05050505};

std::vector<std::uint32_t> NastyFor(std::uint32_t word) {
    std::vector<std::uint32_t> values(std::begin(kNastyWords), std::end(kNastyWords));
    for (const std::uint32_t step : {1u, 16u, 256u, 65536u, 1u << 24}) {
        values.push_back(word + step);
        values.push_back(word - step);
    }
    return values;
}

} // namespace

/// Values whose files have groups without shapes, and with them.
class DamagedValue : public testing::TestWithParam<const char*> {
protected:
    std::string file = ContainerBytes::Write(
        GetParam() == std::string("Sample") ? Attribute(SampleValue()) : AlikeValue());
};

INSTANTIATE_TEST_SUITE_P(Damage, DamagedValue, testing::Values("Sample", "Alike"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(DamagedValue, CanHaveAnyWordChangedBehindValidChecksums) {
    const std::size_t end = ContainerBytes::FooterOf(file).tableOffset;
    for (std::size_t offset = sizeof(ContainerHeader); offset < end; offset += 4) {
        const auto word = ContainerBytes::ValueAt<std::uint32_t>(file, offset);
        for (const std::uint32_t nasty : NastyFor(word)) {
            SCOPED_TRACE(std::to_string(offset) + " = " + std::to_string(nasty));
            std::string mutant = file;
            ContainerBytes::SetValueAt(mutant, offset, nasty);
            ExpectRefusedOrSound(ContainerBytes::Repaired(mutant));
        }
    }
}

TEST_P(DamagedValue, CanHaveAnyByteChangedBehindValidChecksums) {
    const std::size_t end = ContainerBytes::FooterOf(file).tableOffset;
    for (std::size_t offset = sizeof(ContainerHeader); offset < end; ++offset) {
        for (const int byte : {0x00, 0x01, 0x02, 0x05, 0x07, 0x7f, 0x80, 0xff}) {
            SCOPED_TRACE(std::to_string(offset) + " = " + std::to_string(byte));
            std::string mutant = file;
            mutant[offset] = static_cast<char>(byte);
            ExpectRefusedOrSound(ContainerBytes::Repaired(mutant));
        }
    }
}

TEST(Damage, AnyWordOfAnOpTreeCanChangeBehindValidChecksums) {
    const TempDirectory folder;
    const std::string file = ContainerBytes::WithKind(
        ContainerBytes::Write(SampleOpTree()), static_cast<std::uint32_t>(ContainerKind::OpFile));
    const std::size_t end = ContainerBytes::FooterOf(file).tableOffset;
    for (std::size_t offset = 0; offset < end; offset += 4) {
        const auto word = ContainerBytes::ValueAt<std::uint32_t>(file, offset);
        for (const std::uint32_t nasty : NastyFor(word)) {
            SCOPED_TRACE(std::to_string(offset) + " = " + std::to_string(nasty));
            std::string mutant = file;
            ContainerBytes::SetValueAt(mutant, offset, nasty);
            ExpectRefusedOrSoundOpTree(folder, ContainerBytes::Repaired(mutant));
        }
    }
}

TEST(Damage, AnyReferenceCanPointAnywhereInTheFile) {
    const std::string file = ContainerBytes::Write(SampleOpTree());
    const std::size_t end = ContainerBytes::FooterOf(file).tableOffset;
    for (std::size_t offset = sizeof(ContainerHeader); offset < end; offset += 4) {
        for (std::uint32_t unit = 0; unit <= end / 4; ++unit) {
            SCOPED_TRACE(std::to_string(offset) + " = " + std::to_string(unit));
            std::string mutant = file;
            ContainerBytes::SetValueAt(mutant, offset, unit);
            ExpectRefusedOrSound(ContainerBytes::Repaired(mutant));
        }
    }
}

TEST(Damage, TheRootCanBeAnywhereInTheFile) {
    const std::string file = ContainerBytes::Write(SampleValue());
    for (std::uint32_t unit = 0; unit < file.size() / 4 + 5; ++unit) {
        SCOPED_TRACE(unit);
        ExpectRefusedOrSound(
            ContainerBytes::WithFooter(file, [&](ContainerFooter& f) { f.rootUnit = unit; }));
    }
}

TEST(Damage, TheFooterCanChangeBehindItsValidChecksum) {
    const std::string file = ContainerBytes::Write(SampleValue());
    const auto refused = [&](auto change) {
        const std::string error = ErrorOf<std::exception>(
            [&] { ContainerBytes::Read(ContainerBytes::WithFooter(file, change)); });
        EXPECT_THAT(error, StartsWith("the attribute stream is damaged: "));
    };
    for (const std::uint64_t value :
         {std::uint64_t(0), std::uint64_t(1), std::uint64_t(16), std::uint64_t(63),
          std::uint64_t(64), std::uint64_t(file.size()), std::uint64_t(file.size() + 16),
          std::uint64_t(1) << 40, ~std::uint64_t(0), ~std::uint64_t(7)}) {
        SCOPED_TRACE(value);
        refused([&](ContainerFooter& f) { f.tableOffset = value; });
        refused([&](ContainerFooter& f) { f.tableChecksum = value; });
        if (value != file.size()) refused([&](ContainerFooter& f) { f.fileBytes = value; });
    }
    refused([](ContainerFooter& f) { f.tableOffset += 16; });
    refused([](ContainerFooter& f) { f.tableOffset -= 16; });
    refused([](ContainerFooter& f) { f.reserved = 1; });
    refused([](ContainerFooter& f) { f.shapeCount = 0xffffffff; });
    refused([](ContainerFooter& f) { f.shapeCount = 1u << 24; });
    refused([](ContainerFooter& f) { f.shapesUnit = 0xffffffff; });
    refused([](ContainerFooter& f) { f.magic[0] = 'o'; });
    refused([](ContainerFooter& f) { f.rootUnit = 0xffffffff; });
}

TEST(Damage, AFileWithoutValuesIsRefused) {
    const std::string file = ContainerBytes::Write(IntAttribute(1));
    const std::string header = file.substr(0, sizeof(ContainerHeader));
    for (const std::uint32_t root : {0u, 3u, 15u, 16u, 17u, 0xffffffffu})
        EXPECT_THAT(ErrorOf<std::exception>(
                        [&] { ContainerBytes::Read(ContainerBytes::WithFrame(header, root)); }),
                    StartsWith("the attribute stream is damaged: "));
}
