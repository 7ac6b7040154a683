#include <OxTellarSDK/ChangedLocations.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/AttributeDifference.h>

#include "OpTypeScenes.h"
#include "RandomGraph.h"
#include "TempDirectory.h"

namespace {

using namespace OpTypeScenes;
using OxLocationPath::LocationSet;
using OxOpType::ChangedLocations;
using testing::ElementsAre;
using testing::IsEmpty;

// Deep enough for the instances of arrays below the deepest named locations.
constexpr int kMostLevels = 7;

/// The committed Ops of some nodes.
class Built {
public:
    explicit Built(const RandomGraph::Nodes& nodes) {
        for (const RandomGraph::Node& node : nodes) {
            std::vector<Op> inputs;
            for (const std::size_t input : node.inputs)
                inputs.push_back(input == RandomGraph::kNoInput ? nullptr : ops[input]);
            ops.push_back(graph.add(node.type, node.args, inputs));
        }
        errorOf("/root");
    }

    const Op& last() const { return ops.back(); }
    LocationData cook(const std::string& path) { return graph.cook(last(), path); }
    std::string errorOf(const std::string& path) {
        return ErrorOf([&] { cook(path); });
    }

private:
    Graph graph;
    std::vector<Op> ops;
};

bool AreEqual(Built& before, Built& after, const std::string& path) {
    const std::string error = before.errorOf(path);
    if (error != "no error" || after.errorOf(path) != "no error")
        return error != "no error" && after.errorOf(path) != "no error";
    const LocationData a = before.cook(path);
    const LocationData b = after.cook(path);
    return a.doesLocationExist() == b.doesLocationExist() &&
           OxAttribute::HaveEqualContent(a.getAttrs(), b.getAttrs()) &&
           OxAttribute::HaveEqualContent(a.getPotentialChildren(), b.getPotentialChildren());
}

void AddNames(Built& built, const std::string& path, std::set<std::string>& names) {
    if (built.errorOf(path) != "no error") return;
    const LocationData data = built.cook(path);
    for (const std::string_view name : data.getPotentialChildren().getNearestSample(0))
        names.emplace(name);
}

/// The locations that differ and that the set lacks. Looks at all locations below the path that the
/// potential children name, and at some that nobody names.
void FindMissing(Built& before, Built& after, const LocationSet& set, const std::string& path,
                 int levels, Names& missing) {
    if (!AreEqual(before, after, path) && !set.mayContain(path)) missing.push_back(path);
    if (levels == 0) return;
    std::set<std::string> names;
    AddNames(before, path, names);
    AddNames(after, path, names);
    if (levels > kMostLevels - 3) names.insert({"a", "b", "c"});
    for (const std::string& name : names) {
        const Names::size_type found = missing.size();
        FindMissing(before, after, set, path + "/" + name, levels - 1, missing);
        if (missing.size() == found && !set.mayContainBelow(path) &&
            set.mayContain(path + "/" + name))
            missing.push_back("mayContainBelow " + path);
    }
}

Names MissingLocations(const RandomGraph::Nodes& nodesBefore, const RandomGraph::Nodes& nodesAfter,
                       bool* isEverything = nullptr) {
    Built before(nodesBefore);
    Built after(nodesAfter);
    const LocationSet set = ChangedLocations(before.last(), after.last());
    if (isEverything) *isEverything = set.isEverything();
    Names missing;
    FindMissing(before, after, set, "/root", kMostLevels, missing);
    return missing;
}

std::string Describe(const RandomGraph::Nodes& nodes) {
    std::string text;
    for (const RandomGraph::Node& node : nodes) {
        text += "\n" + node.type + " (";
        for (const std::size_t input : node.inputs)
            text += input == RandomGraph::kNoInput ? " -" : " " + std::to_string(input);
        text += " )\n" + node.args.getXML();
    }
    return text;
}

/// Changes all locations and tells of /root/a alone.
class ForgetfulType : public OxOpType::OpType {
public:
    ForgetfulType() { about.name = "TouchedLocationsTest.Forgetful"; }
    const OxOpType::Description& description() const override { return about; }
    void cook(OxOpType::CookContext& context) const override {
        const LocationData data = context.input(0);
        if (!data.doesLocationExist()) return;
        context.setAttrs(context.args());
        context.setPotentialChildren(data.getPotentialChildren());
    }
    LocationSet touchedBy(const GroupAttribute&, const GroupAttribute&) const override {
        return LocationSet::exactly({"/root/a"});
    }

private:
    OxOpType::Description about;
};

/// A triangle with a material, as a glTF file.
std::string WriteSceneFile(const TempDirectory& folder, const std::string& material) {
    return folder.write(material + ".gltf", R"({"asset": {"version": "2.0"}, "scene": 0,
        "scenes": [{"nodes": [0]}], "nodes": [{"name": "a", "children": [1]}, {"name": "b", "mesh": 0}],
        "materials": [{"name": ")" + material + R"("}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "material": 0}]}],
        "accessors": [{"componentType": 5126, "count": 3, "type": "VEC3", "max": [0, 0, 0],
                       "min": [0, 0, 0]}]})");
}

} // namespace

