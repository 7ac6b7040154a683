#include "files/ReplacingFile.h"

#include <filesystem>
#include <iterator>

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

} // namespace
