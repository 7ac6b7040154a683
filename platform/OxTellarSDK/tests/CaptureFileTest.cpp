#include <OxTellarSDK/Capture.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <xxhash.h>

#include <OxTellarSDK/TellarError.h>

#include "AttributePrinter.h"
#include "ErrorOf.h"
#include "FileSizeLimit.h"
#include "HexPage.h"
#include "RandomAttribute.h"
#include "RunTogether.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using OxCapture::Reader;
using OxCapture::Writer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Children = std::vector<GroupAttribute::Child>;

/// The bytes of a capture that `write` fills and that is complete.
template <typename Write>
std::string CaptureOf(Write write) {
    const TempDirectory folder;
    Writer writer(folder.path("a.oxcap"));
    write(writer);
    writer.finish();
    return folder.read("a.oxcap");
}

/// The capture of the page about the format.
std::string ExampleCapture() {
    return CaptureOf([](Writer& writer) {
        writer.add("location", "/root",
                   GroupAttribute(Children{{"pc", StringAttribute("a")}}, true));
        writer.add("location", "/root/b", Attribute());
    });
}

std::string FloatsWithTimes() {
    return CaptureOf([](Writer& writer) {
        const float times[] = {-0.5f, 0.5f};
        const float values[] = {1, 2, 3, 4};
        writer.add("q", "k", FloatAttribute(times, 2, values, 2, 2));
    });
}

std::string ErrorOfBytes(const std::string& bytes) {
    return ErrorOf<TellarError>([&bytes] { Reader::Parse(bytes, "a.oxcap"); });
}

/// The block behind a header of 16 bytes, with checksums that fit it.
std::string WithBlock(const std::string& capture, const std::string& content) {
    std::string bytes = capture.substr(0, 16);
    const std::uint64_t hash = XXH3_64bits(content.data(), content.size());
    const auto size = static_cast<std::uint32_t>(content.size());
    bytes.append(reinterpret_cast<const char*>(&hash), 8);
    bytes.append(reinterpret_cast<const char*>(&size), 4);
    const auto check = static_cast<std::uint32_t>(XXH3_64bits(bytes.data() + 16, 12));
    bytes.append(reinterpret_cast<const char*>(&check), 4);
    return bytes + content;
}

std::string ErrorOfBlock(const std::string& content) {
    return ErrorOfBytes(WithBlock(ExampleCapture(), content));
}

} // namespace

TEST(CaptureFile, GivesAnswersOfAllTypesBack) {
    RandomAttribute random(1);
    std::vector<Attribute> values;
    for (int i = 0; i < 200; ++i)
        values.push_back(random.make(4));
    const std::string bytes = CaptureOf([&values](Writer& writer) {
        for (std::size_t i = 0; i < values.size(); ++i)
            writer.add("question", std::to_string(i), values[i]);
    });
    const auto reader = Reader::Parse(bytes, "a");
    EXPECT_TRUE(reader->isComplete());
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(reader->find("question", std::to_string(i)), values[i]) << i;
}

TEST(CaptureFile, TellsNothingRecordedFromNothingThere) {
    const auto reader = Reader::Parse(ExampleCapture(), "a");
    EXPECT_FALSE(reader->find("location", "/root/b").value().isValid());
    EXPECT_FALSE(reader->find("location", "/root/c").has_value());
    EXPECT_FALSE(reader->find("file", "/root").has_value());
}

TEST(CaptureFile, ListsKeysInOrder) {
    const std::string bytes = CaptureOf([](Writer& writer) {
        for (const char* key : {"b", "", "c", "a"})
            writer.add("q", key, IntAttribute(1));
    });
    EXPECT_THAT(Reader::Parse(bytes, "a")->getKeys("q"), ElementsAre("", "a", "b", "c"));
    EXPECT_TRUE(Reader::Parse(bytes, "a")->getKeys("r").empty());
}

