#include "Render.h"

#include <functional>
#include <memory>

#include <OxTellarProducers/OxSceneHandle.h>
#include <OxTellarProducers/Scene.h>

#include "RenderingTest.h"
#include "reading/ViewChanges.h"

namespace {

using namespace LanternTest;
using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

const char* const kWorld = R"({"ops": [{"name": "scene", "type": "StaticScene", "args": {
    "a": {"renderSettings": {"resolution": "40x30", "cameraName": "/root/world/cam"}},
    "c": {"world": {"c": {
        "cam": {"a": {"type": "camera", "geometry": {"fov": 70.0, "near": 0.1, "far": 1000.0,
            "left": -1.0, "right": 1.0, "top": 1.0, "bottom": -1.0}}},
        "sun": {"a": {"type": "light", "xform": {"translate": [2.0, 3.0, 0.0]},
            "light": {"type": "point", "intensity": 20.0}}},
        "ball": {"a": {"type": "sphere", "geometry": {"radius": 0.7},
            "xform": {"translate": [-0.8, 0.0, -4.0]}}},
        "veil": {"a": {"type": "polymesh", "xform": {"translate": [0.0, 0.0, -3.0]},
            "material": {"style": "network", "terminals": {"surface": "s"}, "nodes": {"s": {
                "name": "s", "type": "standard_surface", "parameters": {"opacity": 0.5}}}},
            "geometry": {
                "point": {"P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0], [0, 1, 0]]}},
                "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}},
        "smooth": {"a": {"type": "subdmesh", "xform": {"translate": [-1.5, -1.2, -5.0]},
            "geometry": {
                "point": {"P": {"$type": "float", "values":
                    [[0, 0, 0], [3, 0, 0], [3, 1, 1], [0, 1, -1]]}},
                "poly": {"vertexList": [0, 1, 2, 3], "startIndex": [0, 4]}}}},
        "floor": {"a": {"type": "polymesh", "xform": {"translate": [-3.0, -1.5, -8.0]},
            "geometry": {
                "point": {"P": {"$type": "float", "values":
                    [[0, 0, 0], [0, 0, 8], [6, 0, 8], [6, 0, 0]]}},
                "poly": {"vertexList": [0, 1, 2, 3], "startIndex": [0, 4]}}}}
    }}}}}]})";

constexpr int kSamples = 4;

std::vector<float> Drawn(const Location& root) {
    Watcher watcher;
    const Rendering rendering(root, kSamples, watcher);
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    return rendering.read();
}

/// A live render of a scene whose op "scene" is edited.
class ApplyChanges : public testing::Test {
protected:
    ApplyChanges()
        : scene((Host(), TELLAR::Scene::FromDescription(
                             OxAttribute::ParseDescriptionJson(kWorld, "test.json", "")))),
          handle(TELLAR::OxSceneToHandle(scene)),
          subscription(scenes().subscribe(handle, nullptr)) {}
    ~ApplyChanges() override {
        scenes().releaseSubscription(subscription);
        scenes().releaseScene(handle);
    }

    static const OxScenegraphIteratorHostSuite_v4& scenes() { return AllSuites().iterators(); }

    Location root() const {
        return Location::owning(AllSuites(), scenes().getSceneRoot(handle, nullptr));
    }

    void edit(const std::string& argument, const Attribute& value) {
        TELLAR::SceneEdit edit = scene->edit();
        edit.setOpArg("scene", argument, value);
        edit.commit();
    }

    /// Brings the render up to the newest revision and returns the error.
    std::string apply(const Rendering& rendering) {
        OxChangesStruct* const changes = scenes().receiveChanges(subscription, nullptr);
        OxErrorStruct* error = nullptr;
        const int isApplied = Renderer().applyChanges(rendering.get(), changes, &error);
        const std::string message = TextOf(error);
        EXPECT_EQ(isApplied, message.empty() ? 1 : 0) << message;
        if (isApplied) scenes().acknowledgeChanges(subscription, changes);
        scenes().releaseChanges(changes);
        return message;
    }

    /// Whether an edit changes the view alone. Later changes begin after it.
    bool isViewAlone(const std::string& argument, const Attribute& value) {
        edit(argument, value);
        OxChangesStruct* const changes = scenes().receiveChanges(subscription, nullptr);
        const bool isAlone = ChangeViewAlone(AllSuites(), root(), changes);
        scenes().acknowledgeChanges(subscription, changes);
        scenes().releaseChanges(changes);
        return isAlone;
    }

