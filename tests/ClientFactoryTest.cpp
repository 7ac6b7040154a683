#include <OxTellarProducers/ClientFactory.h>

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxRenderServices/AnalyticsManager.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CapturedLog.h"
#include "PathWithHash.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TempDirectory.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxRenderServices::AnalyticsManager;
using TELLAR::ClientCreateWithOpTree;
using TELLAR::ClientInvalidate;
using TELLAR::OpTreeSource;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

using Client = std::shared_ptr<TellarRuntime::Client>;

/// A tree that no other test has: the factory remembers its clients for ever.
OpTreeSource UniqueSource() {
    return OpTreeSource::createFromGroupAttribute(
        SceneTree(Location({{"tag", Text(UniqueTag())}}, {{"world", Location({})}})));
}

/// In a process that has asked for no plug-ins so far: makes a client, which loads a plug-in that
/// opens a scene meanwhile. Ends the process with 0 when both have what they wanted.
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

// Giving clients back -----------------------------------------------------------------------------

TEST(ClientFactory, ReusesAClientThatWasGivenBackForAnEqualSource) {
    const TempDirectory folder;
    const std::string path = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(path, SceneTree(Location({{"tag", Text(UniqueTag())}})));
    const ScopedRuntimeFactory runtimes;
    const Client first = ClientCreateWithOpTree(OpTreeSource::createFromFile(path));
    ClientInvalidate(first);
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile(path)), first);
    EXPECT_EQ(runtimes.count(), 1);
}

TEST(ClientFactory, ReusesAClientForAnEqualDescription) {
    const std::string tag = UniqueTag();
    const auto source = [&tag] {
        return OpTreeSource::createFromGroupAttribute(SceneTree(Location({{"tag", Text(tag)}})));
    };
    const Client first = ClientCreateWithOpTree(source());
    ClientInvalidate(first);
    EXPECT_EQ(ClientCreateWithOpTree(source()), first);
}

TEST(ClientFactory, ReusesAClientAsItIsWithWhatItHasCooked) {
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    first->cookLocation("/root");
    ClientInvalidate(first);
    EXPECT_TRUE(ClientCreateWithOpTree(source)->getCachedLocation("/root").isValid());
}

TEST(ClientFactory, ReusesAClientWithoutLookingForTheFileAgain) {
    const TempDirectory folder;
    const std::string path = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(path, SceneTree(Location({})));
    const OpTreeSource source = OpTreeSource::createFromFile(path);
    const Client first = ClientCreateWithOpTree(source);
    ClientInvalidate(first);
    std::filesystem::remove(path);
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(source), first);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ClientFactory, KeepsAReleasedClientForItsOwnSource) {
    const OpTreeSource source = UniqueSource();
    const OpTreeSource otherSource = UniqueSource();
    const ScopedRuntimeFactory runtimes;
    const Client first = ClientCreateWithOpTree(source);
    ClientInvalidate(first);
    const Client other = ClientCreateWithOpTree(otherSource);
    EXPECT_NE(other, first);
    EXPECT_NE(other->getRuntime(), first->getRuntime());
    EXPECT_EQ(runtimes.count(), 2);
    EXPECT_EQ(ClientCreateWithOpTree(source), first);
    EXPECT_EQ(runtimes.count(), 2);
}

TEST(ClientFactory, ReusesTheClientOfAnotherKindOfSourceWithAnEqualHash) {
    const GroupAttribute tree = SceneTree(Location({{"tag", Text(UniqueTag())}}));
    const TempDirectory folder;
    const std::string path = PathWithHash(folder.path(""), tree.getHash().words[0]);
    ASSERT_NE(path, "");
    OxAttribute::WriteOpFile(path, SceneTree(Location({{"tag", Text(UniqueTag())}})));
    const OpTreeSource ofFile = OpTreeSource::createFromFile(path);
    const Client first = ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(tree));
    ClientInvalidate(first);
    EXPECT_EQ(ClientCreateWithOpTree(ofFile), first);
    EXPECT_NE(ClientCreateWithOpTree(ofFile), first) << "it is in use";
}

