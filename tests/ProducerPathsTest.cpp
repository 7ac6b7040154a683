#include <OxTellarProducers/GeometryProducer.h>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "AskedProducer.h"
#include "ProducerHelpers.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using TELLAR::CreateStaticGeometryProducer;
using TELLAR::GeometryProducer;
using testing::ElementsAre;

using Ptr = GeometryProducer::Ptr;

/// /root/{world/{geo, cam}, materials}
class ProducerByPath : public testing::Test {
protected:
    const Ptr root = StaticRoot(
        Location({}, {{"world", Location({}, {{"geo", Location({})}, {"cam", Location({})}})},
                      {"materials", Location({})}}));
    const Ptr world = root->getChildByName("world", false);
    const Ptr geo = world->getChildByName("geo", false);
};

TEST_F(ProducerByPath, IsTheProducerItselfForItsOwnName) {
    EXPECT_EQ(root->getProducerByPath("/root", false), root);
    EXPECT_EQ(root->getProducerByPath("root", false), root);
    EXPECT_EQ(geo->getProducerByPath("geo", false), geo);
}

TEST_F(ProducerByPath, IsFoundBelowTheProducer) {
    EXPECT_EQ(NameOf(root->getProducerByPath("/root/world/geo", false)), "/root/world/geo");
    EXPECT_EQ(NameOf(root->getProducerByPath("root/world/geo", false)), "/root/world/geo");
    EXPECT_EQ(NameOf(world->getProducerByPath("world/cam", false)), "/root/world/cam");
}

TEST_F(ProducerByPath, IsFoundWhateverTheNumberOfLeadingSlashes) {
    EXPECT_EQ(NameOf(root->getProducerByPath("///root/world", false)), "/root/world");
}