    /// Compares the render after an edit with a new render of the edited scene.
    void expectSame(const std::string& argument, const Attribute& value) {
        Watcher watcher;
        const Rendering rendering(root(), kSamples, watcher, 1);
        ASSERT_EQ(rendering.wait(), kOxRenderDone);
        const std::vector<float> before = rendering.read();
        edit(argument, value);
        ASSERT_EQ(apply(rendering), "");
        ASSERT_EQ(rendering.wait(), kOxRenderDone);
        const std::vector<float> after = rendering.read();
        EXPECT_NE(after, before);
        EXPECT_EQ(after, Drawn(root()));
    }

    const std::shared_ptr<TELLAR::Scene> scene;
    OxSceneStruct* const handle;
    OxSubscriptionStruct* const subscription;
};

const std::string kIn = "c.world.c.";

DoubleAttribute Vector(double x, double y, double z) {
    return DoubleAttribute({x, y, z}, 3);
}

// Kinds of edits ----------------------------------------------------------------------------------

TEST_F(ApplyChanges, MovesAShape) {
    expectSame(kIn + "ball.a.xform.translate", Vector(0.3, 0.5, -3.5));
}

TEST_F(ApplyChanges, MovesAGroup) {
    expectSame(kIn.substr(0, kIn.size() - 3) + ".a.xform.rotate",
               DoubleAttribute({10.0, 0.0, 1.0, 0.0}, 4));
}

TEST_F(ApplyChanges, MovesTheCamera) {
    expectSame(kIn + "cam.a.xform.translate", Vector(0.2, 0.1, 0.5));
}

TEST_F(ApplyChanges, MovesTheCameraOfASceneWithoutSubdivisionSurfaces) {
    ASSERT_FALSE(isViewAlone(kIn + "smooth.a.type", StringAttribute("polymesh")));
    expectSame(kIn + "cam.a.xform.translate", Vector(0.2, 0.1, 0.5));
    expectSame(kIn + "ball.a.xform.translate", Vector(0.0, 0.1, -4.0));
}

TEST_F(ApplyChanges, ChangesTheLens) {
    EXPECT_FALSE(isViewAlone(kIn + "smooth.a.type", StringAttribute("polymesh")));
    expectSame(kIn + "cam.a.geometry.fov", DoubleAttribute(50.0));
}

TEST_F(ApplyChanges, ChangesALight) {
    expectSame(kIn + "sun.a.light.intensity", DoubleAttribute(60.0));
}

TEST_F(ApplyChanges, MovesALight) {
    expectSame(kIn + "sun.a.xform.translate", Vector(-2.0, 3.0, 0.0));
}

TEST_F(ApplyChanges, ChangesAMaterial) {
    expectSame(kIn + "veil.a.material.nodes.s.parameters.opacity", DoubleAttribute(1.0));
}

TEST_F(ApplyChanges, HidesAShape) {
    expectSame(kIn + "ball.a.visible", IntAttribute(0));
}

TEST_F(ApplyChanges, ChangesGeometry) {
    expectSame(kIn + "ball.a.geometry.radius", DoubleAttribute(1.2));
}

TEST_F(ApplyChanges, ChangesThePointsOfASubdivisionSurface) {
    expectSame(kIn + "smooth.a.geometry.point.P",
               FloatAttribute({0, 0, 0, 3, 0, 0, 3, 2, 1, 0, 2, -1}, 3));
}

TEST_F(ApplyChanges, RemovesALocation) {
    expectSame(kIn + "veil.a", OxAttribute::GroupAttribute(true));
}

TEST_F(ApplyChanges, ChangesTheType) {
    expectSame(kIn + "ball.a.type", StringAttribute("group"));
}

TEST_F(ApplyChanges, ChangesTheResolution) {
    EXPECT_FALSE(isViewAlone(kIn + "smooth.a.type", StringAttribute("polymesh")));
    expectSame("a.renderSettings.resolution", StringAttribute("20x50"));
}

TEST_F(ApplyChanges, ChangesTheQuality) {
    expectSame("a.renderSettings.lantern.exposure", DoubleAttribute(1.0));
}

// The rest of the scene ---------------------------------------------------------------------------

TEST_F(ApplyChanges, ReadsOnlyTheShapesThatChanged) {
    Report report;
    const ReadResult first = ReadScene(AllSuites(), root(), {0, 1}, {}, report);
    ASSERT_EQ(first.sources.size(), 4u);
    edit(kIn + "ball.a.geometry.radius", DoubleAttribute(1.2));
    const ReadResult second = ReadScene(AllSuites(), root(), {0, 1}, first, report);
    ASSERT_EQ(second.sources.size(), 4u);
    std::string read;
    for (const ShapeSource& source : second.sources)
        read += source.earlier != kNone ? "kept " : source.isSubdivided ? "subdivided " : "read ";
    EXPECT_EQ(read, "read kept subdivided kept ");
}

