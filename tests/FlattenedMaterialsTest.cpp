// The cache of flattened materials: which hashes it reads, how long it keeps results, and calls
// that overlap. Also the flattening of lists.

#include <OxTellarProducers/MaterialFlattening.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include "ReferenceCount.h"
#include "SceneBuilders.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using TELLAR::EmptyFlattenedMaterialCache;
using TELLAR::GetFlattenedMaterialAttr;
using Materials = std::vector<GroupAttribute>;
using Names = std::vector<std::string>;

GroupAttribute Named(const std::string& name) {
    return Group({{"name", Text(name)}, {"lengthy", Texts(std::vector<std::string>(100, name))}});
}

/// A group that lies in a file.
GroupAttribute ReadFile(const std::string& path) {
    OxAttribute::FileStream stream(path, true);
    return GroupAttribute(
        Attribute::readAttributeStream(&stream, &OxAttribute::FileStream::read, 0));
}

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

/// The material of a location with one of its own, below another.
GroupAttribute FlattenPath(const std::string& path, const GroupAttribute& near,
                           const GroupAttribute& far) {
    const TELLAR::GeometryProducer::Ptr parent =
        new TELLAR::StaticGeometryProducer("/root", Location({{"material", far}}), -1, nullptr);
    return GetFlattenedMaterialAttr(
        new TELLAR::StaticGeometryProducer(path, Location({{"material", near}}), -1, parent),
        {"surface"});
}

TEST_F(FlattenedLocations, KeepTheHashesOfMaterialsInMemoryWithThem) {
    const GroupAttribute near = Named("near");
    const GroupAttribute far = Named("far");
    FlattenPath("/root/a", near, far);
    EXPECT_NE(near.getKeptHash(), OxAttribute::Hash());
    EXPECT_NE(far.getKeptHash(), OxAttribute::Hash());
}

/// Files of any size are mapped into memory while it lives.
class MappedFiles {
public:
    MappedFiles() : variable(std::in_place, "OX_CONFIG_MAP_FILES_ABOVE", "0") {
        Config()->reload();
    }
    ~MappedFiles() {
        variable.reset();
        Config()->reload();
    }

private:
    std::optional<ScopedEnvironment> variable;
};

/// Changes the text "far" in the bytes of a file that stays open.
void OverwriteFar(const TempDirectory& folder, const std::string& name) {
    const std::size_t offset = folder.read(name).find(std::string("far\0far", 7));
    ASSERT_NE(offset, std::string::npos);
    std::fstream file(folder.path(name), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(offset));
    file.put('F');
}

TEST_F(FlattenedLocations, ReadEachMaterialInAFileOnceForItsHash) {
    const MappedFiles setting;
    const TempDirectory folder;
    // Only large files are mapped.
    const OxAttribute::IntAttribute large(std::vector<std::int32_t>(2 << 20), 1);
    Children children{{"near", Named("near")}, {"far", Named("far")}, {"large", large}};
    for (int i = 0; i < 3000; ++i)
        children.emplace_back("other" + std::to_string(i), Named(std::to_string(i)));
    OxAttribute::WriteAttributeFile(folder.path("materials"), Group(children));
    const GroupAttribute file(ReadFile(folder.path("materials")));
    const GroupAttribute near(file.getChildByName("near"));
    const GroupAttribute far(file.getChildByName("far"));

    const auto first = FlattenPath("/root/a", near, far);
    const OxAttribute::Hash before = far.getHash();
    OverwriteFar(folder, "materials");
    for (std::int64_t i = 2; i < file.getNumberOfChildren(); ++i)
        file.getChildByIndex(i).getHash(); // evicts the hashes that the file itself caches
    ASSERT_NE(far.getHash(), before) << "a second hash is another";
    EXPECT_EQ(FlattenPath("/root/b", near, far).getHandle(), first.getHandle());
}

TEST_F(FlattenedLocations, ShareTheResultOfEqualMaterialsInMemoryAndInAFile) {
    const TempDirectory folder;
    OxAttribute::WriteAttributeFile(folder.path("near"), Named("near"));
    const auto inMemory = FlattenPath("/root/memory", Named("near"), Named("far"));
    const auto inFile = FlattenPath("/root/file", ReadFile(folder.path("near")), Named("far"));
    EXPECT_EQ(inFile.getHandle(), inMemory.getHandle());
}

TEST_F(FlattenedLocations, DifferForDifferentMaterialsInAFile) {
    const TempDirectory folder;
    Children children;
    for (int i = 0; i < 50; ++i)
        children.emplace_back("near" + std::to_string(i), Named(std::to_string(i)));
    OxAttribute::WriteAttributeFile(folder.path("materials"), Group(children));
    const GroupAttribute file(ReadFile(folder.path("materials")));
    for (const char* round : {"first", "second"}) {
        for (int i = 0; i < 50; ++i) {
            const std::string name = std::to_string(i);
            const auto flattened = FlattenPath("/root/" + std::string(round) + name,
                                               file.getChildByName("near" + name), Named("far"));
            EXPECT_EQ(TextOf(flattened.getChildByName("name")), name) << round;
        }
    }
}

TEST_F(FlattenedLocations, HoldNoneOfTheMaterialsThatTheyAreMadeOf) {
    const GroupAttribute extra = Named("for another renderer");
    const GroupAttribute material = Network("n", {{"extra", extra}});
    FlattenRoot(material);
    EXPECT_EQ(CountReferences(material), 1u);
}

TEST_F(FlattenedLocations, MayBeFlattenedByTwoAtOnceAndTheLaterStoreWins) {
    const auto outer = FlattenRoot(Network("outer"), [] { FlattenRoot(Network("inner")); });
    EXPECT_TRUE(outer.getChildByName("nodes.outer").isValid());
    EXPECT_EQ(FlattenRoot(Network("unused")).getHandle(), outer.getHandle());
}

TEST_F(FlattenedLocations, AreForgottenEvenWhileOneIsFlattened) {
    const GroupAttribute old = Network("old");
    const GroupAttribute nodes(old.getChildByName("nodes"));
    const std::uint32_t before = CountReferences(nodes);
    EXPECT_TRUE(FlattenRoot(old, EmptyFlattenedMaterialCache).getChildByName("nodes.old").isValid())
        << "the caller gets it";
    EXPECT_EQ(CountReferences(nodes), before) << "and nobody else";
    EXPECT_TRUE(FlattenRoot(Network("new")).getChildByName("nodes.new").isValid());
}

TEST_F(FlattenedLocations, IgnoreAMaterialThatIsNotAGroup) {
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
