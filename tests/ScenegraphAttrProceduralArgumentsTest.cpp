#include <OxTellarProducers/ProceduralArguments.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>

#include "CameraScenes.h"
#include "DrawnArguments.h"
#include "ProceduralFixture.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::ParseAttributeXml;
using OxAttribute::StringAttribute;
using TELLAR::BuildScenegraphAttrProceduralArgumentsString;
using testing::ElementsAre;
using testing::IsEmpty;

using AttributeArguments = Procedural;

TEST_F(AttributeArguments, WithoutArgumentsAreTheContextAndTheName) {
    const GroupAttribute group = attributes(Group({{"args", Group({})}}));
    EXPECT_EQ(group, GroupAttribute({{"frame", FloatAttribute(1.0f)},
                                     {"shutter", FloatAttribute({0.0f, 0.0f}, 1)},
                                     {"cropwindow", FloatAttribute({0.0f, 1.0f, 0.0f, 1.0f}, 1)},
                                     {"ombraFullName", StringAttribute(kGeo)}},
                                    false));
}

TEST_F(AttributeArguments, AreTheXmlTextOfOneGroup) {
    const std::string text = attributesXml(Group({{"args", Group({{"count", Int(3)}})}}));
    EXPECT_EQ(text, ParseAttributeXml(text).getXML());
    EXPECT_EQ(attributesXml({}), attributesXml(Group({{"args", Group({})}})));
}

TEST_F(AttributeArguments, KeepTheirTypes) {
    const Attribute samples =
        DoubleAttribute(std::map<float, std::vector<double>>{{0.0f, {1, 2}}, {1.0f, {3, 4}}}, 2);
    const GroupAttribute group =
        attributes(Group({{"args", Group({{"moving", samples},
                                          {"count", Int(3)},
                                          {"null", OxAttribute::NullAttribute()}})}}));
    EXPECT_EQ(group.getChildByName("moving"), samples);
    EXPECT_EQ(group.getChildByName("count"), Int(3));
    EXPECT_EQ(group.getChildByName("null").getType(), kAttributeTypeNull);
}

TEST_F(AttributeArguments, AreInOrder) {
    EXPECT_THAT(NamesOf(attributes(Group({{"systemArgs", Group({{"s", Int(1)}})},
                                          {"includeCameraInfo", Text("As Parameters")},
                                          {"args", Group({{"b", Int(1)}, {"a", Int(2)}})}}))),
                ElementsAre("b", "a", "s", "frame", "shutter", "cropwindow", "cameraInfo_path",
                            "cameraInfo_fov", "cameraInfo_near", "cameraInfo_far",
                            "cameraInfo_left", "cameraInfo_right", "cameraInfo_top",
                            "cameraInfo_bottom", "cameraInfo_xform", "cameraInfo_xres",
                            "cameraInfo_yres", "ombraFullName"));
}

TEST_F(AttributeArguments, HaveTheContextAndTheCameraAsNumbers) {
    context.frame = 24;
    context.xres = 640;
    context.yres = 360;
    const GroupAttribute group = attributes(WantingCamera("As Parameters"));
    EXPECT_EQ(group.getChildByName("frame"), FloatAttribute(24.0f));
    EXPECT_EQ(group.getChildByName("cameraInfo_path"), StringAttribute(kCamera));
    EXPECT_EQ(group.getChildByName("cameraInfo_far"), FloatAttribute(101.0f));
    EXPECT_EQ(group.getChildByName("cameraInfo_bottom"), FloatAttribute(-1.0f));
    EXPECT_EQ(group.getChildByName("cameraInfo_xres"), IntAttribute(640));
    EXPECT_EQ(group.getChildByName("cameraInfo_yres"), IntAttribute(360));
}

TEST_F(AttributeArguments, LoseWhatIsHiddenByItsNameAtEveryLevel) {
    const GroupAttribute group = attributes(
        Group({{"args", Group({{"__hidden", Int(1)},
                               {"_shown", Int(2)},
                               {"group", Group({{"__hidden", Text("x")}, {"shown", Int(3)}})}})},
               {"systemArgs", Group({{"__kept", Int(4)}})}}));
    EXPECT_FALSE(group.getChildByName("__hidden").isValid());
    EXPECT_EQ(IntOf(group.getChildByName("_shown")), 2);
    EXPECT_THAT(NamesOf(group.getChildByName("group")), ElementsAre("shown"));
    EXPECT_EQ(IntOf(group.getChildByName("__kept")), 4);
}

TEST_F(AttributeArguments, AreResolvedAsAssetsInGroupsToo) {
    context.frame = 5;
    const GroupAttribute group = attributes(
        Group({{"args", Group({{"files", StringAttribute({"asset:a", "b", "bad c", "asset:d"}, 2)},
                               {"group", GroupAttribute({{"file", Text("asset:e")}}, false)}})},
               {"systemArgs", Group({{"kept", Text("asset:f")}})}}));
    const StringAttribute files = group.getChildByName("files");
    EXPECT_EQ(files.getTupleSize(), 2);
    EXPECT_THAT(ValuesOf(files), ElementsAre("/assets/a.5", "b", "bad c", "/assets/d.5"));
    EXPECT_EQ(TextOf(group.getChildByName("group.file")), "/assets/e.5");
    EXPECT_TRUE(GroupAttribute(group.getChildByName("group")).getGroupInherit());
    EXPECT_EQ(TextOf(group.getChildByName("kept")), "asset:f");
    EXPECT_THAT(told.messages, IsEmpty());
}

TEST_F(AttributeArguments, KeepOneSampleOfTexts) {
    const auto texts = Sampled<std::string>({"a"}, {"b"}, {"c"});
    const StringAttribute text =
        attributes(Group({{"args", Group({{"text", StringAttribute(texts, 1)}})}}))
            .getChildByName("text");
    EXPECT_EQ(text.getNumberOfTimeSamples(), 1);
    EXPECT_EQ(text.getValue(), "b");
}

TEST_F(AttributeArguments, OfTheSystemReplaceThoseOfTheUserInPlace) {
    const GroupAttribute group = attributes(Group(
        {{"args", Group({{"a", Int(1)}, {"b", Int(2)}})}, {"systemArgs", Group({{"a", Int(3)}})}}));
    EXPECT_THAT(NamesOf(group),
                ElementsAre("a", "b", "frame", "shutter", "cropwindow", "ombraFullName"));
    EXPECT_EQ(IntOf(group.getChildByName("a")), 3);
}

TEST_F(AttributeArguments, AreNoneWhereTheyAreNoGroup) {
    const auto one = Group({{"a", Int(1)}});
    for (const GroupAttribute& procedural : {Group({{"args", one}, {"systemArgs", Int(2)}}),
                                             Group({{"args", Text("a")}, {"systemArgs", one}})})
        EXPECT_THAT(NamesOf(attributes(procedural)),
                    ElementsAre("a", "frame", "shutter", "cropwindow", "ombraFullName"));
}

TEST_F(AttributeArguments, OfANullProducerHaveNoCameraAndNoName) {
    const GroupAttribute group = ParseAttributeXml(BuildScenegraphAttrProceduralArgumentsString(
        nullptr, context, WantingCamera("As Parameters"), Tell));
    EXPECT_THAT(NamesOf(group), ElementsAre("frame", "shutter", "cropwindow", "ombraFullName"));
    EXPECT_EQ(TextOf(group.getChildByName("ombraFullName")), "");
}

} // namespace