TEST_F(ApplyChanges, TellsEditsOfTheViewFromThoseOfTheWorld) {
    const std::string camera = kIn + "cam.";
    EXPECT_TRUE(isViewAlone(camera + "a.geometry.fov", DoubleAttribute(50.0)));
    EXPECT_TRUE(isViewAlone(camera + "a.xform.translate", Vector(0, 0, 1)));
    EXPECT_TRUE(isViewAlone("a.renderSettings.resolution", StringAttribute("50x50")));
    EXPECT_FALSE(isViewAlone(kIn + "ball.a.xform.translate", Vector(0, 0, 1)));
    EXPECT_FALSE(isViewAlone("a.xform.translate", Vector(0, 0, 1)));
    EXPECT_FALSE(isViewAlone("c.world.a.xform.translate", Vector(0, 0, 1)));
    EXPECT_FALSE(isViewAlone(camera + "c.lamp.a.type", StringAttribute("light")));
    EXPECT_FALSE(isViewAlone(camera + "a.xform.translate", Vector(0, 0, 2))) << "the lamp moves";
    EXPECT_FALSE(isViewAlone(camera + "a.type", StringAttribute("sphere")));
}

TEST_F(ApplyChanges, ReadsAllShapesForAnotherShutter) {
    Report report;
    const ReadResult first = ReadScene(AllSuites(), root(), {0, 1}, {}, report);
    edit("a.renderSettings.shutterClose", DoubleAttribute(0.5));
    const ReadResult second = ReadScene(AllSuites(), root(), {0, 1}, first, report);
    for (const ShapeSource& source : second.sources)
        EXPECT_EQ(source.earlier, kNone);
}

// Sequences and failures --------------------------------------------------------------------------

TEST_F(ApplyChanges, FollowsManyEditsOneAfterTheOther) {
    Watcher watcher;
    const Rendering rendering(root(), kSamples, watcher, 1);
    for (int i = 1; i <= 20; ++i) {
        edit(kIn + "ball.a.xform.translate", Vector(0.1 * i, 0.0, -4.0));
        if (i % 3 == 0) edit(kIn + "ball.a.geometry.radius", DoubleAttribute(0.5 + 0.05 * i));
        ASSERT_EQ(apply(rendering), "") << i;
        if (i % 5 == 0) {
            ASSERT_EQ(rendering.wait(), kOxRenderDone);
            ASSERT_EQ(rendering.read(), Drawn(root())) << i;
        }
    }
}

TEST_F(ApplyChanges, TakesEditsWhileItDrawsAndWhileItIsPaused) {
    Watcher watcher;
    const Rendering rendering(root(), kEndless, watcher, 1);
    ASSERT_TRUE(Soon([&] { return !rendering.read().empty() && rendering.passes > 0; }));
    edit(kIn + "ball.a.xform.translate", Vector(0.5, 0.0, -4.0));
    EXPECT_EQ(apply(rendering), "");
    Renderer().pause(rendering.get());
    edit(kIn + "ball.a.visible", IntAttribute(0));
    EXPECT_EQ(apply(rendering), "");
    Renderer().resume(rendering.get());
    ASSERT_TRUE(Soon([&] { return !rendering.read().empty() && rendering.passes > 0; }));
    EXPECT_EQ(rendering.wait(0), kOxRenderRunning);
}

TEST_F(ApplyChanges, StaysAsItWasWhenTheNewRevisionCannotBeDrawn) {
    Watcher watcher;
    const Rendering rendering(root(), kSamples, watcher, 1);
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    const std::vector<float> before = rendering.read();
    edit("a.renderSettings.cameraName", StringAttribute("/root/nowhere"));
    EXPECT_NE(apply(rendering).find("/root/nowhere"), std::string::npos);
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_EQ(rendering.read(), before);
    edit("a.renderSettings.cameraName", StringAttribute("/root/world/cam"));
    edit(kIn + "ball.a.visible", IntAttribute(0));
    EXPECT_EQ(apply(rendering), "");
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_EQ(rendering.read(), Drawn(root()));
}

TEST_F(ApplyChanges, RefusesARenderThatIsNotLive) {
    Watcher watcher;
    const Rendering rendering(root(), kEndless, watcher);
    edit(kIn + "ball.a.visible", IntAttribute(0));
    EXPECT_EQ(apply(rendering), "1: the render is not live");
}

} // namespace
