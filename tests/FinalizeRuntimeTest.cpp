#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "CapturedLog.h"
#include "IteratorScenes.h"
#include "SceneBuilders.h"
#include "SuiteHandles.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using TELLAR::OxGeometryProducerToHandle;
using TELLAR::OxHandleToGeometryProducer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kLogger = "ScenegraphIteratorHost";

/// The messages of finalizing a scene, and whether its runtime has forgotten "/root".
struct Finalized {
    explicit Finalized(const GroupAttribute& rootAttrs) {
        const SceneFile file(SceneTree(rootAttrs));
        const SharedRuntime shared; // all threads see one client's memory
        const Handle root = file.root();
        const auto client = OxHandleToGeometryProducer(root.get())->getClient();
        EXPECT_TRUE(client->getCachedLocation("/root").isValid());
        OxLoggingSetLevel(kLogger, OxLogLevel::info);
        const CapturedLog log;
        Iterators().finalizeRuntime(root.get());
        OxLoggingSetLevel(kLogger, OxLogLevel::warn);
        messages = log.messages();
        hasEnded = !client->getCachedLocation("/root").isValid();
    }
    std::vector<OxLogMessage> messages;
    bool hasEnded;
};

TEST(FinalizeRuntime, EndsTheRender) {
    const Finalized finalized(Location({{"tag", Text(UniqueTag())}}));
    EXPECT_TRUE(finalized.hasEnded);
    EXPECT_THAT(finalized.messages, IsEmpty());
}

TEST(FinalizeRuntime, IsDeferredWhileRenderingLive) {
    for (const char* name : {"liveRender", "liveRenderSettings"})
        for (const Attribute& value : {Int(0), Text(""), Attribute(Group({}))}) {
            SCOPED_TRACE(name);
            const Finalized finalized(Location({{name, value}, {"tag", Text(UniqueTag())}}));
            EXPECT_FALSE(finalized.hasEnded);
            ASSERT_EQ(finalized.messages.size(), 1u);
            EXPECT_EQ(finalized.messages[0].text,
                      "Runtime finalize deferred while live rendering.");
            EXPECT_EQ(finalized.messages[0].level, OxLogLevel::info);
            EXPECT_EQ(finalized.messages[0].loggerName, kLogger);
        }
}

TEST(FinalizeRuntime, IsDeferredWithoutAMessageWhileInfosAreOff) {
    const SceneFile file(SceneTree(Location({{"liveRender", Int(1)}, {"tag", Text(UniqueTag())}})));
    const SharedRuntime shared;
    const Handle root = file.root();
    const auto client = OxHandleToGeometryProducer(root.get())->getClient();
    const CapturedLog log;
    Iterators().finalizeRuntime(root.get());
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
}

TEST(FinalizeRuntime, LooksAtTheTopLevelOnly) {
    EXPECT_TRUE(Finalized(Location({{"group", Group({{"liveRender", Int(1)}})},
                                    {"tag", Text(UniqueTag())}}))
                    .hasEnded);
}

TEST(FinalizeRuntime, EndsARenderWithoutARoot) {
    const auto client =
        MakeClient(Group({{"tree", OpEntry("TestTree", Group({{"missing", Texts({"/root"})},
                                                              {"tag", Text(UniqueTag())}}))}}));
    const Handle handle = Handle::retaining(
        OxGeometryProducerToHandle(TELLAR::CreateSyncGeometryProducer(client, "/other")));
    ASSERT_TRUE(handle);
    Iterators().finalizeRuntime(handle.get());
    EXPECT_FALSE(client->getCachedLocation("/other").isValid());
}

TEST(FinalizeRuntime, DoesNothingWithoutAClient) {
    const CapturedLog log;
    const Handle handle =
        Handle::of(TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr));
    Iterators().finalizeRuntime(handle.get());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(FinalizeRuntime, LogsAnExceptionOfTheScene) {
    const auto client = MakeClient(
        Group({{"tree", OpEntry("TestTree", Group({{"tag", Text(UniqueTag())}}))},
               {"throw", OpEntry("TestThrow", Group({{"at", Text("/root")}}), {"tree"})}}));
    const Handle handle = Handle::retaining(
        OxGeometryProducerToHandle(TELLAR::CreateSyncGeometryProducer(client, "/other")));
    const CapturedLog log;
    Iterators().finalizeRuntime(handle.get());
    EXPECT_THAT(log.textsOf(kLogger), ElementsAre(HasSubstr("finalizeRuntime: ")));
}

} // namespace
