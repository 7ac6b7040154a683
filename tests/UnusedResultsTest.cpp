#include <OxTellarProducers/ClientFactory.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "SceneBuilders.h"
#include "TestOps.h"
#include "UniqueScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::ClientCreateWithOpTree;
using TELLAR::ClientInvalidate;
using TELLAR::OpTreeSource;

using Client = std::shared_ptr<TellarRuntime::Client>;

/// A scene whose locations tell by their attribute "cook" when they were cooked.
GroupAttribute CountedScene(const GroupAttribute& scene, int edit = 0) {
    return Group({{"scene", OpEntry("StaticScene", scene)},
                  {"count", OpEntry("TestCount", {}, {"scene"})},
                  {"edit", OpEntry("AttributeEdit",
                                   Group({{"paths", Texts({"/root"})},
                                          {"set", Group({{"edit", Int(edit)}})}}),
                                   {"count"})}});
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
}

TEST(UnusedResults, AreFreedWhenAnotherSceneIsOpened) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    const int cook = CookOf(tree);
    OpenOtherScenes(1);
    EXPECT_GT(CookOf(tree), cook);
}

TEST(UnusedResults, OfASceneThatSomebodyHoldsStayWhenOthersAreOpened) {
    const GroupAttribute tree = CountedScene(UniqueScene());
    const auto held = TELLAR::CreateThreadAwareGeometryProducer(tree, "/root");
    OpenOtherScenes(5);
    EXPECT_EQ(CookOf(tree), IntOf(held->getAttribute("cook")));
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
