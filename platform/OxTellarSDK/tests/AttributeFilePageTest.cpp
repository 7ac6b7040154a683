#include <OxTellarSDK/Attribute.h>

#include <string>

#include <gtest/gtest.h>

#include "AttributePrinter.h"
#include "ContainerBytes.h"
#include "ExampleValue.h"
#include "HexPage.h"

TEST(AttributeFilePage, ShowsTheBytesThatAreWritten) {
    const std::string shown = BytesOnPage(TELLAR_ATTRIBUTE_FILE_PAGE);
    ASSERT_EQ(shown.size(), 200u);
    EXPECT_TRUE(shown == ContainerBytes::Write(ExampleValue()));
}

TEST(AttributeFilePage, ShowsBytesThatCanBeRead) {
    EXPECT_EQ(ContainerBytes::Read(BytesOnPage(TELLAR_ATTRIBUTE_FILE_PAGE)), ExampleValue());
}
