#include <OxTellarProducers/ClientFactory.h>

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CapturedLog.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TempDirectory.h"
#include "TestOps.h"
#include "UniqueScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::ClientCreateWithOpTree;
using TELLAR::OpTreeSource;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

using Client = std::shared_ptr<TellarRuntime::Client>;

/// Makes a client, which loads a plug-in that opens a scene meanwhile. Ends the process with 0 when
/// both succeed. The process must not have asked for plug-ins before.
void MakeClientWhilePluginOpensScene() {
    alarm(60); // instead of waiting for ever
    const TempDirectory folder;
    const std::string file = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(file, TestTree(Texts({"world"})));
    setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);
    setenv("TELLAR_TEST_SCENE", file.c_str(), 1);
    OxTellarProducersInitialize(OxGetPluginHost());
    const Client client = ClientCreateWithOpTree(UniqueSource());
    const bool isOpened = OxGetPluginHost()->getPluginSuite("scene opener", "TestSceneOpener", 1);
    const bool isMade = client && client->cookLocation("/root/world").doesLocationExist();
    std::_Exit(isOpened && isMade ? 0 : 1);
}

// Making clients ----------------------------------------------------------------------------------

TEST(ClientFactoryDeathTest, LetsAPluginOpenASceneWhileTheFirstClientIsMade) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own
    EXPECT_EXIT(MakeClientWhilePluginOpensScene(), testing::ExitedWithCode(0), "");
}

TEST(ClientFactory, MakesAClientThatCooksTheTreesLastOp) {
    const GroupAttribute scene = Location({{"tag", Text(UniqueTag())}}, {{"world", Location({})}});
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(
        Group({{"scene", OpEntry("StaticScene", scene)},
               {"count", OpEntry("TestCount", {}, {"scene"})}}));
    const Client client = ClientCreateWithOpTree(source);
    ASSERT_TRUE(client);
    EXPECT_EQ(client->getOp()->getType(), "TestCount");
    EXPECT_TRUE(client->cookLocation("/root/world").doesLocationExist());
    EXPECT_GT(IntOf(client->cookLocation("/root").getAttrs().getChildByName("cook")), 0);
}

TEST(ClientFactory, MakesAClientFromAnOpFile) {
    const TempDirectory folder;
    OxAttribute::WriteOpFile(folder.path("scene.oxop"), SceneTree(Location({{"n", Int(7)}})));
    const Client client =
        ClientCreateWithOpTree(OpTreeSource::createFromFile(folder.path("scene.oxop")));
    ASSERT_TRUE(client);
    EXPECT_EQ(IntOf(client->cookLocation("/root").getAttrs().getChildByName("n")), 7);
}

TEST(ClientFactory, GivesEveryClientARuntimeOfItsOwn) {
    const ScopedRuntimeFactory runtimes;
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    const Client second = ClientCreateWithOpTree(source);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second) << "the first is still in use";
    EXPECT_NE(first->getRuntime(), second->getRuntime());
    EXPECT_EQ(runtimes.count(), 2);
}

TEST(ClientFactory, KeepsClientsThatNobodyHoldsAnyMore) {
    const OpTreeSource source = UniqueSource();
    const std::weak_ptr<TellarRuntime::Client> dropped = ClientCreateWithOpTree(source);
    const Client other = ClientCreateWithOpTree(source);
    EXPECT_FALSE(dropped.expired());
    EXPECT_NE(dropped.lock(), other) << "dropping a client is not giving it back";
}

// Failures ----------------------------------------------------------------------------------------

TEST(ClientFactory, LogsTheReasonForAMissingFile) {
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile("/no such folder/a.oxop")),
              nullptr);
    EXPECT_THAT(
        log.textsOf("ClientFactory"),
        ElementsAre("Invalid Op tree source: File \"/no such folder/a.oxop\" does not exist."));
}

TEST(ClientFactory, LogsTheReasonForAnEmptyFileName) {
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile("")), nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"),
                ElementsAre("Invalid Op tree source: Empty filename provided."));
}

TEST(ClientFactory, LogsTheReasonForAnInvalidDescription) {
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(GroupAttribute())),
              nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"),
                ElementsAre("Invalid Op tree source: Invalid GroupAttribute provided."));
}

TEST(ClientFactory, AsksForNoRuntimeWhenTheSourceIsInvalid) {
    const ScopedRuntimeFactory runtimes;
    const CapturedLog log;
    ClientCreateWithOpTree(OpTreeSource::createFromFile(""));
    EXPECT_EQ(runtimes.count(), 0);
}