TEST(ClientFactory, HandsOutTheLastOneGivenBackFirst) {
    const OpTreeSource source = UniqueSource();
    const Client a = ClientCreateWithOpTree(source);
    const Client b = ClientCreateWithOpTree(source);
    const Client c = ClientCreateWithOpTree(source);
    ClientInvalidate(b);
    ClientInvalidate(c);
    ClientInvalidate(a);
    EXPECT_EQ(ClientCreateWithOpTree(source), a);
    EXPECT_EQ(ClientCreateWithOpTree(source), c);
    EXPECT_EQ(ClientCreateWithOpTree(source), b);
    const Client fourth = ClientCreateWithOpTree(source);
    EXPECT_TRUE(fourth != a && fourth != b && fourth != c);
}

TEST(ClientFactory, HandsOutTheLastOneGivenBackFirstAlsoAcrossCreations) {
    const OpTreeSource source = UniqueSource();
    const Client a = ClientCreateWithOpTree(source);
    const Client b = ClientCreateWithOpTree(source);
    ClientInvalidate(a);
    ClientCreateWithOpTree(UniqueSource()); // takes note of a
    ClientInvalidate(b);
    EXPECT_EQ(ClientCreateWithOpTree(source), b);
    EXPECT_EQ(ClientCreateWithOpTree(source), a);
}

TEST(ClientFactory, ReleasesAClientOnceThatWasGivenBackTwice) {
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    ClientInvalidate(first);
    ClientInvalidate(first);
    EXPECT_EQ(ClientCreateWithOpTree(source), first);
    EXPECT_NE(ClientCreateWithOpTree(source), first) << "the first is in use again";
}

TEST(ClientFactory, ReleasesAClientOnceThatWasGivenBackAgainAfterItWasTakenNoteOf) {
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    ClientInvalidate(first);
    ClientCreateWithOpTree(UniqueSource()); // takes note of it
    ClientInvalidate(first);
    EXPECT_EQ(ClientCreateWithOpTree(source), first);
    EXPECT_NE(ClientCreateWithOpTree(source), first);
}

TEST(ClientFactory, TakesAClientBackEveryTimeItIsUsedAgain) {
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    for (int round = 0; round < 3; ++round) {
        ClientInvalidate(first);
        EXPECT_EQ(ClientCreateWithOpTree(source), first);
    }
}

TEST(ClientFactory, HoldsAClientThatWasGivenBackUntilTheNextCreation) {
    const Client foreign = MakeClient(SceneTree(Location({})));
    EXPECT_EQ(foreign.use_count(), 1);
    ClientInvalidate(foreign);
    EXPECT_EQ(foreign.use_count(), 2);
    ClientCreateWithOpTree(UniqueSource());
    EXPECT_EQ(foreign.use_count(), 1);
}

TEST(ClientFactory, TakesNoteOfWhatWasGivenBackAlsoWhenACreationFails) {
    const Client foreign = MakeClient(SceneTree(Location({})));
    ClientInvalidate(foreign);
    const CapturedLog log;
    EXPECT_EQ(ClientCreateWithOpTree(OpTreeSource::createFromFile("")), nullptr);
    EXPECT_EQ(foreign.use_count(), 1);
}

TEST(ClientFactory, AcceptsAndIgnoresClientsThatItDidNotMake) {
    const GroupAttribute tree = SceneTree(Location({{"tag", Text(UniqueTag())}}));
    const Client foreign = MakeClient(tree);
    ClientInvalidate(foreign);
    ClientInvalidate(nullptr);
    const Client made = ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(tree));
    EXPECT_TRUE(made);
    EXPECT_NE(made, foreign);
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

// Records of use ----------------------------------------------------------------------------------

class ClientFactoryRecords : public testing::Test {
protected:
    TempDirectory folder;

    ClientFactoryRecords() { AnalyticsManager::enable(folder.path("records.jsonl")); }
    ~ClientFactoryRecords() override { AnalyticsManager::disable(); }

    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        std::istringstream file(folder.read("records.jsonl"));
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }
};

