#include "LocationTarget.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "ProducerHelpers.h"
#include "SceneBuilders.h"
#include "TestOps.h"

// How producers ask clients for the children of a location, whatever the platform offers.

namespace {

using namespace TellarTest;
using TELLAR::BaseGeometryProducer;
using TELLAR::ChildByIndex;
using LocationData = TellarRuntime::LocationData;
using testing::ElementsAre;

/// A client of a platform that finds locations by their paths alone.
struct PathClient {
    LocationData cookLocation(const std::string& path) {
        asked.push_back("cook " + path);
        return LocationData(Group({}));
    }
    LocationData getCachedLocation(const std::string& path) {
        asked.push_back("get " + path);
        return LocationData(Group({}));
    }
    std::vector<std::string> asked;
};

/// A client that finds children as well, unless it says that it cannot.
struct IndexClient : PathClient {
    LocationData cookChild(const LocationData&, std::int64_t index) {
        asked.push_back("cook " + std::to_string(index));
        return answer;
    }
    LocationData getCachedChild(const LocationData&, std::int64_t index) {
        asked.push_back("get " + std::to_string(index));
        return answer;
    }
    LocationData answer{Group({})};
};

/// Asks for the second child of /root in both ways.
template <typename Client>
std::vector<std::string> Ask(Client client) {
    const auto root =
        TELLAR::CreateSyncGeometryProducer(MakeClient(TestTree(Texts({"a", "b"}))), "/root");
    const LocationData data = root->getClient()->cookLocation("/root");
    const ChildByIndex child(dynamic_cast<BaseGeometryProducer&>(*root), data, 1);
    EXPECT_TRUE(child.cook(client).isValid());
    EXPECT_TRUE(child.getCached(client).isValid());
    return client.asked;
}

static_assert(!TELLAR::kFindsChildrenByIndex<PathClient>);
static_assert(TELLAR::kFindsChildrenByIndex<IndexClient>);
static_assert(TELLAR::kFindsChildrenByIndex<TellarRuntime::Client>,
              "the embedded platform's client does");

TEST(ChildByIndex, IsAskedForByPathWhereThePlatformKnowsNoOtherWay) {
    EXPECT_THAT(Ask(PathClient()), ElementsAre("cook /root/b", "get /root/b"));
}

TEST(ChildByIndex, IsAskedForByIndexWhereThePlatformOffersThat) {
    EXPECT_THAT(Ask(IndexClient()), ElementsAre("cook 1", "get 1"));
}

TEST(ChildByIndex, IsAskedForByPathWhenItIsNotFoundByIndex) {
    IndexClient client;
    client.answer = LocationData();
    EXPECT_THAT(Ask(client), ElementsAre("cook 1", "cook /root/b", "get 1", "get /root/b"));
}

} // namespace
