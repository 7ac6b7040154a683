#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "OpTypeScenes.h"

// Op types warn of arguments and inputs that are probably mistakes.

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::ElementsAre;
using testing::IsEmpty;

GroupAttribute Paths(std::initializer_list<std::string_view> globs) {
    return Group({{"paths", Texts(globs)}});
}

GroupAttribute Assignment(const char* material) {
    return Group({{"paths", Texts({"/root/world/geo/*"})}, {"material", Text(material)}});
}

/// A scene with a mesh of this name below /root/world.
GroupAttribute World(const char* name, const char* tag) {
    const GroupAttribute mesh = Location({{"type", Text("polymesh")}, {"tag", Text(tag)}});
    return Location({}, {{"world", Location({{"type", Text("group")}}, {{name, mesh}})}});
}

TEST(CheckOps, SaysNothingAboutGlobsThatMatch) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op edit = graph.add(
        "AttributeEdit",
        Paths({"/root", "/root/**/lid", "/root/world/*/b?x", "/root/materials/red"}), {scene});
    EXPECT_THAT(graph.warnings(edit), IsEmpty());
}

TEST(CheckOps, NamesEachGlobThatMatchesNoLocation) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op edit = graph.add(
        "Transform", Paths({"/root/**/ball", "/root/**/bowl", "/root/world/*/x*"}), {scene});
    EXPECT_THAT(graph.warnings(edit),
                ElementsAre("Transform: \"/root/**/bowl\" matches no location",
                            "Transform: \"/root/world/*/x*\" matches no location"));
}

TEST(CheckOps, HintsAtASimilarPath) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op pruned = graph.add("Prune", Paths({"/root/world/gep/ball"}), {scene});
    EXPECT_THAT(graph.warnings(pruned),
                ElementsAre("Prune: \"/root/world/gep/ball\" matches no location; did you mean "
                            "\"/root/world/geo\"?"));
}

TEST(CheckOps, LooksForGlobsInTheInputAndNotInTheResult) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op moved = graph.add("Transform", Paths({"/root/world/geo/ball"}), {scene});
    const Op pruned = graph.add("Prune", Paths({"/root/world/geo/ball"}), {moved});
    const Op again = graph.add("Transform", Paths({"/root/world/geo/ball"}), {pruned});
    EXPECT_THAT(graph.warnings(pruned), IsEmpty());
    EXPECT_THAT(graph.warnings(again),
                ElementsAre("Transform: \"/root/world/geo/ball\" matches no location"));
}

TEST(CheckOps, GivesUpACheckThatTakesTooManyLocations) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op edit = graph.add("Transform", Paths({"/root/**/bowl"}), {scene});
    EXPECT_THAT(graph.warnings(edit, 3), IsEmpty());
}

TEST(CheckOps, PassesOverOpsThatFail) {
    Graph graph;
    const Op unknown = graph.add("Nothing", GroupAttribute());
    const Op edit = graph.add("Transform", Paths({"/root/x"}), {unknown});
    const Op wrong = graph.add("Prune", GroupAttribute(), {edit});
    EXPECT_THAT(graph.warnings(wrong), IsEmpty());
}

TEST(CheckOps, AsksAnOpThatTwoOthersUseOnce) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op edit = graph.add("Transform", Paths({"/root/x"}), {scene});
    const Op left = graph.add("Prune", Paths({"/root/world"}), {edit});
    const Op right = graph.add("Prune", Paths({"/root/materials"}), {edit});
    const Op merge = graph.add("Merge", GroupAttribute(), {left, right});
    EXPECT_THAT(graph.warnings(merge), ElementsAre("Transform: \"/root/x\" matches no location"));
}

