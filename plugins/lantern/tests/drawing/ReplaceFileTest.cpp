#include "drawing/ReplaceFile.h"

#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "ErrorOf.h"
#include "TempDirectory.h"

namespace {

namespace fs = std::filesystem;

const std::vector<unsigned char> kBytes = {'n', 'e', 'w'};

TEST(ReplaceFile, ReplacesTheFileBehindALinkAndKeepsTheLink) {
    const TempDirectory folder;
    folder.write("a.png", "old");
    fs::create_symlink("a.png", folder.path("link.png"));
    lantern::ReplaceFile(folder.path("link.png"), kBytes);
    EXPECT_EQ(folder.read("a.png"), "new");
    EXPECT_TRUE(fs::is_symlink(folder.path("link.png")));
}

TEST(ReplaceFile, WritesToAPipeAndKeepsIt) {
    const TempDirectory folder;
    const std::string pipe = folder.path("pipe.png");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::future<std::string> seen = std::async(std::launch::async, [&pipe] {
        std::ostringstream text;
        text << std::ifstream(pipe).rdbuf();
        return text.str();
    });
    lantern::ReplaceFile(pipe, kBytes);
    EXPECT_EQ(seen.get(), "new");
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST(ReplaceFile, WritesToADeviceThroughALink) {
    const TempDirectory folder;
    fs::create_symlink("/dev/null", folder.path("link.png"));
    lantern::ReplaceFile(folder.path("link.png"), kBytes);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(ReplaceFile, RefusesLinksThatLeadInACircle) {
    const TempDirectory folder;
    const std::string path = folder.path("a.png");
    fs::create_symlink("a.png", path);
    EXPECT_EQ(ErrorOf([&] { lantern::ReplaceFile(path, kBytes); }),
              "cannot write the picture \"" + path + "\": Too many levels of symbolic links");
}

} // namespace
