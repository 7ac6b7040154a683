#include "files/ReplacingFile.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "ErrorOf.h"
#include "TempDirectory.h"

namespace {

using TellarInternal::ReplacingFile;

std::ptrdiff_t CountFiles(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(ReplacingFile, LeavesTheFileAsItIsUntilItIsReplaced) {
    const TempDirectory folder;
    const std::string path = folder.write("a", "before");
    ReplacingFile file(path, "complaint");
    file.write("after", 5);
    EXPECT_EQ(folder.read("a"), "before");
    file.replace();
    EXPECT_EQ(folder.read("a"), "after");
    EXPECT_EQ(CountFiles(folder.path()), 1);
}

TEST(ReplacingFile, LeavesNothingBehindWhenItIsNotReplaced) {
    const TempDirectory folder;
    const std::string path = folder.write("a", "before");
    { ReplacingFile(path, "complaint").write("after", 5); }
    EXPECT_EQ(folder.read("a"), "before");
    EXPECT_EQ(CountFiles(folder.path()), 1);
}

TEST(ReplacingFile, NamesTheReasonBehindTheComplaint) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { ReplacingFile(folder.path("none/a"), "complaint"); }),
              "complaint: No such file or directory");
    ReplacingFile ontoFolder(folder.path("b"), "complaint");
    std::filesystem::create_directory(folder.path("b"));
    EXPECT_EQ(ErrorOf([&] { ontoFolder.replace(); }), "complaint: Is a directory");
}

void Replace(const std::string& path, const char* text) {
    ReplacingFile file(path, "complaint");
    file.write(text, std::strlen(text));
    file.replace();
}

TEST(ReplacingFile, ReplacesTheFileBehindALinkAndKeepsTheLink) {
    const TempDirectory folder;
    folder.write("a", "before");
    std::filesystem::create_symlink("a", folder.path("near"));
    std::filesystem::create_symlink(folder.path("near"), folder.path("far"));
    Replace(folder.path("far"), "after");
    EXPECT_EQ(folder.read("a"), "after");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("near")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("far")));
    EXPECT_EQ(CountFiles(folder.path()), 3);
}

TEST(ReplacingFile, CreatesTheFileThatALinkLeadsTo) {
    const TempDirectory folder;
    std::filesystem::create_symlink("new", folder.path("link"));
    Replace(folder.path("link"), "first");
    EXPECT_EQ(folder.read("new"), "first");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
}

TEST(ReplacingFile, RefusesLinksThatLeadInACircle) {
    const TempDirectory folder;
    std::filesystem::create_symlink("b", folder.path("a"));
    std::filesystem::create_symlink("a", folder.path("b"));
    EXPECT_EQ(ErrorOf([&] { Replace(folder.path("a"), "lost"); }),
              "complaint: Too many levels of symbolic links");
}

TEST(ReplacingFile, WritesToAPipeAndKeepsIt) {
    const TempDirectory folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::future<std::string> seen = std::async(std::launch::async, [&pipe] {
        std::ostringstream text;
        text << std::ifstream(pipe).rdbuf();
        return text.str();
    });
    Replace(pipe, "through");
    EXPECT_EQ(seen.get(), "through");
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(CountFiles(folder.path()), 1);
}

TEST(ReplacingFile, WritesToADeviceThroughALink) {
    const TempDirectory folder;
    std::filesystem::create_symlink("/dev/null", folder.path("link"));
    Replace(folder.path("link"), "nothing");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

} // namespace
