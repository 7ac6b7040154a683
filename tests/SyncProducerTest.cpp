#include <OxTellarProducers/SyncGeometryProducer.h>

#include <memory>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::CreateSyncGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::SyncGeometryProducer;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;

TEST(SyncProducer, HasTheClientItWasMadeWith) {
    const Client client = MakeClient(TestTree(Texts({"a"})));
    const Ptr root = CreateSyncGeometryProducer(client, "/root");
    EXPECT_EQ(root->getClient(), client);
    EXPECT_EQ(root->getFirstChild(false)->getClient(), client);
    EXPECT_TRUE(dynamic_cast<SyncGeometryProducer*>(root.get()));
}

TEST(SyncProducer, CooksForItsClientsRuntime) {
    const Client client = MakeClient(TestTree(Texts({"a"})));
    const Ptr root = CreateSyncGeometryProducer(client, "/root");
    EXPECT_FALSE(client->getCachedLocation("/root/a").isValid());
    root->getFirstChild(false);
    EXPECT_TRUE(client->getCachedLocation("/root/a").isValid());
}

TEST(SyncProducer, HasNoSiblingUnderAParentThatListsNoChildren) {
    const GroupAttribute tree = TestTree(Texts({}));
    const Ptr hidden = CreateSyncGeometryProducer(MakeClient(tree), "/root/hidden");
    ASSERT_TRUE(hidden) << "it exists, although nobody lists it";
    EXPECT_EQ(hidden->getNextSibling(false), nullptr);
}

} // namespace
