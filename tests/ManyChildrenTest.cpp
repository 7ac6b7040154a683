#include <OxTellarProducers/GeometryProducer.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "SceneBuilders.h"
#include "TestOps.h"

// Children by name below a location that has a hundred thousand of them.

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;

constexpr int kChildren = 100000;

std::string NameOfChild(int index) {
    return "child_" + std::to_string(index);
}

class ManyChildren : public testing::Test {
protected:
    static GeometryProducer::Ptr MakeRoot() {
        std::vector<std::string> names;
        for (int i = 0; i < kChildren; ++i)
            names.push_back(NameOfChild(i));
        return TELLAR::CreateSyncGeometryProducer(
            MakeClient(TestTree(OxAttribute::StringAttribute(names, 1))), "/root");
    }
    const GeometryProducer::Ptr root = MakeRoot();
};

TEST_F(ManyChildren, AreFoundByNameInAnyOrder) {
    for (int i = 0; i < 1000; ++i) {
        const std::string name = NameOfChild(i * 7919 % kChildren);
        const auto child = root->getChildByName(name.c_str());
        ASSERT_TRUE(child) << name;
        EXPECT_EQ(child->getName(), name);
        EXPECT_EQ(child->getFullName(), "/root/" + name);
    }
}

TEST_F(ManyChildren, GoOnWithTheirSiblings) {
    const auto child = root->getProducerByPath("/root/child_77777");
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getNextSibling()->getName(), "child_77778");
    EXPECT_EQ(child->getChildByName("..", false)->getChildByName("child_5", false)->getName(),
              "child_5");
}

TEST_F(ManyChildren, AreNotFoundByOtherNames) {
    EXPECT_FALSE(root->getChildByName("child_100000"));
    EXPECT_FALSE(root->getChildByName("child_"));
    EXPECT_FALSE(root->getProducerByPath("/root/child_99999/child_1"));
}

} // namespace