TEST(ClientFactory, LogsThatThereIsNoRuntime) {
    const OpTreeSource source = UniqueSource();
    const CapturedLog log;
    {
        const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
        EXPECT_EQ(ClientCreateWithOpTree(source), nullptr);
    }
    EXPECT_THAT(log.textsOf("ClientFactory"), ElementsAre("Runtime could not be loaded."));
    EXPECT_TRUE(ClientCreateWithOpTree(source)) << "with a runtime it works";
}

TEST(ClientFactory, LooksForARuntimeBeforeItReadsTheSource) {
    const TempDirectory folder;
    const std::string path = folder.write("notes.txt", "These are no ops.");
    const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile(path)), nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"), ElementsAre("Runtime could not be loaded."));
    EXPECT_EQ(none.count(), 1);
}

TEST(ClientFactory, LogsThatAFileHoldsNoOps) {
    const TempDirectory folder;
    const std::string path = folder.write("notes.txt", "These are no ops.");
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile(path)), nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"),
                ElementsAre("Could not parse OpTree from '" + path + "'."));
}

TEST(ClientFactory, LogsThatADescriptionHoldsNoOps) {
    const CapturedLog log;
    const auto create = [](const GroupAttribute& description) {
        return ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(description));
    };
    EXPECT_EQ(create(GroupAttribute(true)), nullptr);
    EXPECT_EQ(create(Group({{"a", Text("no group")}})), nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"),
                ElementsAre("Could not parse OpTree from 'GroupAttribute'.",
                            "Could not parse OpTree from 'GroupAttribute'."));
}

TEST(ClientFactory, DropsTheRuntimeOfACreationThatFailed) {
    std::weak_ptr<TellarRuntime> runtime;
    const ScopedRuntimeFactory runtimes([&runtime] {
        const auto made = TellarRuntime::create();
        runtime = made;
        return made;
    });
    const CapturedLog log;
    ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(GroupAttribute(true)));
    EXPECT_EQ(runtimes.count(), 1);
    EXPECT_TRUE(runtime.expired());
}

TEST(ClientFactory, LogsErrorsWithTheirPlaceInTheCode) {
    const CapturedLog log;
    ClientCreateWithOpTree(OpTreeSource::createFromFile(""));
    ASSERT_THAT(log.messages(), SizeIs(1));
    const OxLogMessage message = log.messages()[0];
    EXPECT_EQ(message.level, OxLogLevel::error);
    EXPECT_THAT(message.file, EndsWith("ClientFactory.cpp"));
    EXPECT_GT(message.line, 0);
}

TEST(ClientFactory, FailsSilentlyWhenItsErrorsAreSwitchedOff) {
    const CapturedLog log;
    const OxLogLevel before = OxLoggingGetLevel("ClientFactory");
    OxLoggingSetLevel("ClientFactory", OxLogLevel::off);
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile("")), nullptr);
    OxLoggingSetLevel("ClientFactory", before);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ClientFactory, LetsThePlatformsExceptionsThroughAndGoesOnWorking) {
    const OpTreeSource source = UniqueSource();
    {
        const ScopedRuntimeFactory failing(
            []() -> std::shared_ptr<TellarRuntime> { throw std::runtime_error("no licence"); });
        EXPECT_THROW(ClientCreateWithOpTree(source), std::runtime_error);
    }
    EXPECT_TRUE(ClientCreateWithOpTree(source)) << "no lock may have been left behind";
}

TEST(ClientFactory, LeavesATreeThatCannotBeCookedToTheFirstCook) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(
        Group({{"tag", OpEntry(UniqueTag())}, {"loop", OpEntry("Merge", {}, {"loop"})}}));
    const Client client = ClientCreateWithOpTree(source);
    ASSERT_TRUE(client);
    EXPECT_THROW(client->cookLocation("/root"), std::runtime_error);
}

// Threads -----------------------------------------------------------------------------------------

TEST(ClientFactory, MakesOneClientAfterTheOther) {
    std::atomic<int> making{0};
    std::atomic<bool> metAnother{false};
    const ScopedRuntimeFactory watched([&] {
        if (making.fetch_add(1) != 0) metAnother = true;
        for (int i = 0; i < 100; ++i)
            std::this_thread::yield();
        making.fetch_sub(1);
        return TellarRuntime::create();
    });
    RunTogether(8, [](int) { EXPECT_TRUE(ClientCreateWithOpTree(UniqueSource())); });
    EXPECT_EQ(watched.count(), 8);
    EXPECT_FALSE(metAnother);
}

} // namespace
