#include "FlattenedMaterials.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include "SceneBuilders.h"
#include "TempDirectory.h"

// The memory of flattened materials: how much is read for it, how long it is held, and what becomes
// of it when threads or calls meet.

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using TELLAR::EmptyFlattenedMaterialCache;
using TELLAR::FlattenedMaterials;
using TELLAR::GetFlattenedMaterialAttr;
using Materials = FlattenedMaterials::Materials;
using Names = FlattenedMaterials::TerminalNames;

GroupAttribute Named(const std::string& name) {
    return Group({{"name", Text(name)}, {"lengthy", Texts(std::vector<std::string>(100, name))}});
}

GroupAttribute Nearest(const Materials& materials, const Names&) {
    return materials.front();
}

/// A group that lies in a file.
GroupAttribute ReadFile(const std::string& path) {
    OxAttribute::FileStream stream(path, true);
    return GroupAttribute(
        Attribute::readAttributeStream(&stream, &OxAttribute::FileStream::read, 0));
}

/// Asks as many locations would, each with a material of its own below one that all have. Does so
/// twice, the second time with handles that nobody has asked with before.
void ShareManyBelowOne(FlattenedMaterials& known, const std::function<GroupAttribute(int)>& near,
                       const GroupAttribute& far) {
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(
                TextOf(known.share({near(i), far}, {"surface"}, 0, Nearest).getChildByName("name")),
                std::to_string(i));
}

std::uint32_t CountOf(const Attribute& attribute) {
    return *reinterpret_cast<const std::uint32_t*>(attribute.getHandle());
}

TEST(FlattenedMaterials, ReadEachMaterialInMemoryOnceForItsHash) {
    FlattenedMaterials known;
    Materials own;
    for (int i = 0; i < 50; ++i)
        own.push_back(Named(std::to_string(i)));
    ShareManyBelowOne(
        known, [&own](int i) { return own[static_cast<std::size_t>(i)]; }, Named("far"));
    EXPECT_EQ(known.numberOfHashedMaterials(), 51u);
}

TEST(FlattenedMaterials, ReadEachMaterialInAFileOnceForItsHash) {
    const TempDirectory folder;
    Children children{{"far", Named("far")}};
    for (int i = 0; i < 50; ++i)
        children.emplace_back("near" + std::to_string(i), Named(std::to_string(i)));
    OxAttribute::WriteAttributeFile(folder.path("materials"), Group(children));
    const GroupAttribute file(ReadFile(folder.path("materials")));
    const GroupAttribute far(file.getChildByName("far"));
    ASSERT_EQ((far.getHash(), far.getKeptHash()), OxAttribute::Hash()) << "it is in the file";

    FlattenedMaterials known;
    ShareManyBelowOne(
        known,
        [&file](int i) { return GroupAttribute(file.getChildByName("near" + std::to_string(i))); },
        far);
    EXPECT_EQ(known.numberOfHashedMaterials(), 51u);
}

TEST(FlattenedMaterials, ShareTheResultOfEqualMaterialsInMemoryAndInAFile) {
    const TempDirectory folder;
    OxAttribute::WriteAttributeFile(folder.path("material"), Named("a"));
    FlattenedMaterials known;
    const auto inMemory = known.share({Named("a")}, {}, 0, Nearest);
    const auto inFile = known.share({ReadFile(folder.path("material"))}, {}, 0, Nearest);
    EXPECT_EQ(inFile.getHandle(), inMemory.getHandle());
}

TEST(FlattenedMaterials, KeepNothingThatWasAskedForBeforeAllWasForgotten) {
    FlattenedMaterials known;
    GroupAttribute flattened;
    std::uint64_t generation = 0;
    ASSERT_FALSE(known.find("/root", flattened, generation));
    known.clear();
    const GroupAttribute material = Named("old");
    flattened = known.share({material}, {}, generation, Nearest);
    known.keep("/root", generation, flattened);
    EXPECT_EQ(TextOf(flattened.getChildByName("name")), "old") << "the caller gets it";
    flattened = {};
    EXPECT_EQ(CountOf(material), 1u);
    EXPECT_FALSE(known.find("/root", flattened, generation));
}

TEST(FlattenedMaterials, KeepNothingThatWasForgottenWhileItWasFlattened) {
    static FlattenedMaterials* known = nullptr;
    FlattenedMaterials made;
    known = &made;
    const GroupAttribute material = Named("old");
    made.share({material}, {}, 0, [](const Materials& materials, const Names&) {
        known->clear();
        return materials.front();
    });
    EXPECT_EQ(CountOf(material), 1u);
}

// Through the library -----------------------------------------------------------------------------