TEST(CaptureFile, KeepsTheLastOfSeveralAnswers) {
    const std::string bytes = CaptureOf([](Writer& writer) {
        writer.add("q", "k", IntAttribute(1));
        writer.add("q", "k", IntAttribute(2));
    });
    EXPECT_EQ(Reader::Parse(bytes, "a")->find("q", "k"), IntAttribute(2));
}

TEST(CaptureFile, HoldsEqualValuesOnce) {
    const FloatAttribute points(std::vector<float>(3000, 1.5f), 3);
    const std::string bytes = CaptureOf([&points](Writer& writer) {
        for (int i = 0; i < 100; ++i)
            writer.add("q", std::to_string(i),
                       GroupAttribute(Children{{"P", points}, {"id", IntAttribute(i)}}, true));
    });
    EXPECT_LT(bytes.size(), 2 * 12000u);
}

TEST(CaptureFile, IsTheOneOnThePage) {
    const std::string shown = BytesOnPage(TELLAR_CAPTURE_FILE_PAGE);
    ASSERT_EQ(shown.size(), ExampleCapture().size());
    EXPECT_TRUE(shown == ExampleCapture());
}

// Files that end too early

TEST(CaptureFile, CutOffAnywhereGivesTheAnswersBeforeTheCut) {
    const std::string bytes = CaptureOf([](Writer& writer) {
        for (int i = 0; i < 10; ++i)
            writer.add("q", std::to_string(i),
                       GroupAttribute(Children{{"i", IntAttribute(i)}}, true));
    });
    std::size_t answers = 0;
    for (std::size_t size = 1; size < bytes.size(); ++size) {
        const auto reader = Reader::Parse(bytes.substr(0, size), "a");
        EXPECT_FALSE(reader->isComplete()) << size;
        const std::size_t now = reader->getKeys("q").size();
        ASSERT_TRUE(now == answers || now == answers + 1) << size;
        answers = now;
        if (now == 0) continue;
        EXPECT_TRUE(reader->find("q", std::to_string(now - 1))->isValid()) << size;
    }
    EXPECT_EQ(answers, 10u);
}

TEST(CaptureFile, HasItsAnswersBeforeTheWriterEnds) {
    const TempDirectory folder;
    Writer writer(folder.path("a.oxcap"));
    writer.add("q", "k", IntAttribute(1));
    const auto reader = Reader::Open(folder.path("a.oxcap"));
    EXPECT_EQ(reader->find("q", "k"), IntAttribute(1));
    EXPECT_FALSE(reader->isComplete());
}

// Damage

TEST(CaptureFile, RefusesAnyChangedByte) {
    for (const std::string& capture : {ExampleCapture(), FloatsWithTimes()}) {
        for (std::size_t i = 0; i < capture.size(); ++i) {
            std::string changed = capture;
            changed[i] = static_cast<char>(changed[i] ^ 0x10);
            EXPECT_THAT(ErrorOfBytes(changed), StartsWith("File \"a.oxcap\" is ")) << i;
        }
    }
}

TEST(CaptureFile, RefusesOtherFilesAndVersions) {
    EXPECT_EQ(ErrorOfBytes(""), "File \"a.oxcap\" is no capture");
    EXPECT_EQ(ErrorOfBytes("{\"ops\": []}"), "File \"a.oxcap\" is no capture");
    std::string later = ExampleCapture();
    later[8] = 2;
    EXPECT_EQ(ErrorOfBytes(later),
              "File \"a.oxcap\" is a capture of version 2; this program reads version 1");
}

TEST(CaptureFile, RefusesWhatFollowsItsEnd) {
    const std::string capture = ExampleCapture();
    EXPECT_EQ(ErrorOfBytes(capture + "x"),
              "File \"a.oxcap\" is damaged: something follows its end at byte " +
                  std::to_string(capture.size()));
}

