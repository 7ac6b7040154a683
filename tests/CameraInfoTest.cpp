#include <OxTellarProducers/CameraInfo.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "CameraScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using TELLAR::CameraGeometry;
using TELLAR::CameraInfo;
using TELLAR::ClearCameraInfoCache;
using TELLAR::GeometryProducer;
using TELLAR::GetCameraInfo;
using testing::ElementsAre;

using GetCameraInfoTest = WithoutKnownCameras;

std::shared_ptr<CameraInfo> CameraOf(const Children& cameraAttrs) {
    return GetCameraInfo(StaticRoot(CameraScene(cameraAttrs)), kCamera);
}

std::vector<float> FloatsAt(const FloatAttribute& attribute, float time) {
    const auto sample = attribute.getNearestSample(time);
    return {sample.begin(), sample.end()};
}

// Records -----------------------------------------------------------------------------------------

TEST(CameraGeometry, IsAllZerosAndPerspectiveAtFirst) {
    const CameraGeometry lens;
    EXPECT_EQ(lens.fov, 0.0f);
    EXPECT_EQ(lens.near, 0.0f);
    EXPECT_EQ(lens.far, 0.0f);
    EXPECT_EQ(lens.left, 0.0f);
    EXPECT_EQ(lens.right, 0.0f);
    EXPECT_EQ(lens.top, 0.0f);
    EXPECT_EQ(lens.bottom, 0.0f);
    EXPECT_FALSE(lens.orthographic);
}

TEST(CameraInfo, StandsAtTheOriginWithoutSamplesAtFirst) {
    const CameraInfo camera;
    EXPECT_EQ(camera.xform, Imath::Matrix44<double>());
    EXPECT_FALSE(camera.xformSamples.isValid());
}

TEST(CameraInfo, IsCopiedAndMovedMemberByMember) {
    CameraInfo camera;
    camera.fov = 35.0f;
    camera.orthographic = true;
    camera.orthographicWidth = 4.0f;
    camera.xform[3][0] = 7.0;
    camera.xformSamples = FloatAttribute({1.0f, 2.0f}, 1);
    const CameraInfo copy = camera;
    CameraInfo assigned;
    assigned = camera;
    CameraInfo moved = std::move(camera);
    CameraInfo moveAssigned;
    moveAssigned = CameraInfo(moved);
    for (const CameraInfo& other : {copy, assigned, moved, moveAssigned}) {
        EXPECT_EQ(other.fov, 35.0f);
        EXPECT_TRUE(other.orthographic);
        EXPECT_EQ(other.orthographicWidth, 4.0f);
        EXPECT_EQ(other.xform[3][0], 7.0);
        EXPECT_EQ(other.xformSamples.getHandle(), copy.xformSamples.getHandle());
    }
}

TEST(CameraInfo, GivesItsSamplesAwayWhenItIsMoved) {
    CameraInfo camera;
    camera.xformSamples = FloatAttribute({1.0f, 2.0f}, 1);
    const auto* const handle = camera.xformSamples.getHandle();
    const CameraInfo moved = std::move(camera);
    EXPECT_EQ(moved.xformSamples.getHandle(), handle);
    EXPECT_FALSE(camera.xformSamples.isValid());
}

TEST(CameraInfo, HasItsMembersInTheOrderInWhichTheyAreWrittenDown) {
    const CameraInfo camera;
    const void* const members[] = {&camera.fov,
                                   &camera.near,
                                   &camera.far,
                                   &camera.left,
                                   &camera.right,
                                   &camera.top,
                                   &camera.bottom,
                                   &camera.orthographic,
                                   &camera.xform,
                                   &camera.xformSamples,
                                   &camera.orthographicWidth};
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members), std::less<>()));
}

// Reading -----------------------------------------------------------------------------------------

TEST_F(GetCameraInfoTest, ReadsTheLensInSinglePrecision) {
    const auto camera = CameraOf(CameraAttrs({{"fov", Double(0.1)},
                                              {"near", Double(0.2)},
                                              {"far", Double(1e10 + 1)},
                                              {"left", Double(-0.3)},
                                              {"right", Double(0.4)},
                                              {"top", Double(0.7)},
                                              {"bottom", Double(-0.6)}}));
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->fov, 0.1f);
    EXPECT_EQ(camera->near, 0.2f);
    EXPECT_EQ(camera->far, 1e10f);
    EXPECT_EQ(camera->left, -0.3f);
    EXPECT_EQ(camera->right, 0.4f);
    EXPECT_EQ(camera->top, 0.7f);
    EXPECT_EQ(camera->bottom, -0.6f);
    EXPECT_FALSE(camera->orthographic);
    EXPECT_EQ(camera->orthographicWidth, 0.0f);
}

TEST_F(GetCameraInfoTest, IsOrthographicForJustThatWord) {
    const auto isOrthographic = [](const OxAttribute::Attribute& projection) {
        ClearCameraInfoCache();
        return CameraOf(CameraAttrs(With(UnitLens(), "projection", projection)))->orthographic;
    };
    EXPECT_TRUE(isOrthographic(Text("orthographic")));
    EXPECT_FALSE(isOrthographic(Text("Orthographic")));
    EXPECT_FALSE(isOrthographic(Text("orthographic ")));
    EXPECT_FALSE(isOrthographic(Text(std::string_view("orthographic\0", 13))));
    EXPECT_FALSE(isOrthographic(Text("perspective")));
    EXPECT_FALSE(isOrthographic(Int(1)));
    EXPECT_FALSE(isOrthographic(Texts({})));
    EXPECT_FALSE(isOrthographic({}));
}

