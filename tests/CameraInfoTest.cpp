#include <OxTellarProducers/CameraInfo.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "CameraScenes.h"
#include "RunTogether.h"

namespace {

using namespace TellarTest;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using TELLAR::CameraGeometry;
using TELLAR::CameraInfo;
using TELLAR::ClearCameraInfoCache;
using TELLAR::GeometryProducer;
using TELLAR::GetCameraInfo;
using testing::ElementsAre;

/// Answers are kept for the process: each test starts without any.
class GetCameraInfoTest : public testing::Test {
protected:
    void SetUp() override { ClearCameraInfoCache(); }
};

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

// Remembering -------------------------------------------------------------------------------------

TEST_F(GetCameraInfoTest, GivesTheSameRecordUntilTheCacheIsCleared) {
    const auto root = StaticRoot(CameraScene(CameraAttrs(UnitLens())));
    const auto first = GetCameraInfo(root, kCamera);
    EXPECT_EQ(GetCameraInfo(root, kCamera), first);
    ClearCameraInfoCache();
    const auto second = GetCameraInfo(root, kCamera);
    EXPECT_NE(second, first);
    EXPECT_EQ(first->fov, 90.0f) << "a record that is held survives";
    EXPECT_EQ(second->fov, 90.0f);
}

/// A root that shows whatever camera it is told to, under a hash that does not tell.
class ChangingRoot : public GeometryProducer {
public:
    explicit ChangingRoot(std::string hash) : GeometryProducer(nullptr), hash(std::move(hash)) {}
    void show(const GroupAttribute& scene) { shown = StaticRoot(scene); }

    void getAttributeNames(std::set<std::string>* names) override {
        shown->getAttributeNames(names);
    }
    OxAttribute::StringAttribute getPotentialChildren() override {
        return shown->getPotentialChildren();
    }
    OxAttribute::Attribute getAttribute(const char* name) override {
        return shown->getAttribute(name);
    }
    std::string getName() override { return "root"; }
    std::string getFullName() override { return "/root"; }
    std::string getHash() override { return hash; }
    Ptr getChildByName(const char* name, bool evict) override {
        return shown->getChildByName(name, evict);
    }
    Ptr getFirstChild(bool evict) override { return shown->getFirstChild(evict); }
    Ptr getNextSibling(bool) override { return nullptr; }

private:
    std::string hash;
    Ptr shown;
};

TEST_F(GetCameraInfoTest, RemembersThatThereWasNoCameraUntilTheCacheIsCleared) {
    const boost::intrusive_ptr<ChangingRoot> root = new ChangingRoot("scene");
    root->show(CameraScene({}));
    EXPECT_FALSE(GetCameraInfo(root, kCamera));
    root->show(CameraScene(CameraAttrs(UnitLens())));
    EXPECT_FALSE(GetCameraInfo(root, kCamera));
    ClearCameraInfoCache();
    EXPECT_TRUE(GetCameraInfo(root, kCamera));
}

TEST_F(GetCameraInfoTest, TellsScenesApartByTheirHash) {
    const boost::intrusive_ptr<ChangingRoot> one = new ChangingRoot("one");
    const boost::intrusive_ptr<ChangingRoot> other = new ChangingRoot("other");
    one->show(CameraScene(CameraAttrs(UnitLens())));
    other->show(CameraScene(CameraAttrs(With(UnitLens(), "fov", Double(30)))));
    EXPECT_EQ(GetCameraInfo(one, kCamera)->fov, 90.0f);
    EXPECT_EQ(GetCameraInfo(other, kCamera)->fov, 30.0f);
    EXPECT_EQ(GetCameraInfo(one, kCamera)->fov, 90.0f);
}

TEST_F(GetCameraInfoTest, PutsPathAndHashTogetherWithoutASeparator) {
    const boost::intrusive_ptr<ChangingRoot> one = new ChangingRoot("1scene");
    const boost::intrusive_ptr<ChangingRoot> other = new ChangingRoot("scene");
    one->show(CameraScene(CameraAttrs(UnitLens())));
    other->show(CameraScene({}));
    const auto camera = GetCameraInfo(one, kCamera);
    EXPECT_TRUE(camera);
    EXPECT_EQ(GetCameraInfo(other, kCamera + std::string("1")), camera);
}

/// Notes whether its children are to be computed anew.
class EvictedRoot : public ChangingRoot {
public:
    EvictedRoot() : ChangingRoot("evicted") {}
    Ptr getChildByName(const char* name, bool evict) override {
        isEvicted = isEvicted || evict;
        return ChangingRoot::getChildByName(name, evict);
    }
    bool isEvicted = false;
};

TEST_F(GetCameraInfoTest, HasNothingComputedAnew) {
    const boost::intrusive_ptr<EvictedRoot> root = new EvictedRoot;
    root->show(Location({}, {{"camera", Location(CameraAttrs(UnitLens()))}}));
    EXPECT_TRUE(GetCameraInfo(root, "/root/camera"));
    EXPECT_FALSE(root->isEvicted);
}

TEST_F(GetCameraInfoTest, TellsCamerasOfOneSceneApart) {
    const auto cameras =
        Location({}, {{"a", Location(CameraAttrs(UnitLens()))},
                      {"b", Location(CameraAttrs(With(UnitLens(), "fov", Double(20))))}});
    const auto root = StaticRoot(cameras);
    EXPECT_EQ(GetCameraInfo(root, "/root/a")->fov, 90.0f);
    EXPECT_EQ(GetCameraInfo(root, "/root/b")->fov, 20.0f);
}

TEST_F(GetCameraInfoTest, GivesManyThreadsTheSameRecord) {
    const auto ops =
        SceneTree(CameraScene(CameraAttrs(UnitLens()), {}, {{"tag", Text(UniqueTag())}}));
    const auto root = TELLAR::CreateThreadAwareGeometryProducer(ops, "/root");
    std::vector<std::shared_ptr<CameraInfo>> found(8);
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 200; ++i)
            found[static_cast<std::size_t>(number)] = GetCameraInfo(root, kCamera);
    });
    ASSERT_TRUE(found[0]);
    EXPECT_THAT(found, testing::Each(found[0]));
}