TEST(CaptureFile, RefusesRecordsThatMakeNoSense) {
    const auto damage = [](const std::string& what) {
        return "File \"a.oxcap\" is damaged: " + what + " at byte 16";
    };
    using std::string;
    EXPECT_EQ(ErrorOfBlock("\x09"), damage("a record has no known kind"));
    EXPECT_EQ(ErrorOfBlock("\x01\x05"
                           "ab"),
              damage("a block ends before its last record"));
    EXPECT_EQ(ErrorOfBlock("\x01\xff\xff\xff\xff\xff\xff\xff\xff\xff\x7f"),
              damage("a number is too large"));
    EXPECT_EQ(ErrorOfBlock(string("\x04\x00\x00\x00", 4)),
              damage("a text is used before it is given"));
    EXPECT_EQ(ErrorOfBlock(string("\x01\x01q\x04\x00\x00\x01", 7)),
              damage("an attribute is used before it is given"));
    EXPECT_EQ(ErrorOfBlock("\x02\x07"), damage("an attribute has no known type"));
    EXPECT_EQ(ErrorOfBlock(string("\x02\x01\x00\x00\x00", 5)),
              damage("an attribute has a tuple size out of range"));
    EXPECT_EQ(ErrorOfBlock(string("\x02\x01\x01\x01\x00\x00\xc0\x7f\x00", 9)),
              damage("the times of an attribute do not ascend"));
    EXPECT_EQ(ErrorOfBlock(string("\x01\x01n\x03\x01\x01\x00\x00", 8)),
              damage("a group has a child without a value"));
    EXPECT_EQ(ErrorOfBlock("\x05\x05"), damage("something follows its end"));
}

TEST(CaptureFile, RefusesGroupsThatAreTooLargeToWalk) {
    // Each group has the one before it twice.
    std::string content("\x01\x01"
                        "a"
                        "\x01\x01"
                        "b"
                        "\x02\x00",
                        8);
    for (char i = 1; i < 40; ++i)
        content += std::string("\x03\x01\x02\x00", 4) + i + '\x01' + i;
    EXPECT_THAT(ErrorOfBlock(content), HasSubstr("a group is too large"));
}

TEST(CaptureFile, RefusesNamesThatTakeTooMuchMemory) {
    std::string content("\x01\x80\x80\x04", 4); // a text of 64 KiB
    content += std::string(65536, 'n') + std::string("\x02\x00", 2);
    for (int i = 0; i < 1000; ++i)
        content += std::string("\x03\x01\x01\x00\x01", 5);
    EXPECT_THAT(ErrorOfBlock(content), HasSubstr("the names are too long"));
}

// Writing

TEST(CaptureWriter, TellsThatAFileCannotBeMade) {
    EXPECT_EQ(ErrorOf<TellarError>([] { Writer("/no/such/folder/a.oxcap"); }),
              "Cannot write capture \"/no/such/folder/a.oxcap\": No such file or directory");
}

TEST(CaptureWriter, TellsThatThereIsNoRoomForAFile) {
    EXPECT_EQ(ErrorOf<TellarError>([] { Writer("/dev/full"); }),
              "Cannot write capture \"/dev/full\": No space left on device");
}

TEST(CaptureWriter, GoesOnWhenTheFileCannotGrowAndTellsAtTheEnd) {
    const TempDirectory folder;
    const std::string path = folder.path("a.oxcap");
    const FileSizeLimit limit(1000);
    Writer writer(path);
    for (int i = 0; i < 100; ++i)
        writer.add("q", std::to_string(i), IntAttribute(i));
    EXPECT_EQ(ErrorOf<TellarError>([&writer] { writer.finish(); }),
              "Cannot write capture \"" + path + "\": File too large");
    const auto reader = Reader::Open(path);
    EXPECT_FALSE(reader->isComplete());
    EXPECT_EQ(reader->find("q", "3"), IntAttribute(3));
}

