#include <OxTellarProducers/ClientFactory.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include <OxTellarSDK/AttributeStream.h>

#include "CapturedLog.h"
#include "PathWithHash.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TempDirectory.h"
#include "UniqueScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::ClientCreateWithOpTree;
using TELLAR::ClientInvalidate;
using TELLAR::OpTreeSource;
using testing::IsEmpty;

using Client = std::shared_ptr<TellarRuntime::Client>;

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
    ClientCreateWithOpTree(UniqueSource()); // learns that a is free
    ClientInvalidate(b);
    EXPECT_EQ(ClientCreateWithOpTree(source), b);
    EXPECT_EQ(ClientCreateWithOpTree(source), a);
}

TEST(ClientFactory, ReleasesAClientOnceWhenItIsHandedBackTwice) {
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    ClientInvalidate(first);
    ClientInvalidate(first);
    EXPECT_EQ(ClientCreateWithOpTree(source), first);
    EXPECT_NE(ClientCreateWithOpTree(source), first) << "the first is in use again";
}

TEST(ClientFactory, ReleasesAClientOnceWhenItIsHandedBackBeforeAndAfterACreation) {
    const OpTreeSource source = UniqueSource();
    const Client first = ClientCreateWithOpTree(source);
    ClientInvalidate(first);
    ClientCreateWithOpTree(UniqueSource()); // learns that it is free
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

} // namespace