TEST_F(ClientFactoryRecords, TellTheOpTreeAndThenTheOpTypes) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(
        Group({{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}}))},
               {"merge", OpEntry("Merge", {}, {"scene", "missing"})}}));
    ASSERT_TRUE(ClientCreateWithOpTree(source));
    EXPECT_THAT(lines(), ElementsAre("{\"name\":\"runtime.opTree\",\"value\":{\"ops\":["
                                     "{\"type\":\"StaticScene\",\"inputs\":[]},"
                                     "{\"type\":\"Merge\",\"inputs\":[0,null]}]}}",
                                     "{\"name\":\"runtime.opRegistry\",\"value\":{\"opTypes\":["
                                     "{\"type\":\"Merge\",\"ops\":1},"
                                     "{\"type\":\"StaticScene\",\"ops\":1}]}}"));
}

TEST_F(ClientFactoryRecords, HoldALargeTreeThatTheRuntimeTellsInPieces) {
    Children ops{{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}}))}};
    for (int i = 1; i < 400; ++i)
        ops.emplace_back("op" + std::to_string(i), OpEntry("Merge", {}, {"scene"}));
    ASSERT_TRUE(ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(Group(ops))));
    ASSERT_THAT(lines(), SizeIs(2));
    rapidjson::Document record;
    record.Parse(lines()[0].c_str());
    ASSERT_FALSE(record.HasParseError());
    EXPECT_EQ(record["value"]["ops"].Size(), 400u);
}

TEST_F(ClientFactoryRecords, AreWrittenForNewClientsOnly) {
    const OpTreeSource source = UniqueSource();
    ClientInvalidate(ClientCreateWithOpTree(source));
    ClientCreateWithOpTree(source);
    EXPECT_THAT(lines(), SizeIs(2));
}

TEST_F(ClientFactoryRecords, AreNotWrittenForCreationsThatFail) {
    const CapturedLog log;
    ClientCreateWithOpTree(OpTreeSource::createFromFile(""));
    ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(GroupAttribute(true)));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ClientFactoryRecords, AreNotWrittenWhileAnalyticsAreDisabled) {
    AnalyticsManager::disable();
    EXPECT_TRUE(ClientCreateWithOpTree(UniqueSource()));
    EXPECT_THAT(lines(), IsEmpty());
}

// Threads -----------------------------------------------------------------------------------------

TEST(ClientFactory, NeverHandsOneClientToTwoThreadsAtOnce) {
    constexpr int kThreads = 8;
    const OpTreeSource source = UniqueSource();
    const ScopedRuntimeFactory runtimes;
    std::mutex lock;
    std::set<Client> inUse;
    RunTogether(kThreads, [&](int) {
        for (int round = 0; round < 100; ++round) {
            const Client client = ClientCreateWithOpTree(source);
            ASSERT_TRUE(client);
            {
                const std::lock_guard<std::mutex> guard(lock);
                EXPECT_TRUE(inUse.insert(client).second);
            }
            EXPECT_TRUE(client->cookLocation("/root/world").doesLocationExist());
            {
                const std::lock_guard<std::mutex> guard(lock);
                inUse.erase(client);
            }
            ClientInvalidate(client);
        }
    });
    EXPECT_LE(runtimes.count(), kThreads);
}

TEST(ClientFactory, TakesClientsBackWhileAnotherThreadIsInTheMiddleOfACreation) {
    const OpTreeSource source = UniqueSource();
    const Client foreign = MakeClient(SceneTree(Location({})));
    std::atomic<bool> isCreating{false};
    std::atomic<bool> mayGoOn{false};
    const ScopedRuntimeFactory slow([&] {
        isCreating = true;
        while (!mayGoOn)
            std::this_thread::yield();
        return TellarRuntime::create();
    });
    std::thread creator([&source] { EXPECT_TRUE(ClientCreateWithOpTree(source)); });
    while (!isCreating)
        std::this_thread::yield();
    ClientInvalidate(foreign); // would never return if it waited
    EXPECT_EQ(foreign.use_count(), 2);
    mayGoOn = true;
    creator.join();
}

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

// Results that nobody uses
// -------------------------------------------------------------------------

/// A scene whose locations tell by their attribute "cook" when they were cooked.
GroupAttribute CountedScene(const GroupAttribute& scene, int edit = 0) {
    return Group({{"scene", OpEntry("StaticScene", scene)},
                  {"count", OpEntry("TestCount", {}, {"scene"})},
                  {"edit", OpEntry("AttributeEdit",
                                   Group({{"paths", Texts({"/root"})},
                                          {"set", Group({{"edit", Int(edit)}})}}),
                                   {"count"})}});
}