TEST(CaptureWriter, AddsNothingAfterItsEnd) {
    const TempDirectory folder;
    Writer writer(folder.path("a.oxcap"));
    writer.finish();
    writer.add("q", "k", IntAttribute(1));
    writer.finish();
    EXPECT_TRUE(Reader::Open(folder.path("a.oxcap"))->getKeys("q").empty());
}

TEST(CaptureWriter, TakesAnswersOfManyThreads) {
    const std::string bytes = CaptureOf([](Writer& writer) {
        RunTogether(8, [&writer](int thread) {
            for (int i = 0; i < 100; ++i) {
                // Half of the values are common to all threads.
                const int value = i % 2 == 0 ? i : 1000 * thread + i;
                const GroupAttribute group(Children{{"i", IntAttribute(value)}}, true);
                writer.add("q", std::to_string(thread) + ' ' + std::to_string(i), group);
            }
        });
    });
    const auto reader = Reader::Parse(bytes, "a");
    EXPECT_EQ(reader->getKeys("q").size(), 800u);
    for (int thread = 0; thread < 8; ++thread)
        EXPECT_EQ(reader->find("q", std::to_string(thread) + " 99"),
                  GroupAttribute(Children{{"i", IntAttribute(1000 * thread + 99)}}, true));
}

// Reading

TEST(CaptureReader, IsSharedWhileItIsInUse) {
    const TempDirectory folder;
    const std::string path = folder.write("a.oxcap", ExampleCapture());
    const auto reader = Reader::Open(path);
    EXPECT_EQ(Reader::Open(path), reader);
    folder.write("a.oxcap", FloatsWithTimes());
    EXPECT_NE(Reader::Open(path), reader);
}

TEST(CaptureReader, TellsThatAFileCannotBeRead) {
    EXPECT_EQ(ErrorOf<TellarError>([] { Reader::Open("/no/a.oxcap"); }),
              "Cannot read file \"/no/a.oxcap\": No such file or directory");
}

TEST(CaptureReader, KeepsEachMissingAnswerOnce) {
    const auto reader = Reader::Parse(ExampleCapture(), "a");
    EXPECT_EQ(reader->noteMissing("b"), "\"a\" has no answer to b");
    reader->noteMissing("c");
    reader->noteMissing("b");
    EXPECT_THAT(reader->getMissing(),
                ElementsAre("\"a\" has no answer to b", "\"a\" has no answer to c"));
}

TEST(CaptureReader, NamesTheQuestionThatNeedsTheAnswer) {
    const auto reader = Reader::Parse(ExampleCapture(), "a");
    OxCapture::SetQuestionName([] { return std::string("getRoot()"); });
    EXPECT_EQ(reader->noteMissing("b"), "\"a\" has no answer to b, which getRoot() needs");
    EXPECT_EQ(reader->noteMissing("getRoot()"), "\"a\" has no answer to getRoot()");
    OxCapture::SetQuestionName(nullptr);
    EXPECT_EQ(reader->noteMissing("c"), "\"a\" has no answer to c");
}

TEST(CapturedFiles, StayWithinTheirFolder) {
    const std::string bytes = CaptureOf([](Writer& writer) {
        for (const char* path : {"/a/b.png", "../c.png", "/a/..", "/a/.", "/a/", "x\\y"})
            writer.add(OxCapture::kFile, path, StringAttribute("bytes"));
        writer.add(OxCapture::kFile, "/a/d.png", IntAttribute(1));
    });
    const auto reader = Reader::Parse(bytes, "a");
    const TempDirectory folder;
    EXPECT_EQ(OxCapture::ExtractFiles(*reader, folder.path("files")), 2u);
    EXPECT_EQ(folder.read("files/" + OxCapture::ReplayedFile("/a/b.png")), "bytes");
    EXPECT_EQ(folder.read("files/" + OxCapture::ReplayedFile("../c.png")), "bytes");
}
