#include "images/ImageCache.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <OxConfiguration/Configuration.h>

#include "ScopedEnvironment.h"
#include "TempDirectory.h"
#include "images/ImageKind.h"
#include "images/ProcessImages.h"

namespace {

namespace fs = std::filesystem;
using TellarSceneImport::ConfiguredImageCache;
using TellarSceneImport::ImageCache;
using TellarSceneImport::ImageExtension;
using TellarSceneImport::PathOfProcessImage;
using TellarSceneImport::ProcessImageFolder;
using TellarSceneImport::TgaFile;
using testing::HasSubstr;

const std::string kPng = "\x89PNG\r\n\x1a\n and more";
constexpr std::uint64_t kMebibyte = 1 << 20;

std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void MakeOld(const std::string& path, int days) {
    const timespec old = {std::time(nullptr) - days * 86400, 0};
    const timespec times[] = {old, old};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

template <typename Body>
std::string ErrorOf(Body body) {
    try {
        body();
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(ImageCache, WritesAFileOfThisContentNamedByIt) {
    const TempDirectory directory;
    const ImageCache cache(directory.path("new/images"), kMebibyte);
    const fs::path path = cache.pathOf(kPng, "image/jpeg");
    EXPECT_EQ(Content(path), kPng);
    EXPECT_EQ(path.parent_path(), directory.path("new/images"));
    EXPECT_EQ(path.extension(), ".png");
    EXPECT_EQ(path.stem().string().size(), 32u);
    EXPECT_NE(cache.pathOf(kPng + "x", ""), path);
    struct stat folder = {};
    ASSERT_EQ(stat(path.parent_path().c_str(), &folder), 0);
    EXPECT_EQ(folder.st_mode & 0777, 0700u);
}

TEST(ImageCache, KeepsAFileThatIsThereAlready) {
    const TempDirectory directory;
    const std::string path = ImageCache(directory.path(), kMebibyte).pathOf(kPng, "");
    struct stat before = {};
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    EXPECT_EQ(ImageCache(directory.path(), kMebibyte).pathOf(kPng, ""), path);
    struct stat after = {};
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST(ImageCache, ReplacesADamagedFile) {
    const TempDirectory directory;
    const ImageCache cache(directory.path(), kMebibyte);
    const std::string path = cache.pathOf(kPng, "");
    std::ofstream(path, std::ios::binary) << std::string(kPng.size(), '\0');
    EXPECT_EQ(cache.pathOf(kPng, ""), path);
    EXPECT_EQ(Content(path), kPng);
}

TEST(ImageCache, DeletesTheFilesRequestedLongestAgoWhenTheLimitIsPassed) {
    const TempDirectory directory;
    const ImageCache filling(directory.path(), kMebibyte);
    const std::string tenDays = filling.pathOf(std::string(1000, 'a'), "png");
    const std::string fiveDays = filling.pathOf(std::string(1000, 'b'), "png");
    const std::string now = filling.pathOf(std::string(1000, 'c'), "png");
    const std::string foreign = directory.write("holiday.png", std::string(5000, 'h'));
    MakeOld(tenDays, 10);
    MakeOld(fiveDays, 5);
    MakeOld(foreign, 50);

    const ImageCache cache(directory.path(), 3000);
    const std::string added = cache.pathOf(std::string(500, 'd'), "png");
    EXPECT_FALSE(fs::exists(tenDays));
    EXPECT_TRUE(fs::exists(fiveDays));
    EXPECT_TRUE(fs::exists(now));
    EXPECT_TRUE(fs::exists(added));
    EXPECT_TRUE(fs::exists(foreign));
}

TEST(ImageCache, KeepsFilesInUseEvenBeyondTheLimit) {
    const TempDirectory directory;
    const std::string old = ImageCache(directory.path(), kMebibyte).pathOf("old", "png");
    MakeOld(old, 10);
    const ImageCache cache(directory.path(), 1);
    EXPECT_EQ(cache.pathOf("old", "png"), old); // now it is in use
    const std::string other = cache.pathOf("other", "png");
    EXPECT_TRUE(fs::exists(old));
    EXPECT_TRUE(fs::exists(other));
}

TEST(ImageCache, DeletesOldRemainsOfWritersThatDied) {
    const TempDirectory directory;
    const std::string remains =
        directory.write("0123456789abcdef0123456789abcdef.png.77.tmp", std::string(1000, 'x'));
    MakeOld(remains, 2);
    const std::string added = ImageCache(directory.path(), 100).pathOf("new", "png");
    EXPECT_FALSE(fs::exists(remains));
    EXPECT_TRUE(fs::exists(added));
}

// Every process sees complete files only, whoever wrote them.
TEST(ImageCache, IsSharedByProcesses) {
    const TempDirectory directory;
    std::vector<std::string> images;
    for (char c = 'a'; c < 'k'; ++c)
        images.push_back(std::string(100000, c));
    std::vector<pid_t> children;
    for (int i = 0; i < 6; ++i) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            bool isGood = true;
            for (const std::string& image : images)
                isGood = isGood &&
                         Content(ImageCache(directory.path(), 1).pathOf(image, "png")) == image;
            _exit(isGood ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    const auto files = fs::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(fs::begin(files), fs::end(files)), 10);
}

TEST(ImageCache, IsSharedByThreads) {
    const TempDirectory directory;
    const ImageCache cache(directory.path(), 200000);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (char c = 'a'; c < 'g'; ++c) {
                const std::string image(100000, c);
                EXPECT_EQ(Content(cache.pathOf(image, "png")), image);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ImageCache, SaysWhyItCannotWrite) {
    const TempDirectory directory;
    const std::string file = directory.write("file", "");
    const auto errorIn = [](const std::string& folder) {
        return ErrorOf([&] { ImageCache(folder, kMebibyte).pathOf(kPng, ""); });
    };
    EXPECT_EQ(errorIn(file + "/images"),
              "Cannot create the image cache \"" + file + "/images\": Not a directory");
    EXPECT_THAT(errorIn(file), HasSubstr("Not a directory"));
}

/// Runs the body in a process of its own, which ends as programs usually do.
template <typename Body>
void InAnotherProcess(Body body) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(ProcessImages, AreRemovedWithTheirFolderWhenTheProcessEnds) {
    const TempDirectory directory;
    const ScopedEnvironment place("TMPDIR", directory.path());
    InAnotherProcess([] {
        const std::string path = PathOfProcessImage(kPng, "");
        EXPECT_EQ(PathOfProcessImage(kPng, ""), path);
        EXPECT_EQ(fs::path(path).parent_path(), ProcessImageFolder());
        InAnotherProcess([] {}); // the end of a child removes nothing
        if (testing::Test::HasFailure() || Content(path) != kPng) _exit(1);
    });
    EXPECT_TRUE(fs::is_empty(directory.path()));
}

TEST(ProcessImages, SayWhyTheyCannotBeWritten) {
    const TempDirectory directory;
    const ScopedEnvironment place("TMPDIR", directory.write("file", ""));
    InAnotherProcess([] {
        const std::string error = ErrorOf([] { PathOfProcessImage(kPng, ""); });
        _exit(error == "Cannot create a temporary folder for images: Not a directory" ? 0 : 1);
    });
}

/// The configuration with nothing set but what a test sets.
class Configured : public testing::Test {
protected:
    ~Configured() override {
        changes.clear();
        Config()->reload();
    }
    void set(const char* name, const std::optional<std::string>& value) {
        changes.push_front(std::make_unique<ScopedEnvironment>(name, value));
        Config()->reload();
    }
    void SetUp() override {
        set("OX_CONFIG_IMAGE_CACHE", std::nullopt);
        set("OX_CONFIG_IMAGE_CACHE_LIMIT", std::nullopt);
        set("XDG_CACHE_HOME", "/caches");
    }

private:
    std::list<std::unique_ptr<ScopedEnvironment>> changes; // the last one is undone first
};

TEST_F(Configured, IsBelowTheUsersCaches) {
    EXPECT_EQ(ConfiguredImageCache()->directory(), "/caches/tellar/images");
    set("XDG_CACHE_HOME", "not/absolute");
    set("HOME", "/home/ada");
    EXPECT_EQ(ConfiguredImageCache()->directory(), "/home/ada/.cache/tellar/images");
}

TEST_F(Configured, IsWhereAKeySays) {
    set("OX_CONFIG_IMAGE_CACHE", "/show/images");
    EXPECT_EQ(ConfiguredImageCache()->directory(), "/show/images");
}

TEST_F(Configured, RefusesALimitThatIsNoNumber) {
    set("OX_CONFIG_IMAGE_CACHE_LIMIT", "lots");
    EXPECT_EQ(ErrorOf([] { ConfiguredImageCache(); }),
              "IMAGE_CACHE_LIMIT is \"lots\"; it must be a number of MiB");
}

TEST(ImageExtension, IsFoundByTheContentFirst) {
    EXPECT_EQ(ImageExtension("\xff\xd8\xff\xe0", "image/png"), ".jpg");
    EXPECT_EQ(ImageExtension(std::string("RIFF\1\2\3\4WEBPVP8 "), ""), ".webp");
    EXPECT_EQ(ImageExtension(std::string("II*\0....", 8), "a.png"), ".tif");
    EXPECT_EQ(ImageExtension("?", "image/jpeg"), ".jpg");
    EXPECT_EQ(ImageExtension("?", "maps/Bark.TGA"), ".tga");
    EXPECT_EQ(ImageExtension("?", "tga"), ".tga");
    EXPECT_EQ(ImageExtension("?", ""), ".img");
    EXPECT_EQ(ImageExtension("?", "a.p/../b"), ".b");
    EXPECT_EQ(ImageExtension("?", "image/svg+xml"), ".img");
}

TEST(TgaFile, HasTheTopRowFirst) {
    const std::string file = TgaFile(2, 1, "BGRAbgra");
    EXPECT_EQ(file.size(), 18u + 8u);
    EXPECT_EQ(file.substr(12, 6), std::string("\2\0\1\0\x20\x28", 6));
    EXPECT_EQ(file.substr(18), "BGRAbgra");
    EXPECT_THROW(TgaFile(65536, 1, std::string(65536 * 4, ' ')), std::runtime_error);
    EXPECT_THROW(TgaFile(2, 2, "BGRA"), std::runtime_error);
}

} // namespace