GroupAttribute UniqueScene() {
    return Location({{"tag", Text(UniqueTag())}}, {{"world", Location({})}});
}

/// Opens the scene, looks at /root and lets go of everything.
int CookOf(const GroupAttribute& tree) {
    return IntOf(TELLAR::CreateThreadAwareGeometryProducer(tree, "/root")->getAttribute("cook"));
}

void OpenOtherScenes(int count) {
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(
            TELLAR::CreateThreadAwareGeometryProducer(SceneTree(UniqueScene()), "/root/world"));
}

TEST(UnusedResults, OfTheSceneLetGoOfLastAreFoundAgain) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    const int cook = CookOf(tree);
    EXPECT_EQ(CookOf(tree), cook);
    OpenOtherScenes(1);
    EXPECT_EQ(CookOf(tree), cook);
}

TEST(UnusedResults, AreFreedWhenOtherScenesAreOpened) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    const int cook = CookOf(tree);
    OpenOtherScenes(20);
    const int again = CookOf(tree);
    EXPECT_GT(again, cook);
    OpenOtherScenes(20);
    EXPECT_GT(CookOf(tree), again) << "the thread's client has them freed a second time";
}

TEST(UnusedResults, AreFreedWhenScenesAreOpenedAgainToo) {
    std::vector<GroupAttribute> trees;
    for (int i = 0; i < 5; ++i)
        trees.push_back(CountedScene(UniqueScene()));
    std::vector<int> cooks;
    for (const GroupAttribute& tree : trees)
        cooks.push_back(CookOf(tree));
    for (int round = 0; round < 3; ++round)
        for (std::size_t i = 0; i < trees.size(); ++i) {
            const int cook = CookOf(trees[i]);
            EXPECT_GT(cook, cooks[i]);
            cooks[i] = cook;
        }
}

TEST(UnusedResults, AreFreedAtOnceOnRequest) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    const int cook = CookOf(tree);
    TELLAR::ClientFreeUnusedResults();
    EXPECT_GT(CookOf(tree), cook);
}

TEST(UnusedResults, OfAClientThatWasDroppedOrGivenBackAreFreed) {
    for (const bool isGivenBack : {false, true}) {
        const OpTreeSource source =
            OpTreeSource::createFromGroupAttribute(CountedScene(UniqueScene()));
        Client client = ClientCreateWithOpTree(source);
        const auto cooked = client->cookLocation("/root").getAttrs();
        const std::weak_ptr<TellarRuntime::Client> kept = client;
        if (isGivenBack) ClientInvalidate(client);
        client.reset();
        TELLAR::ClientFreeUnusedResults();
        ASSERT_FALSE(kept.expired()) << "the client itself stays";
        EXPECT_FALSE(kept.lock()->getCachedLocation("/root").isValid());
        EXPECT_GT(IntOf(kept.lock()->cookLocation("/root").getAttrs().getChildByName("cook")),
                  IntOf(cooked.getChildByName("cook")));
    }
}

TEST(UnusedResults, AreThoseOfNoClientThatSomebodyHolds) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    Client client = ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(tree));
    client->cookLocation("/root");
    const auto root = TELLAR::CreateAsyncGeometryProducer(client, "/root");
    client.reset();
    TELLAR::ClientFreeUnusedResults();
    EXPECT_TRUE(root->getClient()->getCachedLocation("/root").isValid());

    const GroupAttribute other = CountedScene(UniqueScene());
    const auto held = TELLAR::CreateThreadAwareGeometryProducer(other, "/root");
    TELLAR::ClientFreeUnusedResults();
    EXPECT_TRUE(held->getClient()->getCachedLocation("/root").isValid());
}

TEST(UnusedResults, OfEndedThreadsAreFreed) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    int cook = 0;
    std::thread([&] { cook = CookOf(tree); }).join();
    TELLAR::ClientFreeUnusedResults();
    EXPECT_GT(CookOf(tree), cook);
}

TEST(UnusedResults, BelowAnEditAreFoundByTheEditedScene) {
    const GroupAttribute scene = UniqueScene();
    const int cook = CookOf(CountedScene(scene, 0));
    for (int edit = 1; edit < 10; ++edit)
        EXPECT_EQ(CookOf(CountedScene(scene, edit)), cook) << edit;
}

} // namespace
