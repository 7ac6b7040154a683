#include "isolation/ContentGroup.h"

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/GroupBuilder.h>

#include "isolation/ReaderReply.h"
#include "isolation/SampledMotion.h"

namespace {

using namespace OxAttribute;
using namespace TellarSceneImport;
using testing::ElementsAre;
using testing::HasSubstr;

/// Moves to the place 8 x seconds and 1 at half a second.
class Slide : public Motion {
public:
    void apply(const FrameClock& clock, GroupBuilder& attrs) const override {
        std::vector<float> times;
        std::vector<double> places;
        for (const double seconds : {0.0, 0.5, 1.0 / 24.0 + 1.0}) {
            times.push_back(static_cast<float>(clock.timeAt(seconds)));
            places.push_back(8 * seconds);
            places.push_back(seconds == 0.5 ? 1 : 0);
        }
        attrs.set("xform.place", DoubleAttribute(times.data(), 3, places.data(), 2, 2));
        attrs.set("name", StringAttribute("slide"));
    }
    std::uint64_t memory() const override { return sizeof *this; }
};

SceneContent Content() {
    SceneContent content;
    content.materials.push_back({"red", GroupBuilder().build()});
    content.shapes.resize(2);
    content.shapes[0].name = "quad";
    content.shapes[0].type = "polymesh";
    content.shapes[0].bound.add(1, 2, 3);
    content.shapes[0].bound.add(4, 5, 6);
    content.shapes[0].material = 0;
    GroupBuilder geometry;
    geometry.set("point.P", FloatAttribute({1, 2, 3, 4, 5, 6}, 3));
    content.shapes[0].geometry = geometry.build();
    content.cameras.resize(2);
    content.cameras[1].fieldOfView = 30.5;
    content.cameras[1].aim[12] = 7;
    content.lights.resize(1);
    content.lights[0].type = "spot";
    content.lights[0].color = {1, 0.5f, 0.25f};
    content.lights[0].coneOuter = 40;
    content.lights[0].size = {2, 3};
    content.lights[0].range = 9;
    content.nodes.resize(3);
    content.nodes[0].name = "root";
    content.nodes[1].name = "a";
    content.nodes[1].shapes = {0, 1};
    content.nodes[1].matrix[12] = 5;
    content.nodes[2].parent = 1;
    content.nodes[2].shapes = {0};
    content.nodes[2].motion = std::make_shared<Slide>();
    content.nodes[2].devices = {{ContentDevice::Kind::Camera, 1, ""},
                                {ContentDevice::Kind::Light, 0, "lamp"}};
    return content;
}

GroupAttribute Replaced(const std::string& path, const Attribute& value) {
    GroupBuilder group;
    group.update(ToGroup(Content()));
    if (value.isValid())
        group.set(path, value);
    else
        group.del(path);
    return group.build();
}

std::string ReasonWith(const std::string& path, const Attribute& value) {
    try {
        FromGroup(Replaced(path, value));
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(ContentGroup, KeepsNodes) {
    const SceneContent content = FromGroup(ToGroup(Content()));
    ASSERT_EQ(content.nodes.size(), 3u);
    EXPECT_EQ(content.nodes[0].name, "root");
    EXPECT_EQ(content.nodes[1].name, "a");
    EXPECT_EQ(content.nodes[1].matrix, Content().nodes[1].matrix);
    EXPECT_THAT(content.nodes[1].shapes, ElementsAre(0, 1));
    EXPECT_EQ(content.nodes[2].parent, 1u);
    EXPECT_THAT(content.nodes[2].shapes, ElementsAre(0));
    ASSERT_EQ(content.nodes[2].devices.size(), 2u);
    EXPECT_EQ(content.nodes[2].devices[0].kind, ContentDevice::Kind::Camera);
    EXPECT_EQ(content.nodes[2].devices[0].index, 1u);
    EXPECT_EQ(content.nodes[2].devices[1].kind, ContentDevice::Kind::Light);
    EXPECT_EQ(content.nodes[2].devices[1].name, "lamp");
    EXPECT_EQ(content.nodes[1].motion, nullptr);
    EXPECT_NE(content.nodes[2].motion, nullptr);
}

TEST(ContentGroup, KeepsShapesAndMaterials) {
    const SceneContent content = FromGroup(ToGroup(Content()));
    ASSERT_EQ(content.shapes.size(), 2u);
    EXPECT_EQ(content.shapes[0].name, "quad");
    EXPECT_EQ(content.shapes[0].type, "polymesh");
    EXPECT_EQ(content.shapes[0].geometry, Content().shapes[0].geometry);
    EXPECT_EQ(content.shapes[0].bound.attribute(), Content().shapes[0].bound.attribute());
    EXPECT_EQ(content.shapes[0].material, 0);
    EXPECT_TRUE(content.shapes[1].bound.isEmpty());
    EXPECT_EQ(content.shapes[1].material, -1);
    ASSERT_EQ(content.materials.size(), 1u);
    EXPECT_EQ(content.materials[0].name, "red");
}

TEST(ContentGroup, KeepsCamerasAndLights) {
    const SceneContent content = FromGroup(ToGroup(Content()));
    ASSERT_EQ(content.cameras.size(), 2u);
    EXPECT_EQ(CameraGeometry(content.cameras[0]), CameraGeometry(Content().cameras[0]));
    EXPECT_EQ(CameraGeometry(content.cameras[1]), CameraGeometry(Content().cameras[1]));
    EXPECT_EQ(content.cameras[1].aim, Content().cameras[1].aim);
    ASSERT_EQ(content.lights.size(), 1u);
    EXPECT_EQ(LightParameters(content.lights[0]), LightParameters(Content().lights[0]));
    EXPECT_EQ(content.lights[0].aim, Content().lights[0].aim);
}

TEST(ContentGroup, RefusesWhatIsMissing) {
    for (const char* const list : {"nodes", "shapes", "materials", "cameras", "lights"})
        EXPECT_THAT(ReasonWith(list, {}), HasSubstr(list));
    EXPECT_EQ(ReasonWith("nodes.matrix", {}), "the scene reader sent a wrong \"matrix\"");
    EXPECT_THROW(FromGroup({}), std::runtime_error);
    EXPECT_THROW(ReplyFrom({}), std::runtime_error);
}

TEST(ContentGroup, RefusesListsOfAnotherLength) {
    const DoubleAttribute numbers({1, 2, 3}, 1);
    for (const char* const list :
         {"nodes.matrix", "shapes.bound", "cameras.number", "lights.number"})
        EXPECT_NE(ReasonWith(list, numbers), "") << list;
    for (const char* const list : {"nodes.parent", "nodes.shapeEnd", "nodes.deviceEnd",
                                   "nodes.device", "shapes.material", "nodes.moving"})
        EXPECT_NE(ReasonWith(list, IntAttribute({0, 0, 0, 0, 0}, 1)), "") << list;
    for (const char* const list : {"nodes.name", "shapes.type", "shapes.name"})
        EXPECT_NE(ReasonWith(list, StringAttribute("one")), "") << list;
}

TEST(ContentGroup, RefusesIndicesThatReferToNothing) {
    EXPECT_NE(ReasonWith("nodes.parent", IntAttribute({0, 0, 2}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.parent", IntAttribute({0, -1, 1}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.shape", IntAttribute({0, 1, 2}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.shape", IntAttribute({0, 1, -1}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.shapeEnd", IntAttribute({0, 4, 3}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.shapeEnd", IntAttribute({0, -2, 3}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.device", IntAttribute({0, 2, 1, 0}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.device", IntAttribute({0, 1, 1, 1}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.device", IntAttribute({0, 1, 2, 0}, 1)), "");
    EXPECT_NE(ReasonWith("nodes.moving", IntAttribute({3}, 1)), "");
    EXPECT_NE(ReasonWith("shapes.material", IntAttribute({1, -1}, 1)), "");
    EXPECT_NE(ReasonWith("shapes.material", IntAttribute({0, -2}, 1)), "");
}

TEST(SampledMotion, HasTheSamplesOfTheMotionAtTheTimesOfAnyClock) {
    const FrameClock clock{24, 10};
    GroupBuilder direct, sampled;
    Slide().apply(clock, direct);
    SampledMotion(SampledMotion::SamplesOf(Slide())).apply(clock, sampled);
    const GroupAttribute attrs = sampled.build();
    EXPECT_EQ(attrs, direct.build());
    const DoubleAttribute places(attrs.getChildByName("xform.place"));
    EXPECT_EQ(places.getSampleTime(0), -10);
    EXPECT_EQ(places.getSampleTime(1), 2);
    EXPECT_EQ(places.getSampleTime(2), 15);
}

TEST(SampledMotion, LeavesOutSamplesOfOneTime) {
    GroupBuilder attrs;
    SampledMotion(SampledMotion::SamplesOf(Slide())).apply({1e-30, 1e9}, attrs);
    EXPECT_EQ(DoubleAttribute(attrs.build().getChildByName("xform.place")).getNumberOfTimeSamples(),
              1);
}

TEST(ReaderReply, KeepsStampsAndErrors) {
    ReaderReply reply;
    FileStamp stamp;
    stamp.path = "/a b";
    stamp.kind = std::filesystem::file_type::regular;
    stamp.size = std::uintmax_t(1) << 40;
    stamp.modified += std::chrono::nanoseconds(123456789012345678);
    reply.files = {stamp, {}};
    reply.error = "why";
    const ReaderReply received = ReplyFrom(ToGroup(reply));
    EXPECT_THAT(received.files, ElementsAre(stamp, FileStamp()));
    EXPECT_EQ(received.error, "why");
}

TEST(ReaderReply, KeepsMessages) {
    ReaderReply reply;
    reply.messages = {{"SceneImport", OxLogLevel::warn, "a\nb", "File.cpp", 12}, {}};
    reply.error = "why";
    const ReaderReply received = ReplyFrom(ToGroup(reply));
    ASSERT_EQ(received.messages.size(), 2u);
    EXPECT_EQ(received.messages[0].loggerName, "SceneImport");
    EXPECT_EQ(received.messages[0].level, OxLogLevel::warn);
    EXPECT_EQ(received.messages[0].text, "a\nb");
    EXPECT_EQ(received.messages[0].file, "File.cpp");
    EXPECT_EQ(received.messages[0].line, 12);
    EXPECT_EQ(received.messages[1].level, OxLogLevel::error);
}

TEST(ReaderReply, RefusesMessagesOfUnknownLevels) {
    GroupBuilder group;
    group.update(ToGroup(ReaderReply{{}, {}, "why", {}}));
    group.set("messages", StringAttribute(std::vector<std::string>{"a", "9", "b", "c", "1"}, 5));
    EXPECT_THROW(ReplyFrom(group.build()), std::runtime_error);
}

TEST(ReaderReply, RefusesWrongStamps) {
    GroupBuilder group;
    group.update(ToGroup(ReaderReply{{}, {}, "why", {}}));
    group.set("files", StringAttribute(std::vector<std::string>{"/a", "1", "many", "0"}, 4));
    EXPECT_THROW(ReplyFrom(group.build()), std::runtime_error);
}

} // namespace