TEST_F(ProducerByPath, IsNullUnlessThePathStartsWithTheProducersName) {
    EXPECT_EQ(root->getProducerByPath("/world", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("world/geo", false), nullptr);
    EXPECT_EQ(world->getProducerByPath("/root/world", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/roo", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root2", false), nullptr);
}

TEST_F(ProducerByPath, IsNullWithoutAnyNameInThePath) {
    EXPECT_EQ(root->getProducerByPath("", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("///", false), nullptr);
}

TEST_F(ProducerByPath, IsAProducerWithoutANameForAPathWithoutOne) {
    const Ptr nameless = CreateStaticGeometryProducer("/", Location({}), nullptr);
    EXPECT_EQ(nameless->getProducerByPath("", false), nameless);
    EXPECT_EQ(nameless->getProducerByPath("/", false), nameless);
}

TEST_F(ProducerByPath, IsNullForALocationThatDoesNotExist) {
    EXPECT_EQ(root->getProducerByPath("/root/nothing", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root/nothing/geo", false), nullptr);
}

TEST_F(ProducerByPath, IsNullForASlashAtTheEndOrTwoInTheMiddle) {
    EXPECT_EQ(root->getProducerByPath("root/world/", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root/", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("root//world", false), nullptr);
}

TEST_F(ProducerByPath, IsReachedThroughTheParent) {
    EXPECT_EQ(NameOf(geo->getProducerByPath("../cam", false)), "/root/world/cam");
    EXPECT_EQ(NameOf(geo->getProducerByPath("../../materials", false)), "/root/materials");
    EXPECT_EQ(geo->getProducerByPath("..", false), world);
    EXPECT_EQ(geo->getProducerByPath("../..", false), root);
}

TEST_F(ProducerByPath, IsReachedFromTheProducerItself) {
    EXPECT_EQ(geo->getProducerByPath(".", false), geo);
    EXPECT_EQ(NameOf(world->getProducerByPath("./geo", false)), "/root/world/geo");
}

TEST_F(ProducerByPath, MayGoUpAndStayInTheMiddleOfThePath) {
    EXPECT_EQ(NameOf(world->getProducerByPath("world/geo/../cam", false)), "/root/world/cam");
    EXPECT_EQ(NameOf(root->getProducerByPath("/root/./world/./geo", false)), "/root/world/geo");
}

TEST_F(ProducerByPath, IsReachedThroughDotsAlsoAfterLeadingSlashes) {
    EXPECT_EQ(NameOf(geo->getProducerByPath("/../cam", false)), "/root/world/cam");
}

TEST_F(ProducerByPath, IsNullAboveTheRoot) {
    EXPECT_EQ(root->getProducerByPath("..", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("../root", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("root/..", false), nullptr);
}

TEST_F(ProducerByPath, TakesAFirstNameThatOnlyBeginsWithADotForAName) {
    const Ptr hidden = CreateStaticGeometryProducer("/root/.hidden", Location({}), nullptr);
    EXPECT_EQ(hidden->getProducerByPath(".hidden", false), hidden);
    EXPECT_EQ(hidden->getProducerByPath("...", false), nullptr);
}

TEST_F(ProducerByPath, IsMadeAnewOnEveryRequest) {
    const Ptr first = root->getProducerByPath("/root/world/geo", false);
    const Ptr second = root->getProducerByPath("/root/world/geo", false);
    EXPECT_NE(first, second);
    EXPECT_NE(first->getParent(), second->getParent());
}

TEST_F(ProducerByPath, KeepsTheProducersItCameThrough) {
    Ptr found = root->getProducerByPath("/root/world/geo", false);
    EXPECT_EQ(NameOf(found->getParent()), "/root/world");
    EXPECT_EQ(found->getParent()->getParent(), root);
}

TEST(GeometryProducer, EvictsOnlyTheLastLocationOfAPath) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("/root/a/b/c", true);
    EXPECT_THAT(questions, ElementsAre("root looks at a", "a looks at b", "b evicts c"));
}

TEST(GeometryProducer, EvictsNothingOnAPathUnlessAsked) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("/root/a/b", false);
    EXPECT_THAT(questions, ElementsAre("root looks at a", "a looks at b"));
}

TEST(GeometryProducer, EvictsNothingWhenAPathNamesTheProducerItself) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    EXPECT_EQ(root->getProducerByPath("/root", true), root);
    EXPECT_THAT(questions, ElementsAre());
}

TEST(GeometryProducer, LooksUpEmptyNamesOfAPathLikeOthers) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("/root//b/", true);
    EXPECT_THAT(questions, ElementsAre("root looks at ", " looks at b", "b evicts "));
}

TEST(GeometryProducer, ResolvesDotsOfAPathByAskingForThem) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("./../a", true);
    EXPECT_THAT(questions, ElementsAre("root looks at .", ". looks at ..", ".. evicts a"));
}

/// Paths as callers write them, good ones and bad ones.
std::vector<std::string> WrittenPaths() {
    std::vector<std::string> paths = {"", "/", "//", ".", "..", "/root/..", "/root/../root"};
    for (const char* start : {"/root", "root", "//root", "./world", "other", "ro\0ot"})
        for (const char* rest :
             {"", "/", "/world", "/world/", "//world", "/./world", "/world/../world", "/world/geo",
              "/world/geo/..", "/world/none", "/world/geo/x"})
            paths.push_back(std::string(start) + rest);
    paths.emplace_back("/root/wor\0ld", 12);
    paths.emplace_back("/root\0/world", 12);
    paths.emplace_back("/root/world\0/geo", 16);
    return paths;
}

TEST(ProducerByPathOfARuntime, IsWhatAProducerOfAnotherKindFinds) {
    const OxAttribute::GroupAttribute tree =
        Location({}, {{"world", Location({}, {{"geo", Location({})}, {"cam", Location({})}})},
                      {"materials", Location({})}});
    const Ptr root = TELLAR::CreateThreadAwareGeometryProducer(SceneTree(tree), "/root");
    const Ptr expected = StaticRoot(tree);
    int found = 0;
    for (const std::string& path : WrittenPaths()) {
        const Ptr location = root->getProducerByPath(path);
        EXPECT_EQ(NameOf(location), NameOf(expected->getProducerByPath(path))) << path;
        if (location) ++found;
    }
    EXPECT_GT(found, 10);
}

} // namespace