TEST_F(GetCameraInfoTest, MayBeClearedWhileOthersAsk) {
    const auto ops =
        SceneTree(CameraScene(CameraAttrs(UnitLens()), {}, {{"tag", Text(UniqueTag())}}));
    const auto root = TELLAR::CreateThreadAwareGeometryProducer(ops, "/root");
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 200; ++i) {
            if (number == 0) ClearCameraInfoCache();
            const auto camera = GetCameraInfo(root, kCamera);
            ASSERT_TRUE(camera);
            ASSERT_EQ(camera->fov, 90.0f);
        }
    });
}

/// Asks for its own camera, and for another one, while that is read.
class AskingRoot : public ChangingRoot {
public:
    explicit AskingRoot(const std::string& hash) : ChangingRoot(hash) {}
    Ptr getChildByName(const char* name, bool evict) override {
        ++numberOfReadings;
        own = GetCameraInfo(this, kCamera);
        other = GetCameraInfo(StaticRoot(CameraScene(CameraAttrs(UnitLens()))), kCamera);
        if (isToThrow) throw std::runtime_error("It fails.");
        return ChangingRoot::getChildByName(name, evict);
    }

    int numberOfReadings = 0;
    bool isToThrow = false;
    std::shared_ptr<CameraInfo> own;
    std::shared_ptr<CameraInfo> other;
};

TEST_F(GetCameraInfoTest, EndsWhenAProducerAsksForTheCameraThatIsBeingReadFromIt) {
    const boost::intrusive_ptr<AskingRoot> root = new AskingRoot("asking");
    root->show(CameraScene(CameraAttrs(UnitLens())));
    const auto camera = GetCameraInfo(root, kCamera);
    EXPECT_TRUE(camera);
    EXPECT_FALSE(root->own) << "its entry is empty until it is read";
    EXPECT_TRUE(root->other);
    EXPECT_EQ(GetCameraInfo(root, kCamera), camera) << "the answer from within is not kept";
    EXPECT_EQ(root->numberOfReadings, 1);
}

TEST_F(GetCameraInfoTest, RemembersNothingOfACameraWhoseReadingThrew) {
    const boost::intrusive_ptr<AskingRoot> root = new AskingRoot("throwing");
    root->show(CameraScene(CameraAttrs(UnitLens())));
    root->isToThrow = true;
    EXPECT_THROW(GetCameraInfo(root, kCamera), std::runtime_error);
    root->isToThrow = false;
    EXPECT_FALSE(GetCameraInfo(root, kCamera));
    EXPECT_EQ(root->numberOfReadings, 1);
}

/// While its camera is read, another thread asks for the same one.
class OvertakenRoot : public ChangingRoot {
public:
    OvertakenRoot() : ChangingRoot("overtaken") {}
    Ptr getChildByName(const char* name, bool evict) override {
        if (!std::exchange(isRead, true))
            std::thread([this] { meanwhile = GetCameraInfo(this, kCamera); }).join();
        return ChangingRoot::getChildByName(name, evict);
    }

    bool isRead = false;
    std::shared_ptr<CameraInfo> meanwhile;
};

TEST_F(GetCameraInfoTest, NeitherBlocksAnotherThreadNorTellsItThatThereIsNoCamera) {
    const boost::intrusive_ptr<OvertakenRoot> root = new OvertakenRoot;
    root->show(CameraScene(CameraAttrs(UnitLens())));
    const auto camera = GetCameraInfo(root, kCamera);
    EXPECT_TRUE(camera);
    EXPECT_EQ(root->meanwhile, camera);
}

/// Clears the cache while its camera is read.
class ClearingRoot : public ChangingRoot {
public:
    ClearingRoot() : ChangingRoot("clearing") {}
    Ptr getChildByName(const char* name, bool evict) override {
        ClearCameraInfoCache();
        return ChangingRoot::getChildByName(name, evict);
    }
};

TEST_F(GetCameraInfoTest, DoesNotKeepAnAnswerThatIsOlderThanTheLastClearing) {
    const boost::intrusive_ptr<ClearingRoot> root = new ClearingRoot;
    root->show(CameraScene(CameraAttrs(UnitLens())));
    const auto first = GetCameraInfo(root, kCamera);
    EXPECT_NE(GetCameraInfo(root, kCamera), first);
}

} // namespace
