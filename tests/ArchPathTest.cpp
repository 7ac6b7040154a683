#include <OxTellarProducers/ArchPath.h>

#include <gtest/gtest.h>

namespace {

using TELLAR::ExpandArchPath;

TEST(ArchPath, HasThePlatformInPlaceOfEveryToken) {
    EXPECT_EQ(TELLAR::GetArchString(), "tarnix1");
    EXPECT_EQ(ExpandArchPath("lib/%ARCH/plugins"), "lib/tarnix1/plugins");
    EXPECT_EQ(ExpandArchPath("%ARCH%ARCH"), "tarnix1tarnix1");
    EXPECT_EQ(ExpandArchPath("%%ARCHIVE"), "%tarnix1IVE");
}

TEST(ArchPath, IsOtherwiseLeftAsItIs) {
    EXPECT_EQ(ExpandArchPath(""), "");
    EXPECT_EQ(ExpandArchPath("%arch/%ARC"), "%arch/%ARC");
    EXPECT_EQ(ExpandArchPath("~/$HOME//../x\\y"), "~/$HOME//../x\\y");
}

} // namespace