GroupAttribute Network(const std::string& node, const Children& more = {}) {
    Children children{{"style", Text("network")},
                      {"nodes", Group({{node, Group({{"name", Text(node)}})}})},
                      {"terminals", Group({{"surface", Text(node)}})}};
    children.insert(children.end(), more.begin(), more.end());
    return Group(children);
}

/// The location /root with a material. When it is asked for that, something else happens first.
class Interrupted final : public TELLAR::StaticGeometryProducer {
public:
    Interrupted(const GroupAttribute& material, std::function<void()> interruption)
        : StaticGeometryProducer("/root", Location({{"material", material}}), -1, nullptr),
          interrupt(std::move(interruption)) {}
    Attribute getAttribute(const char* name) override {
        interrupt();
        return StaticGeometryProducer::getAttribute(name);
    }

private:
    std::function<void()> interrupt;
};

GroupAttribute FlattenRoot(
    const GroupAttribute& material, const std::function<void()>& interruption = [] {}) {
    return GetFlattenedMaterialAttr(new Interrupted(material, interruption), Names{"surface"});
}

class FlattenedLocations : public testing::Test {
protected:
    void SetUp() override { EmptyFlattenedMaterialCache(); }
    void TearDown() override { EmptyFlattenedMaterialCache(); }
};

TEST_F(FlattenedLocations, HoldNoneOfTheMaterialsThatTheyAreMadeOf) {
    const GroupAttribute extra = Named("for another renderer");
    const GroupAttribute material = Network("n", {{"extra", extra}});
    FlattenRoot(material);
    EXPECT_EQ(CountOf(material), 1u);
}

TEST_F(FlattenedLocations, MayBeFlattenedByTwoAtOnceAndTheLaterStoreWins) {
    const auto outer = FlattenRoot(Network("outer"), [] { FlattenRoot(Network("inner")); });
    EXPECT_TRUE(outer.getChildByName("nodes.outer").isValid());
    EXPECT_EQ(FlattenRoot(Network("unused")).getHandle(), outer.getHandle());
}

TEST_F(FlattenedLocations, AreForgottenEvenWhileOneIsFlattened) {
    const GroupAttribute old = Network("old");
    const GroupAttribute nodes(old.getChildByName("nodes"));
    const std::uint32_t before = CountOf(nodes);
    EXPECT_TRUE(FlattenRoot(old, EmptyFlattenedMaterialCache).getChildByName("nodes.old").isValid())
        << "the caller gets it";
    EXPECT_EQ(CountOf(nodes), before) << "and nobody else";
    EXPECT_TRUE(FlattenRoot(Network("new")).getChildByName("nodes.new").isValid());
}

TEST_F(FlattenedLocations, PassOverAMaterialThatIsNoGroup) {
    const TELLAR::GeometryProducer::Ptr parent = new TELLAR::StaticGeometryProducer(
        "/root", Location({{"material", Network("far")}}), -1, nullptr);
    const TELLAR::GeometryProducer::Ptr child = new TELLAR::StaticGeometryProducer(
        "/root/child", Location({{"material", Text("no group")}}), -1, parent);
    EXPECT_EQ(
        TextOf(GetFlattenedMaterialAttr(child, {"surface"}).getChildByName("terminals.surface")),
        "far");
}

TEST(FlattenedList, CountsPlacesInDecimal) {
    Materials materials;
    Names terminals;
    for (int i = 0; i < 12; ++i) {
        const std::string name = "t" + std::to_string(i);
        terminals.push_back(name);
        materials.push_back(
            Group({{"style", Text("network")}, {"terminals", Group({{name, Text("node")}})}}));
    }
    const GroupAttribute flattened = GetFlattenedMaterialAttr(materials, terminals);
    EXPECT_EQ(TextOf(flattened.getChildByName("terminals.t9")), "node:9");
    EXPECT_EQ(TextOf(flattened.getChildByName("terminals.t10")), "node:10");
    EXPECT_EQ(TextOf(flattened.getChildByName("terminals.t11")), "node:11");
}

TEST(FlattenedList, IsLeftAsItWas) {
    const Materials materials = {Network("near"), Group({{"surfaceShader", Text("matte")}})};
    const Materials before = materials;
    const std::vector<std::string> texts = {materials[0].getXML(), materials[1].getXML()};
    GetFlattenedMaterialAttr(materials, {"surface", "displacement"});
    for (std::size_t i = 0; i < materials.size(); ++i) {
        EXPECT_EQ(materials[i].getHandle(), before[i].getHandle());
        EXPECT_EQ(materials[i].getXML(), texts[i]);
    }
}

} // namespace
