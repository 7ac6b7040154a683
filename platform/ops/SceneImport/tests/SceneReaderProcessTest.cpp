// Scene files that are read in a process of their own, and readers that misbehave.

#include "isolation/ReaderProcess.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CapturedLog.h"
#include "DamagedFormats.h"
#include "ImportedScene.h"
#include "TempDirectory.h"
#include "TestScenes.h"
#include "isolation/ReaderErrors.h"
#include "isolation/ReaderReply.h"

namespace {

using namespace TellarSceneImport;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;

constexpr ReaderLimits kLimits{std::chrono::seconds(60), 1000};

/// The reason why the file cannot be read; empty when it can.
std::string ReasonFor(const std::string& path, const ReaderLimits& limits = kLimits) {
    std::vector<FileStamp> files;
    try {
        ReadInChildProcess(StampOf(path), {}, limits, files);
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

/// Readers other than the real one.
class FakeReader : public testing::Test {
protected:
    ~FakeReader() override { SetReaderProgram(TELLAR_SCENE_READER); }

    void use(const std::string& script) {
        const std::string program = directory.write("reader", "#!/bin/sh\n" + script + '\n');
        chmod(program.c_str(), 0755);
        SetReaderProgram(program);
    }
    std::string reason(const std::string& script, const ReaderLimits& limits = kLimits) {
        use(script);
        return ReasonFor("/scene.x", limits);
    }

    const TempDirectory directory;
};

TEST_F(FakeReader, ThatIsEndedByASignalIsAnError) {
    EXPECT_EQ(reason("kill -SEGV $$"),
              "the scene reader crashed: it was ended by signal 11 (Segmentation fault)");
    EXPECT_EQ(reason("kill -ABRT $$"),
              "the scene reader crashed: it was ended by signal 6 (Aborted)");
    EXPECT_EQ(reason("kill -KILL $$"),
              "the scene reader crashed: it was ended by signal 9 (Killed)");
}

TEST_F(FakeReader, ThatHangsIsEndedAtItsLimit) {
    const ReaderLimits limits{std::chrono::seconds(1), 1000};
    EXPECT_EQ(reason("exec sleep 60", limits),
              "reading it takes more than 1 seconds (SCENE_READER_SECONDS)");
}

TEST_F(FakeReader, ThatWritesWithoutEndIsEnded) {
    const ReaderLimits limits{std::chrono::seconds(60), 1};
    EXPECT_EQ(reason("exec cat /dev/zero", limits), "the scene reader wrote too much");
    EXPECT_THAT(reason("yes >&2; exit 1", {std::chrono::seconds(1), 1}),
                HasSubstr("takes more than 1 seconds"));
}

TEST_F(FakeReader, ThatGetsNoMemoryIsAnError) {
    EXPECT_EQ(reason("exit 3"),
              "reading it takes more than 1000 MiB of memory (SCENE_READER_MEBIBYTES)");
}

TEST_F(FakeReader, ThatWritesNothingOrSomethingElseIsAnError) {
    EXPECT_EQ(reason("exit 0"), "the scene reader sent no reply");
    EXPECT_THAT(reason("echo hello"), HasSubstr("stream"));
    EXPECT_EQ(reason("echo 'no library' >&2; exit 127"),
              "the scene reader failed with exit status 127: no library");
}

TEST_F(FakeReader, ThatEndsWithinItsReplyIsAnError) {
    ReaderReply reply;
    reply.content.nodes.emplace_back().name = "root";
    const std::string file = directory.path("reply");
    OxAttribute::WriteAttributeFile(file, ToGroup(reply));
    EXPECT_EQ(reason("cat " + file), "");
    EXPECT_NE(reason("head -c -1 " + file), "");
    EXPECT_NE(reason("head -c 100 " + file), "");
    EXPECT_THAT(reason("cat " + file + "; kill -SEGV $$"), HasSubstr("crashed"));
}

TEST_F(FakeReader, ThatCannotBeStartedIsAnError) {
    SetReaderProgram("/no/such/reader");
    EXPECT_EQ(ReasonFor("/scene.x"), "the scene reader \"/no/such/reader\" cannot be started: No "
                                     "such file or directory");
    const std::string plain = directory.write("plain", "");
    SetReaderProgram(plain);
    EXPECT_EQ(ReasonFor("/scene.x"),
              "the scene reader \"" + plain + "\" cannot be started: Permission denied");
}

TEST_F(FakeReader, ThatCrashesHasToldWhichFilesItOpened) {
    const std::string file = directory.write("a b.mtl", "newmtl a\n");
    use("printf '" + LineOfFile(file) + "tellar-scene-reader opens: /half' >&2; kill -SEGV $$");
    std::vector<FileStamp> files;
    EXPECT_THROW(ReadInChildProcess(StampOf("/scene.x"), {}, kLimits, files), std::runtime_error);
    EXPECT_THAT(files, testing::ElementsAre(StampOf(file)));
}

TEST_F(FakeReader, HasItsMessagesLoggedWithTheNameOfTheScene) {
    ReaderReply reply;
    reply.messages = {{"SceneImport", OxLogLevel::warn, "odd", "", 0},
                      {"SceneImport", OxLogLevel::error, "bad: /scene.x", "", 0},
                      {"SceneImport", OxLogLevel::debug, "dull", "", 0}};
    reply.error = "why";
    const std::string file = directory.path("reply");
    OxAttribute::WriteAttributeFile(file, ToGroup(reply));
    const CapturedLog log;
    EXPECT_EQ(reason("cat " + file), "why");
    EXPECT_THAT(log.textsOf("SceneImport"),
                testing::ElementsAre("Scene file \"/scene.x\": odd", "bad: /scene.x"));
}

TEST(ReaderErrors, AreTheFirstLineThatNamesNoFile) {
    const ReaderErrors errors =
        ErrorsIn(LineOfFile("/a") + "no memory\nat all\n" + LineOfFile("/b"));
    EXPECT_EQ(errors.text, "no memory");
    EXPECT_THAT(errors.files, testing::ElementsAre("/a", "/b"));
    EXPECT_EQ(LineOfFile("/a\nb"), "");
}

class SceneReader : public testing::Test {
protected:
    SceneReader() { SetReaderProgram(TELLAR_SCENE_READER); }

    const TempDirectory directory;
};

TEST_F(SceneReader, TellsWhichFilesItOpened) {
    std::vector<FileStamp> files;
    const std::string file = WriteHouse(directory);
    const SceneContent content = ReadInChildProcess(StampOf(file), {}, kLimits, files);
    EXPECT_EQ(content.materials.size(), 2u);
    EXPECT_THAT(files, testing::Contains(StampOf(file)));
    EXPECT_THAT(files, testing::Contains(StampOf(directory.path("house.mtl"))));
}

TEST_F(SceneReader, TellsWhyAFileCannotBeRead) {
    EXPECT_EQ(ReasonFor(directory.write("a.unknown", "text")),
              "files of the kind \".unknown\" are not supported");
    EXPECT_EQ(ReasonFor(directory.write("a.obj", "mtllib a.obj\n")),
              "damaged OBJ: it names itself as its materials");
}

// AddressSanitizer ends a process that requests too much memory.
#if defined(__SANITIZE_ADDRESS__)
const std::string kOutOfMemory = "the scene reader crashed: it was ended by signal 6 (Aborted)";
#else
const std::string kOutOfMemory =
    "reading it takes more than 1000 MiB of memory (SCENE_READER_MEBIBYTES)";
#endif

TEST_F(SceneReader, IsEndedWhenItNeedsTooMuchMemory) {
    std::string mesh = kJointsMd5;
    mesh.replace(mesh.find("numverts 3"), 10, "numverts 2000000000");
    EXPECT_EQ(ReasonFor(directory.write("a.md5mesh", mesh)), kOutOfMemory);
}

TEST_F(SceneReader, IsEndedAtItsFirstLimitWhenAFileNeverEnds) {
    EXPECT_THAT(ReasonFor(directory.write("a.csm", kEndlessCsm), {std::chrono::seconds(1), 1000}),
                AnyOf(kOutOfMemory, "reading it takes more than 1 seconds (SCENE_READER_SECONDS)"));
}

TEST_F(SceneReader, WorksInAHostThatIgnoresTheEndsOfItsChildren) {
    const std::string file = WriteHouse(directory);
    const pid_t host = fork();
    if (host == 0) {
        std::signal(SIGCHLD, SIG_IGN);
        for (const int number : {0, 1, 2})
            ::close(number);
        _exit(ReasonFor(file).empty() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

TEST_F(SceneReader, NeedsLittleMemoryForASmallFile) {
    EXPECT_EQ(ReasonFor(WriteHouse(directory), {std::chrono::seconds(60), 16}), "");
}

/// The limits when the configuration has these values.
ReaderLimits LimitsWith(const char* seconds, const char* mebibytes) {
    setenv("OX_CONFIG_SCENE_READER_SECONDS", seconds, 1);
    setenv("OX_CONFIG_SCENE_READER_MEBIBYTES", mebibytes, 1);
    Config()->reload();
    const ReaderLimits limits = ConfiguredLimits();
    unsetenv("OX_CONFIG_SCENE_READER_SECONDS");
    unsetenv("OX_CONFIG_SCENE_READER_MEBIBYTES");
    Config()->reload();
    return limits;
}

TEST(ReaderLimits, AreThoseOfTheConfiguration) {
    const ReaderLimits limits = LimitsWith("5", "70");
    EXPECT_EQ(limits.time.count(), 5);
    EXPECT_EQ(limits.mebibytes, 70u);
}

TEST(ReaderLimits, AreTheDefaultsForOtherTexts) {
    const std::uint64_t usual = ConfiguredLimits().mebibytes;
    EXPECT_GT(usual, 100u);
    EXPECT_EQ(ConfiguredLimits().time.count(), 600);
    for (const char* const text : {"", "0", "-1", "5s", "99999999999999999999"}) {
        const ReaderLimits limits = LimitsWith(text, text);
        EXPECT_EQ(limits.time.count(), 600) << text;
        EXPECT_EQ(limits.mebibytes, usual) << text;
    }
}

class DamagedFormat : public testing::TestWithParam<DamagedFile> {};

INSTANTIATE_TEST_SUITE_P(Of, DamagedFormat, testing::ValuesIn(DamagedFiles()),
                         [](const auto& test) {
                             return test.param.extension + std::to_string(test.index);
                         });

// Assimp crashes on these files.
TEST_P(DamagedFormat, IsAnErrorThatNamesTheFile) {
    const TempDirectory directory;
    const std::string file = directory.write("scene." + GetParam().extension, GetParam().content);
    EXPECT_THAT(ImportedScene(file).error(),
                AllOf(HasSubstr("Cannot read scene file"), HasSubstr(file), HasSubstr("crashed")));
}

} // namespace
