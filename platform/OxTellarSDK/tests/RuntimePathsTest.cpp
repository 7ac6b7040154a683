#include <OxTellarSDK/TellarRuntime.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;

class BadPath : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Paths, BadPath,
                         testing::Values("", "root", "/", "//", "///", "/a//b", "/a/", "/a/b/",
                                         "//a", "a/b", " /a", "/a//", std::string("\0", 1),
                                         std::string("\0/a", 3)));

TEST_P(BadPath, NamesNoLocation) {
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kSource), 1));
    for (const char* before : {"/a", "/a/b", "/a/b/c", "/x"}) {
        client->cookLocation(before); // where the thread was last must not matter
        const LocationData data = client->cookLocation(GetParam());
        EXPECT_TRUE(data.isValid());
        EXPECT_FALSE(data.doesLocationExist()) << before;
        EXPECT_FALSE(client->getCachedLocation(GetParam()).isValid());
        graph.runtime->evict(GetParam());
    }
}

TEST_P(BadPath, NamesNoLocationOfAnInput) {
    static const std::string kAsking = Register("TestAsking", [](CookContext& context) {
        const LocationData data = context.input(0, Text(context.args(), "path"));
        context.setAttrs(
            GroupAttribute({{"exists", IntAttribute(data.doesLocationExist())}}, true));
    });
    Graph graph;
    const Client client = graph.commit(
        graph.op(kAsking, {{"path", StringAttribute(GetParam())}}, {graph.op(kSource)}));
    EXPECT_EQ(Number(client->cookLocation("/a/b").getAttrs(), "exists"), 0);
    EXPECT_EQ(Number(client->cookLocation("/a/c").getAttrs(), "exists"), 0);
}

TEST(Paths, MayHoldAnyOtherBytes) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource));
    const std::vector<std::string> paths = {
        std::string("/a\0b", 4), "/a", std::string("/a\0", 3), "/ ", "/.", "/..", "/\xff\xfe",
        "/\xe6\x97\xa5/b c"};
    for (int round = 0; round < 2; ++round)
        for (const std::string& path : paths)
            EXPECT_EQ(Text(client->cookLocation(path).getAttrs(), "path"), path);
}

TEST(Paths, MayHaveNamesOfAnyLength) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource));
    for (int round = 0; round < 2; ++round) {
        for (const std::size_t length : {1, 15, 16, 17, 31, 32, 255, 100000}) {
            const std::string path =
                "/" + std::string(length, 'n') + "/" + std::string(length, 'm');
            EXPECT_EQ(Text(client->cookLocation(path).getAttrs(), "path"), path);
            EXPECT_TRUE(client->getCachedLocation(path).isValid());
        }
    }
}

TEST(Paths, LongNamesThatDifferAtTheEndAreToldApart) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("long names")}));
    const std::string name(40, 'n');
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 50; ++i)
            client->cookLocation("/" + name + std::to_string(i));
    EXPECT_EQ(Counter::take("long names"), 50);
}

TEST(Paths, MayBeVeryDeep) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("deep")}));
    std::string path;
    for (int i = 0; i < 50000; ++i)
        path += "/d";
    EXPECT_TRUE(Exists(client, path));
    EXPECT_TRUE(Exists(client, path + "/e"));
    EXPECT_TRUE(Exists(client, path.substr(0, 100)));
    EXPECT_TRUE(Exists(client, path));
    EXPECT_EQ(Counter::of("deep"), 3);
    graph.runtime->evict(path);
    EXPECT_TRUE(Exists(client, path));
    EXPECT_EQ(Counter::take("deep"), 4);
}

TEST(Paths, OneParentMayHaveVeryManyChildrenAskedForInAnyOrder) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("many children")}));
    std::vector<int> order(100000);
    for (int i = 0; i < 100000; ++i)
        order[static_cast<std::size_t>(i)] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(7));
    for (int round = 0; round < 2; ++round)
        for (const int child : order) {
            const std::string path = "/root/child" + std::to_string(child);
            ASSERT_EQ(Text(client->cookLocation(path).getAttrs(), "path"), path);
        }
    EXPECT_EQ(Counter::take("many children"), 100000);
    EXPECT_FALSE(client->getCachedLocation("/root/child100000").isValid());
}

TEST(Paths, AnyOrderOfWalkingFindsTheSameLocations) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("walk")}));
    std::vector<std::string> paths;
    for (const std::string a : {"/a", "/bb", "/ab"})
        for (const std::string b : {"", "/a", "/b", "/ab"})
            for (const std::string c : {"", "/a", "/ba"})
                if (!b.empty() || c.empty()) paths.push_back(a + b + c);
    std::mt19937 random(11);
    for (int i = 0; i < 5000; ++i) {
        const std::string& path = paths[random() % paths.size()];
        ASSERT_EQ(Text(client->cookLocation(path).getAttrs(), "path"), path);
        ASSERT_EQ(Text(client->getCachedLocation(path).getAttrs(), "path"), path);
    }
    EXPECT_EQ(Counter::take("walk"), static_cast<int>(paths.size()));
}
