// Op types that plug-ins offer as functions for C.
#include <OxTellarSDK/OpTypeSuite.h>

#include <dlfcn.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/PluginManager.h>
#include <OxTellarSDK/TellarError.h>

#include "PluginFolder.h"
#include "RunTogether.h"
#include "TestOps.h"

namespace {

using namespace TestOps;
using OxPluginManager::PluginManager;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class OpTypeSuite : public testing::Test {
protected:
    OpTypeSuite() { pluginFile(); }

    static const std::string& pluginFile() {
        static const PluginFolder folder;
        static const std::string file = folder.install("COpTypesPlugin", "ctypes.so");
        static const bool isAdded = (PluginManager::addSearchPath(folder.path()), true);
        (void)isAdded;
        return file;
    }

    static int liveStates() {
        void* const library = dlopen(pluginFile().c_str(), RTLD_NOW | RTLD_NOLOAD);
        auto* const count = reinterpret_cast<int (*)()>(dlsym(library, "CountLiveStates"));
        const int live = count();
        dlclose(library);
        return live;
    }

    static ErrorFacts errorAt(const Client& client, const std::string& path) {
        try {
            client->cookLocation(path);
        } catch (const TellarError& error) {
            return error.getFacts();
        }
        return {};
    }
};

TEST_F(OpTypeSuite, IsDescribedByItsPlugin) {
    const OxOpType::Description* const maker = OxOpType::FindDescription("TestCMaker");
    ASSERT_TRUE(maker);
    EXPECT_EQ(maker->version, 7);
    EXPECT_EQ(maker->summary, "Makes locations.");
    EXPECT_EQ(maker->inputs, "none");
    ASSERT_EQ(maker->arguments.size(), 1u);
    EXPECT_EQ(maker->arguments[0].name, "value");
    EXPECT_EQ(maker->arguments[0].type, "int");
    EXPECT_EQ(maker->arguments[0].summary, "Any number.");
}

TEST_F(OpTypeSuite, MakesLocationsWithNotesForTheirChildren) {
    Graph graph;
    const Client client = graph.commit(
        graph.chain(graph.op("TestCPass", {}, {graph.op("TestCMaker", {Value(42)})}), 2));
    const LocationData root = client->cookLocation("/root");
    EXPECT_EQ(Number(root.getAttrs(), "answer"), 42);
    EXPECT_FALSE(root.getAttrs().getChildByName("parent").isValid());
    EXPECT_THAT(StringsOf(root.getPotentialChildren()), ElementsAre("a", "b"));
    const LocationData child = client->cookChild(root, 1);
    EXPECT_EQ(Text(child.getAttrs(), "parent"), "/root");
    EXPECT_FALSE(child.getPotentialChildren().isValid());
}

TEST_F(OpTypeSuite, FreesItsStateWithTheResults) {
    const int before = liveStates();
    {
        Graph graph;
        const Client client = graph.commit(graph.op("TestCMaker", {Value(4711)}));
        EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "answer"), 4711);
        client->cookLocation("/root/a");
        EXPECT_EQ(liveStates(), before + 1);
    }
    EXPECT_EQ(liveStates(), before);
}

TEST_F(OpTypeSuite, PassesTheErrorOfAnInputOn) {
    Graph graph;
    const Op failing = graph.op(kThrow, {{"message", StringAttribute("why")}}, {}, "deep");
    const Client client = graph.commit(graph.op("TestCPass", {}, {failing}, "passing"));
    const ErrorFacts facts = errorAt(client, "/root");
    EXPECT_EQ(facts.text, "Op \"deep\" (TestThrow) at \"/root\": why");
    EXPECT_EQ(facts.op, "deep");
}

TEST_F(OpTypeSuite, NamesTheOpOfAnErrorOfItsOwn) {
    Graph graph;
    const Client wrong = graph.client(graph.op("TestCWrong", {}, {}, "wrong"));
    const Client refusing = graph.client(graph.op("TestCMaker", {Value(13)}, {}, "refusing"));
    graph.commit();
    const ErrorFacts facts = errorAt(wrong, "/root");
    EXPECT_EQ(facts.text,
              "Op \"wrong\" (TestCWrong) at \"/root\": setAttributes: attributes is not a group");
    EXPECT_EQ(facts.code, kOxErrorBadCall);
    EXPECT_EQ(facts.attribute, "attributes");
    EXPECT_EQ(facts.opType, "TestCWrong");
    EXPECT_EQ(errorAt(refusing, "/root").text,
              "Op \"refusing\" (TestCMaker) at \"/root\": it failed without an error");
}

TEST_F(OpTypeSuite, HasNoLocationsWithoutAnInput) {
    Graph graph;
    const Client client = graph.commit(graph.op("TestCPass", {}, {nullptr}));
    EXPECT_FALSE(Exists(client, "/root"));
}

TEST_F(OpTypeSuite, IsCookedByManyThreads) {
    Graph graph;
    const Client client =
        graph.commit(graph.op("TestCPass", {}, {graph.op("TestCMaker", {Value(8)})}));
    RunTogether(8, [&](int) {
        for (int i = 0; i < 200; ++i)
            EXPECT_EQ(
                Number(client->cookLocation("/root/a" + std::to_string(i)).getAttrs(), "answer"),
                8);
    });
}

TEST_F(OpTypeSuite, RefusesFaultyTables) {
    EXPECT_FALSE(OxOpType::FindOpType("TestCSmall"));
    std::vector<std::string> reasons;
    for (const OxPluginManager::RefusedPlugin& refused : PluginManager::refused())
        if (refused.file == pluginFile()) reasons.push_back(refused.reason);
    EXPECT_THAT(reasons, UnorderedElementsAre(
                             HasSubstr("its function table is smaller than that of version 2"),
                             HasSubstr("getDescription gives no description"),
                             HasSubstr("its function table has no cook")));
}

} // namespace