TEST(CheckOps, TellsWhatWarningsAreAbout) {
    using OxOpType::WarningKind;
    Graph graph;
    const GroupAttribute lamp = Location({{"textures", Group({{"a", Text("/no such file.png")}})}});
    const Op lamps = graph.add("StaticScene", Location({}, {{"lamp", lamp}}));
    const Op moved = graph.add("Transform", Paths({"/root/x"}), {lamps});
    const GroupAttribute assignment =
        Group({{"paths", Texts({"/root/lamp"})}, {"material", Text("/root/red")}});
    const Op painted = graph.add("MaterialAssign", assignment, {moved});
    const Op again = graph.add("MaterialAssign", assignment, {moved});
    const Op merge = graph.add("Merge", GroupAttribute(), {painted, again});
    graph.warnings(merge);
    std::vector<WarningKind> kinds;
    for (const OxOpType::Warning& warning : OxOpType::CheckOps(merge))
        kinds.push_back(warning.kind);
    EXPECT_THAT(kinds, ElementsAre(WarningKind::MissingFile, WarningKind::DeadGlob,
                                   WarningKind::DeadAssignment, WarningKind::DeadAssignment,
                                   WarningKind::HiddenInput));
}

TEST(MaterialAssign, WarnsOfAMaterialThatIsNotThere) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op assign = graph.add("MaterialAssign", Assignment("/root/materials/rad"), {scene});
    EXPECT_THAT(graph.warnings(assign),
                ElementsAre("MaterialAssign: there is no material \"/root/materials/rad\" to "
                            "assign; did you mean \"/root/materials/red\"?"));
}

TEST(MaterialAssign, WarnsOfALocationWithoutMaterial) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op assign = graph.add("MaterialAssign", Assignment("/root/materials/empty"), {scene});
    EXPECT_THAT(graph.warnings(assign),
                ElementsAre("MaterialAssign: \"/root/materials/empty\" has no material to assign"));
}

TEST(MaterialAssign, AcceptsAMaterialThatALaterOpBrings) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op assign = graph.add("MaterialAssign", Assignment("/root/looks/blue"), {scene});
    const GroupAttribute blue = Location({{"material", Group({{"color", Text("blue")}})}});
    const Op looks =
        graph.add("StaticScene", Location({}, {{"looks", Location({}, {{"blue", blue}})}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {assign, looks});
    EXPECT_THAT(graph.warnings(merge), IsEmpty());
}

/// The warnings of a Merge of two scenes, "left" and "right".
std::vector<std::string> WarningsOfMerge(const GroupAttribute& left, const GroupAttribute& right) {
    Graph graph;
    const std::vector<Op> inputs = {graph.add("StaticScene", left),
                                    graph.add("StaticScene", right)};
    graph.name(inputs[0], "left");
    graph.name(inputs[1], "right");
    return graph.warnings(graph.add("Merge", GroupAttribute(), inputs));
}

TEST(Merge, WarnsOnceOfInputsThatHaveTheSameLocations) {
    EXPECT_THAT(WarningsOfMerge(World("mesh", "chair"), World("mesh", "table")),
                ElementsAre("Merge: its inputs \"left\" and \"right\" both have "
                            "\"/root/world/mesh\"; what they have is mixed there"));
}

TEST(Merge, WarnsOfInputsThatAreTheSameScene) {
    EXPECT_THAT(WarningsOfMerge(World("mesh", "chair"), World("mesh", "chair")),
                ElementsAre("Merge: its inputs \"left\" and \"right\" are the same scene at the "
                            "same place, which is there once"));
}

TEST(Merge, AcceptsGroupsThatSeveralInputsHaveAndEditsWithoutAType) {
    Graph graph;
    const Op chair = graph.add("StaticScene", World("chair", "1"));
    const Op table = graph.add("StaticScene", World("table", "1"));
    const GroupAttribute edited = Location({{"tag", Text("2")}});
    const Op edit =
        graph.add("StaticScene", Location({}, {{"world", Location({}, {{"chair", edited}})}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {chair, nullptr, table, edit});
    EXPECT_THAT(graph.warnings(merge), IsEmpty());
}

} // namespace
