#include "isolation/ImageGroup.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <OxTellarSDK/GroupBuilder.h>

namespace {

using namespace OxAttribute;
using namespace TellarSceneImport;

TEST(ImageGroup, KeepsAllBytes) {
    const std::string bytes("\x89PNG\0\xff\0", 7);
    const auto images = ImagesFrom(ToGroup({{bytes, "png"}, {"", ""}, {"12345678", "a.tga"}}));
    ASSERT_EQ(images.size(), 3u);
    EXPECT_EQ(images[0].bytes, bytes);
    EXPECT_EQ(images[0].hint, "png");
    EXPECT_EQ(images[1].bytes, "");
    EXPECT_EQ(images[2].bytes, "12345678");
    EXPECT_EQ(images[2].hint, "a.tga");
    EXPECT_TRUE(ImagesFrom(ToGroup(std::vector<ContentImage>())).empty());
}

TEST(ImageGroup, RefusesASizeBeyondTheBytes) {
    for (const int size : {-1, 9}) {
        SCOPED_TRACE(size);
        GroupBuilder builder;
        builder.update(ToGroup({{"12345678", ""}}));
        builder.set("0.size", IntAttribute(size));
        EXPECT_THROW(ImagesFrom(builder.build()), std::runtime_error);
    }
}

} // namespace