TEST(TouchedLocations, AreFoundToBeTooFewForATypeThatForgetsSome) {
    OxOpType::RegisterOpType(new ForgetfulType);
    const GroupAttribute scene = Location({}, {{"a", Location({})}, {"b", Location({})}});
    const auto graph = [&](int number) {
        return RandomGraph::Nodes{
            {"StaticScene", scene, {}},
            {"TouchedLocationsTest.Forgetful", Group({{"n", Int(number)}}), {0}}};
    };
    EXPECT_THAT(MissingLocations(graph(1), graph(2)), ElementsAre("/root", "/root/b"));
}

TEST(TouchedLocations, HaveEveryLocationThatDiffersAfterARandomEdit) {
    const TempDirectory folder;
    const Names sceneFiles{WriteSceneFile(folder, "b"), WriteSceneFile(folder, "c")};
    int bounded = 0;
    constexpr unsigned kRounds = 6000;
    for (unsigned round = 0; round < kRounds; ++round) {
        RandomGraph::Maker maker(round, sceneFiles);
        const RandomGraph::Nodes before = maker.graph();
        RandomGraph::Nodes after = before;
        for (unsigned edits = 0; edits <= round % 3; ++edits)
            maker.edit(after);
        bool isEverything = false;
        ASSERT_THAT(MissingLocations(before, after, &isEverything), IsEmpty())
            << "round " << round << "\nbefore:" << Describe(before)
            << "\nafter:" << Describe(after);
        if (!isEverything) ++bounded;
    }
    EXPECT_GT(bounded, int(kRounds) / 2) << "sets of everything are always right";
}

TEST(TouchedLocations, HaveEveryLocationThatDiffersBetweenRandomArrays) {
    const Names noFiles;
    for (unsigned round = 0; round < 1000; ++round) {
        RandomGraph::Maker maker(round, noFiles);
        const RandomGraph::Nodes before = maker.arrayGraph();
        RandomGraph::Nodes after = before;
        maker.editArgument(after.back());
        ASSERT_THAT(MissingLocations(before, after), IsEmpty())
            << "round " << round << "\nbefore:" << Describe(before)
            << "\nafter:" << Describe(after);
    }
}

class TouchedByOne : public testing::TestWithParam<const char*> {};

TEST_P(TouchedByOne, HaveEveryLocationThatDiffersAfterAnEditOfTheOpOrItsInput) {
    const Names noFiles;
    for (unsigned round = 0; round < 500; ++round) {
        RandomGraph::Maker maker(round, noFiles);
        const RandomGraph::Nodes before = maker.graphWith(GetParam());
        RandomGraph::Nodes after = before;
        maker.editArgument(after[round % 2]);
        ASSERT_THAT(MissingLocations(before, after), IsEmpty())
            << "round " << round << "\nbefore:" << Describe(before)
            << "\nafter:" << Describe(after);
    }
}

INSTANTIATE_TEST_SUITE_P(TouchedLocations, TouchedByOne, testing::Values("Instances", "Share"));