TEST_F(GetCameraInfoTest, ReadsTheOrthographicWidthIfItIsADouble) {
    const auto width = [](const OxAttribute::Attribute& value) {
        ClearCameraInfoCache();
        return CameraOf(CameraAttrs(With(UnitLens(), "orthographicWidth", value)))
            ->orthographicWidth;
    };
    EXPECT_EQ(width(Double(0.1)), 0.1f);
    EXPECT_EQ(width(Int(3)), 0.0f);
    EXPECT_EQ(width(Doubles({})), 0.0f);
}

TEST_F(GetCameraInfoTest, IsEmptyWhenOneLensValueIsMissingOrNoDouble) {
    for (const char* name : {"fov", "near", "far", "left", "right", "top", "bottom"}) {
        SCOPED_TRACE(name);
        ClearCameraInfoCache();
        EXPECT_FALSE(CameraOf(CameraAttrs(Without(UnitLens(), name))));
        ClearCameraInfoCache();
        EXPECT_FALSE(CameraOf(CameraAttrs(With(UnitLens(), name, Int(1)))));
    }
}

TEST_F(GetCameraInfoTest, TakesZeroForALensValueWithoutValues) {
    const auto camera = CameraOf(CameraAttrs(With(UnitLens(), "fov", Doubles({}))));
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->fov, 0.0f);
}

TEST_F(GetCameraInfoTest, IsEmptyWithoutAGeometryGroup) {
    EXPECT_FALSE(CameraOf({}));
    ClearCameraInfoCache();
    EXPECT_FALSE(CameraOf({{"geometry", Text("none")}}));
}

TEST_F(GetCameraInfoTest, IsEmptyWithoutSuchALocationAndForANullProducer) {
    const auto root = StaticRoot(CameraScene(CameraAttrs(UnitLens())));
    EXPECT_FALSE(GetCameraInfo(root, "/root/world/cam/other"));
    EXPECT_FALSE(GetCameraInfo(root, ""));
    EXPECT_FALSE(GetCameraInfo(nullptr, kCamera));
}

TEST_F(GetCameraInfoTest, StandsAtTheOriginWithoutAnyTransform) {
    const auto camera = CameraOf(CameraAttrs(UnitLens()));
    EXPECT_EQ(camera->xform, Imath::Matrix44<double>());
    EXPECT_FALSE(camera->xformSamples.isValid());
}

TEST_F(GetCameraInfoTest, ComposesTheTransformsFromTheRootDown) {
    Children attrs = CameraAttrs(UnitLens());
    attrs.emplace_back("xform", Translation(1, 2, 3));
    const auto camera = GetCameraInfo(
        StaticRoot(CameraScene(attrs, {}, {{"xform", Translation(10, 0, 0.1)}})), kCamera);
    EXPECT_EQ(camera->xform[3][0], 11.0);
    EXPECT_EQ(camera->xform[3][1], 2.0);
    EXPECT_EQ(camera->xform[3][2], 3.1);
    EXPECT_EQ(camera->xformSamples.getTupleSize(), 16);
    EXPECT_EQ(camera->xformSamples.getNumberOfTimeSamples(), 1);
    EXPECT_THAT(FloatsAt(camera->xformSamples, 0),
                ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 11, 2, 3.1f, 1));
}

TEST_F(GetCameraInfoTest, HasASampleForEveryTimeAtWhichAnAncestorMoves) {
    const auto moving = [](std::map<float, std::vector<double>> samples) {
        return Group({{"translate", DoubleAttribute(samples, 3)}});
    };
    Children attrs = CameraAttrs(UnitLens());
    attrs.emplace_back("xform", moving({{-0.5f, {0, 0, 0}}, {0.5f, {0, 2, 0}}}));
    const auto camera = GetCameraInfo(
        StaticRoot(CameraScene(attrs, {}, {{"xform", moving({{0.25f, {8, 0, 0}}})}})), kCamera);
    const FloatAttribute& samples = camera->xformSamples;
    ASSERT_EQ(samples.getNumberOfTimeSamples(), 3);
    EXPECT_EQ(samples.getSampleTime(0), -0.5f);
    EXPECT_EQ(samples.getSampleTime(1), 0.25f);
    EXPECT_EQ(samples.getSampleTime(2), 0.5f);
    EXPECT_EQ(FloatsAt(samples, -0.5f)[13], 0.0f);
    EXPECT_EQ(FloatsAt(samples, 0.25f)[12], 8.0f);
    EXPECT_EQ(FloatsAt(samples, 0.25f)[13], 1.5f);
    EXPECT_EQ(FloatsAt(samples, 0.5f)[13], 2.0f);
    EXPECT_EQ(camera->xform[3][1], 1.5) << "the sample nearest to time 0";
}

TEST_F(GetCameraInfoTest, LetsExceptionsOfThePlatformThroughAndRemembersTheFailure) {
    class Faulty : public GeometryProducer {
    public:
        Faulty() : GeometryProducer(nullptr) {}
        void getAttributeNames(std::set<std::string>*) override {}
        OxAttribute::StringAttribute getPotentialChildren() override { return {}; }
        OxAttribute::Attribute getAttribute(const char*) override { return {}; }
        std::string getName() override { return "root"; }
        std::string getFullName() override { return "/root"; }
        std::string getHash() override { return "faulty"; }
        Ptr getChildByName(const char*, bool) override {
            ++asked;
            throw std::runtime_error("It cannot be cooked.");
        }
        Ptr getFirstChild(bool) override { return nullptr; }
        Ptr getNextSibling(bool) override { return nullptr; }
        int asked = 0;
    };
    const boost::intrusive_ptr<Faulty> root = new Faulty;
    EXPECT_THROW(GetCameraInfo(root, kCamera), std::runtime_error);
    EXPECT_FALSE(GetCameraInfo(root, kCamera));
    EXPECT_EQ(root->asked, 1);
}

} // namespace
