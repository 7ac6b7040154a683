#include <OxTellarProducers/CameraInfo.h>

#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "CameraScenes.h"
#include "RunTogether.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::CameraInfo;
using TELLAR::ClearCameraInfoCache;
using TELLAR::GeometryProducer;
using TELLAR::GetCameraInfo;

using GetCameraInfoTest = WithoutKnownCameras;

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
