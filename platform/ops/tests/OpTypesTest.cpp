#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarSDK/XFormUtil.h>

#include <TempDirectory.h>

// The op types are used as any program uses them: by name, through the runtime.

namespace {

using namespace OxAttribute;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Op = std::shared_ptr<TellarRuntime::Op>;
using Client = std::shared_ptr<TellarRuntime::Client>;
using LocationData = TellarRuntime::LocationData;
using Children = std::vector<GroupAttribute::Child>;
using Names = std::vector<std::string>;

GroupAttribute Group(const Children& children) {
    return GroupAttribute(children, true);
}
Attribute Text(const char* text) {
    return StringAttribute(text);
}
Attribute Texts(std::initializer_list<std::string_view> texts) {
    return StringAttribute(texts, 1);
}
Attribute Int(int value) {
    return IntAttribute(value);
}
Attribute Doubles(std::initializer_list<double> values) {
    return DoubleAttribute(values, static_cast<std::int64_t>(values.size()));
}

/// One location as StaticScene reads it.
GroupAttribute Location(const Children& attrs, const Children& children = {}) {
    Children both{{"a", Group(attrs)}};
    if (!children.empty()) both.emplace_back("c", Group(children));
    return Group(both);
}

/// Ops under construction; the first look at one of them commits them all.
class Graph {
public:
    Op add(const std::string& type, const GroupAttribute& args,
           const std::vector<Op>& inputs = {}) {
        Op op = transaction->createOp();
        transaction->setOpArgs(op, type, args);
        transaction->setOpInputs(op, inputs);
        Client client = transaction->createClient();
        transaction->setClientOp(client, op);
        clients[op] = client;
        return op;
    }

    LocationData cook(const Op& op, const std::string& path) {
        if (!committed) {
            runtime->commit(transaction);
            committed = true;
        }
        return clients.at(op)->cookLocation(path);
    }
    bool exists(const Op& op, const std::string& path) {
        return cook(op, path).doesLocationExist();
    }
    GroupAttribute attrs(const Op& op, const std::string& path) {
        return cook(op, path).getAttrs();
    }
    Attribute attr(const Op& op, const std::string& path, const char* name) {
        return attrs(op, path).getChildByName(name);
    }
    Names children(const Op& op, const std::string& path) {
        Names names;
        for (const std::string_view name :
             cook(op, path).getPotentialChildren().getNearestSample(0))
            names.emplace_back(name);
        return names;
    }
    /// How many locations there are at and below the path.
    std::size_t countFrom(const Op& op, const std::string& path) {
        std::size_t count = exists(op, path) ? 1 : 0;
        for (const std::string& name : children(op, path))
            count += countFrom(op, path + "/" + name);
        return count;
    }
    /// Whether one Op presents the very record that another does.
    bool shares(const Op& op, const Op& input, const std::string& path) {
        const LocationData data = cook(op, path);
        return data.isValid() && data.getRecord() == cook(input, path).getRecord();
    }

private:
    std::shared_ptr<TellarRuntime> runtime = TellarRuntime::create();
    std::shared_ptr<TellarRuntime::Transaction> transaction = runtime->createTransaction();
    std::map<Op, Client> clients;
    bool committed = false;
};

/// /root/world/geo/{ball, box/{lid, body}} and /root/materials/red, each with an int "tag".
GroupAttribute SmallScene() {
    const GroupAttribute box = Location({{"tag", Int(4)}}, {{"lid", Location({{"tag", Int(5)}})},
                                                            {"body", Location({{"tag", Int(6)}})}});
    const GroupAttribute ball =
        Location({{"tag", Int(3)}, {"xform", Group({{"translate", Doubles({1, 2, 3})}})}});
    const GroupAttribute geo = Location({{"tag", Int(2)}}, {{"ball", ball}, {"box", box}});
    const GroupAttribute world = Location({{"tag", Int(1)}}, {{"geo", geo}});
    const GroupAttribute red = Location({{"material", Group({{"color", Text("red")}})}});
    const GroupAttribute materials = Location({}, {{"red", red}, {"empty", Location({})}});
    return Location({{"tag", Int(0)}}, {{"world", world}, {"materials", materials}});
}

/// The attribute written to a file and read back from it.
Attribute ThroughAFile(const Attribute& attribute, const std::string& path) {
    {
        std::ofstream file(path, std::ios::binary);
        attribute.writeAttributeStream(
            &file, [](void* stream, const void* buffer, std::int64_t bytes) -> std::int64_t {
                auto* out = static_cast<std::ofstream*>(stream);
                return out->write(static_cast<const char*>(buffer), bytes) ? bytes : -1;
            });
    }
    FileStream stream(path, false);
    return Attribute::readAttributeStream(&stream, FileStream::read, 0);
}

/// What goes wrong with an Op of the type when its first location is cooked.
std::string ErrorOf(const std::string& type, const GroupAttribute& args, int numberOfInputs = 0) {
    Graph graph;
    std::vector<Op> inputs;
    for (int input = 0; input < numberOfInputs; ++input)
        inputs.push_back(graph.add("StaticScene", SmallScene()));
    const Op op = graph.add(type, args, inputs);
    try {
        graph.cook(op, "/root");
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

/// Where the location's own "xform" takes its local origin, and the point (1, 0, 0).
std::vector<double> Moved(const GroupAttribute& attrs, double x = 0) {
    const auto [matrix, used] =
        OxXFormUtil::CalcTransformMatrixAtTime(attrs.getChildByName("xform"), 0);
    const auto m = matrix.getNearestSample(0);
    if (m.size() != 16) return {};
    return {x * m[0] + m[12], x * m[1] + m[13], x * m[2] + m[14]};
}

std::vector<double> Values(const Attribute& attribute) {
    const auto sample = DoubleAttribute(attribute).getNearestSample(0);
    return {sample.begin(), sample.end()};
}

} // namespace

// All types ---------------------------------------------------------------------------------------

TEST(OpTypes, AllAreFoundByNameAndDescribed) {
    for (const char* name : {"Array", "AttributeEdit", "Camera", "MaterialAssign", "Merge", "Prune",
                             "RenderSettings", "StaticScene", "Transform"}) {
        SCOPED_TRACE(name);
        const OxOpType::OpType* type = OxOpType::FindOpType(name);
        ASSERT_NE(type, nullptr);
        EXPECT_EQ(type->description().name, name);
        EXPECT_FALSE(type->description().summary.empty());
        EXPECT_FALSE(type->description().inputs.empty());
        for (const OxOpType::Argument& argument : type->description().arguments) {
            EXPECT_FALSE(argument.type.empty()) << argument.name;
            EXPECT_TRUE(argument.summary.find("Default") != std::string::npos ||
                        argument.summary.find("Required") != std::string::npos)
                << argument.name;
        }
    }
}

TEST(OpTypes, RefuseAnArgumentThatTheyDoNotKnow) {
    EXPECT_THAT(ErrorOf("StaticScene", Group({{"b", Int(1)}})),
                HasSubstr("Argument \"b\" is not known to the op type \"StaticScene\"."));
    EXPECT_THAT(ErrorOf("Prune", Group({{"path", Texts({"/root"})}}), 1),
                HasSubstr("Argument \"path\" is not known to the op type \"Prune\"."));
    EXPECT_THAT(ErrorOf("Merge", Group({{"order", Int(1)}}), 2),
                HasSubstr("Argument \"order\" is not known to the op type \"Merge\"."));
}

TEST(OpTypes, RefuseALackOfWhatIsRequired) {
    const std::string paths = "Argument \"paths\" is missing; it must be string[].";
    EXPECT_THAT(ErrorOf("Prune", Group({}), 1), HasSubstr(paths));
    EXPECT_THAT(ErrorOf("Transform", Group({}), 1), HasSubstr(paths));
    EXPECT_THAT(ErrorOf("AttributeEdit", Group({}), 1), HasSubstr(paths));
    EXPECT_THAT(ErrorOf("MaterialAssign", Group({{"paths", Texts({"/root"})}}), 1),
                HasSubstr("Argument \"material\" is missing; it must be string."));
    EXPECT_THAT(ErrorOf("RenderSettings", GroupAttribute(), 1),
                HasSubstr("Argument \"settings\" is missing; it must be group."));
    EXPECT_THAT(ErrorOf("Array", Group({{"target", Text("/root/a")}}), 1),
                HasSubstr("Argument \"source\" is missing; it must be string."));
}

TEST(OpTypes, RefuseValuesOfAWrongTypeOrNumber) {
    const Attribute all = Texts({"/**"});
    EXPECT_THAT(ErrorOf("StaticScene", Group({{"c", Int(1)}})),
                HasSubstr("Argument \"c\" must be group."));
    EXPECT_THAT(ErrorOf("Prune", Group({{"paths", Int(1)}}), 1),
                HasSubstr("Argument \"paths\" must be string[]."));
    EXPECT_THAT(ErrorOf("Prune", Group({{"paths", all}, {"keepNames", Text("yes")}}), 1),
                HasSubstr("Argument \"keepNames\" must be int."));
    EXPECT_THAT(ErrorOf("Prune", Group({{"paths", all}, {"keepNames", Int(2)}}), 1),
                HasSubstr("Argument \"keepNames\" must be from 0 to 1, not 2."));
    EXPECT_THAT(ErrorOf("Transform", Group({{"paths", all}, {"rotate", Doubles({1, 0, 0})}}), 1),
                HasSubstr("Argument \"rotate\" must be double[4]."));
    EXPECT_THAT(ErrorOf("Transform", Group({{"paths", all}, {"scale", Text("2")}}), 1),
                HasSubstr("Argument \"scale\" must be double[3]."));
    EXPECT_THAT(ErrorOf("Transform", Group({{"paths", all}, {"order", Text("inside")}}), 1),
                HasSubstr("Argument \"order\" must be \"after\" or \"before\", not \"inside\"."));
    EXPECT_THAT(ErrorOf("Camera", Group({{"fov", Doubles({1, 2})}}), 1),
                HasSubstr("Argument \"fov\" must be double."));
    EXPECT_THAT(ErrorOf("Camera", Group({{"projection", Texts({"a", "b"})}}), 1),
                HasSubstr("Argument \"projection\" must be string."));
}

TEST(OpTypes, RefuseGlobsAndPathsThatAreNone) {
    EXPECT_THAT(
        ErrorOf("Prune", Group({{"paths", Texts({"/root", "world"})}}), 1),
        HasSubstr("Argument \"paths\": The location pattern \"world\" does not start with \"/\"."));
    EXPECT_THAT(ErrorOf("Camera", Group({{"path", Text("camera")}}), 1),
                HasSubstr("Argument \"path\" must be an absolute location path, not \"camera\"."));
    EXPECT_THAT(
        ErrorOf("StaticScene", Group({{"location", Text("/root/")}})),
        HasSubstr("Argument \"location\" must be an absolute location path, not \"/root/\"."));
    EXPECT_THAT(ErrorOf("StaticScene", Group({{"location", Text("/root//a")}})),
                HasSubstr("not \"/root//a\"."));
}

TEST(OpTypes, RefuseMoreInputsThanTheyLookAt) {
    EXPECT_THAT(ErrorOf("StaticScene", SmallScene(), 1),
                HasSubstr("The Op takes no inputs, but is wired to 1."));
    EXPECT_THAT(ErrorOf("Prune", Group({{"paths", Texts({"/root"})}}), 2),
                HasSubstr("The Op takes one input, but is wired to 2."));
}

TEST(OpTypes, ManyThreadsMayCookTogether) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op moved = graph.add(
        "Transform", Group({{"paths", Texts({"/**/b*"})}, {"scale", Doubles({2, 2, 2})}}), {scene});
    const Op array = graph.add("Array",
                               Group({{"source", Text("/root/world/geo/box")},
                                      {"target", Text("/root/boxes")},
                                      {"counts", IntAttribute({20, 20, 1}, 3)}}),
                               {moved});
    const Op merge = graph.add("Merge", GroupAttribute(), {array, scene});
    graph.cook(merge, "/root");

    std::vector<std::size_t> counted(4, 0);
    std::vector<std::thread> threads;
    for (std::size_t& count : counted)
        threads.emplace_back([&graph, &merge, &count] { count = graph.countFrom(merge, "/root"); });
    for (std::thread& thread : threads)
        thread.join();
    // The scene itself has 10, then "boxes", 4 groups, 400 boxes and what is in each of them.
    EXPECT_THAT(counted, testing::Each(10u + 1u + 4u + 400u * 3u));
}

TEST(OpTypes, WithoutAnInputWorkAsOverAnEmptyScene) {
    const Attribute all = Texts({"/**"});
    Graph graph;
    const Op merge = graph.add("Merge", GroupAttribute());
    const Op nullMerge = graph.add("Merge", GroupAttribute(), {nullptr, nullptr});
    const Op prune = graph.add("Prune", Group({{"paths", Texts({"/root/a"})}}), {nullptr});
    const Op edit = graph.add("AttributeEdit", Group({{"paths", all}, {"set", Group({})}}));
    const Op assign =
        graph.add("MaterialAssign", Group({{"paths", all}, {"material", Text("/root/m")}}));
    const Op camera = graph.add("Camera", GroupAttribute(), {nullptr});
    const Op settings = graph.add("RenderSettings", Group({{"settings", Group({})}}));
    for (const Op& op : {merge, nullMerge, prune, edit, assign})
        EXPECT_FALSE(graph.exists(op, "/root")) << op->getType();
    EXPECT_TRUE(graph.exists(camera, "/root/world/cam/camera"));
    EXPECT_TRUE(graph.exists(settings, "/root"));
    EXPECT_FALSE(graph.exists(settings, "/root/world"));
}

// StaticScene -------------------------------------------------------------------------------------

TEST(StaticScene, PresentsItsArgumentsAtRoot) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    EXPECT_EQ(graph.attrs(scene, "/root"), Group({{"tag", Int(0)}}));
    EXPECT_THAT(graph.children(scene, "/root"), ElementsAre("world", "materials"));
    EXPECT_THAT(graph.children(scene, "/root/world/geo"), ElementsAre("ball", "box"));
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box/lid", "tag"), Int(5));
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box/body", "tag"), Int(6));
}

TEST(StaticScene, ALeafHasNoPotentialChildren) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene",
        Group({{"c", Group({{"bare", Group({})}, {"empty", Group({{"c", Group({})}})}})}}));
    EXPECT_TRUE(graph.exists(scene, "/root/bare"));
    EXPECT_FALSE(graph.attrs(scene, "/root/bare").isValid());
    EXPECT_FALSE(graph.cook(scene, "/root/bare").getPotentialChildren().isValid());
    EXPECT_FALSE(graph.cook(scene, "/root/empty").getPotentialChildren().isValid());
}

TEST(StaticScene, WhatIsNotDescribedDoesNotExist) {
    Graph graph;
    const Op scene =
        graph.add("StaticScene", Group({{"c", Group({{"number", Int(1)}, {"group", Group({})}})}}));
    EXPECT_FALSE(graph.exists(scene, "/root/other"));
    EXPECT_FALSE(graph.exists(scene, "/root/number"));
    EXPECT_FALSE(graph.exists(scene, "/root/number/below"));
    EXPECT_FALSE(graph.exists(scene, "/root/group/below"));
    EXPECT_FALSE(graph.exists(scene, "/rootbeer"));
    EXPECT_FALSE(graph.exists(scene, "/other"));
}

TEST(StaticScene, WithoutArgumentsIsABareRoot) {
    Graph graph;
    const Op scene = graph.add("StaticScene", GroupAttribute());
    EXPECT_TRUE(graph.exists(scene, "/root"));
    EXPECT_FALSE(graph.attrs(scene, "/root").isValid());
}

TEST(StaticScene, CanHangBelowAnyLocation) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Group({{"location", Text("/root/world/geo")},
                                                     {"a", Group({{"tag", Int(1)}})},
                                                     {"c", Group({{"ball", Location({})}})}}));
    EXPECT_THAT(graph.children(scene, "/root"), ElementsAre("world"));
    EXPECT_FALSE(graph.attrs(scene, "/root").isValid());
    EXPECT_THAT(graph.children(scene, "/root/world"), ElementsAre("geo"));
    EXPECT_EQ(graph.attrs(scene, "/root/world/geo"), Group({{"tag", Int(1)}}));
    EXPECT_TRUE(graph.exists(scene, "/root/world/geo/ball"));
    EXPECT_FALSE(graph.exists(scene, "/root/other"));
    EXPECT_FALSE(graph.exists(scene, "/root/world/geometry"));
}

TEST(StaticScene, FindsALocationAlsoWhenItsParentWasNeverCooked) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box/body", "tag"), Int(6));
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box", "tag"), Int(4));
}

TEST(StaticScene, FindsSiblingsInAnyOrder) {
    Children many;
    for (int number = 0; number < 50; ++number)
        many.emplace_back("n" + std::to_string(number), Location({{"tag", Int(number)}}));
    Graph graph;
    const Op scene = graph.add("StaticScene", Location({}, many));
    EXPECT_EQ(graph.children(scene, "/root").size(), 50u);
    EXPECT_EQ(graph.attr(scene, "/root/n7", "tag"), Int(7));
    EXPECT_EQ(graph.attr(scene, "/root/n8", "tag"), Int(8));
    EXPECT_EQ(graph.attr(scene, "/root/n49", "tag"), Int(49));
    EXPECT_EQ(graph.attr(scene, "/root/n0", "tag"), Int(0));
    EXPECT_FALSE(graph.exists(scene, "/root/n50"));
}

TEST(StaticScene, DecodesTheNamesOfLocations) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Location({}, {{"v1%2E2", Location({{"tag", Int(1)}})},
                                                            {"100%25", Location({{"tag", Int(2)}})},
                                                            {"as.is", Location({{"tag", Int(3)}})},
                                                            {"50%", Location({{"tag", Int(4)}})}}));
    EXPECT_THAT(graph.children(scene, "/root"), ElementsAre("v1.2", "100%", "as.is", "50%"));
    EXPECT_EQ(graph.attr(scene, "/root/v1.2", "tag"), Int(1));
    EXPECT_EQ(graph.attr(scene, "/root/100%", "tag"), Int(2));
    EXPECT_EQ(graph.attr(scene, "/root/as.is", "tag"), Int(3));
    EXPECT_EQ(graph.attr(scene, "/root/50%", "tag"), Int(4));
    EXPECT_FALSE(graph.exists(scene, "/root/v1%2E2"));
}

TEST(StaticScene, HandsOutItsAttributesUncopied) {
    const GroupAttribute description = SmallScene();
    Graph graph;
    const Op scene = graph.add("StaticScene", description);
    EXPECT_EQ(graph.attrs(scene, "/root/world/geo").getHandle(),
              description.getChildByName("c.world.c.geo.a").getHandle());
}

TEST(StaticScene, PresentsASceneInAFileLikeOneInMemory) {
    // Large enough to be used in place, mapped into memory.
    const std::vector<double> ballast(600000, 1.0);
    const GroupAttribute inMemory =
        Location({{"ballast", DoubleAttribute(ballast, 1)}}, {{"small", SmallScene()}});
    const TempDirectory folder;
    const GroupAttribute inFile = ThroughAFile(inMemory, folder.path("scene"));

    Graph graph;
    const Op memoryScene = graph.add("StaticScene", inMemory);
    const Op fileScene = graph.add("StaticScene", inFile);
    const GroupAttribute args =
        Group({{"paths", Texts({"/root/**"})}, {"translate", Doubles({1, 0, 0})}});
    const Op memoryMerge = graph.add("Merge", GroupAttribute(),
                                     {memoryScene, graph.add("Transform", args, {memoryScene})});
    const Op fileMerge = graph.add("Merge", GroupAttribute(),
                                   {fileScene, graph.add("Transform", args, {fileScene})});
    for (const char* path : {"/root", "/root/small", "/root/small/world/geo/ball",
                             "/root/small/world/geo/box/lid", "/root/small/materials/red"}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(graph.exists(fileScene, path));
        EXPECT_EQ(graph.attrs(fileScene, path), graph.attrs(memoryScene, path));
        EXPECT_EQ(graph.attrs(fileMerge, path), graph.attrs(memoryMerge, path));
    }
    EXPECT_EQ(graph.countFrom(fileMerge, "/root"), 11u);
}

// Merge -------------------------------------------------------------------------------------------

TEST(Merge, LetsALocationOfOneInputThrough) {
    Graph graph;
    const Op first = graph.add("StaticScene", Location({}, {{"a", Location({{"tag", Int(1)}})}}));
    const Op second = graph.add("StaticScene", Location({}, {{"b", Location({{"tag", Int(2)}})}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {first, nullptr, second});
    EXPECT_TRUE(graph.shares(merge, first, "/root/a"));
    EXPECT_TRUE(graph.shares(merge, second, "/root/b"));
    EXPECT_FALSE(graph.exists(merge, "/root/c"));
    EXPECT_THAT(graph.children(merge, "/root"), ElementsAre("a", "b"));
}

TEST(Merge, LetsARecordThatAllInputsShareThrough) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op left = graph.add("Prune", Group({{"paths", Texts({"/root/x"})}}), {scene});
    const Op right = graph.add("Prune", Group({{"paths", Texts({"/root/y"})}}), {scene});
    const Op merge = graph.add("Merge", GroupAttribute(), {left, right});
    EXPECT_TRUE(graph.shares(merge, scene, "/root/world/geo"));
}

TEST(Merge, MergesAttributesAtEveryLevelLaterInputsWinning) {
    Graph graph;
    const Op first =
        graph.add("StaticScene", Location({{"g", Group({{"x", Int(1)}, {"y", Int(1)}})},
                                           {"one", Int(1)},
                                           {"kind", Int(1)}}));
    const Op second =
        graph.add("StaticScene",
                  Location({{"g", Group({{"y", Int(2)}, {"z", Int(2)}})}, {"kind", Text("two")}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {first, second});
    EXPECT_EQ(graph.attrs(merge, "/root"),
              Group({{"g", Group({{"x", Int(1)}, {"y", Int(2)}, {"z", Int(2)}})},
                     {"one", Int(1)},
                     {"kind", Text("two")}}));
}

TEST(Merge, UnitesPotentialChildrenInOrderOfFirstMention) {
    const GroupAttribute none = Location({});
    Graph graph;
    const Op first = graph.add("StaticScene", Location({}, {{"c", none}, {"a", none}}));
    const Op second = graph.add("StaticScene", Location({}, {{"b", none}, {"a", none}}));
    const Op third = graph.add("StaticScene", Location({}, {{"b", none}, {"d", none}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {first, second, third});
    EXPECT_THAT(graph.children(merge, "/root"), ElementsAre("c", "a", "b", "d"));
}

TEST(Merge, KeepsWhatOnlyOneInputHas) {
    Graph graph;
    const Op bare = graph.add("StaticScene", Group({{"c", Group({{"x", Location({})}})}}));
    const Op leaf = graph.add("StaticScene", Location({{"tag", Int(1)}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {bare, leaf});
    EXPECT_EQ(graph.attrs(merge, "/root").getHandle(), graph.attrs(leaf, "/root").getHandle());
    EXPECT_EQ(graph.cook(merge, "/root").getPotentialChildren().getHandle(),
              graph.cook(bare, "/root").getPotentialChildren().getHandle());
}

// Prune -------------------------------------------------------------------------------------------

TEST(Prune, RemovesMatchingLocationsAndAllBelow) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add("Prune", Group({{"paths", Texts({"/root/*/geo/b?x"})}}), {scene});
    EXPECT_FALSE(graph.exists(prune, "/root/world/geo/box"));
    EXPECT_FALSE(graph.exists(prune, "/root/world/geo/box/lid"));
    EXPECT_THAT(graph.children(prune, "/root/world/geo"), ElementsAre("ball"));
    EXPECT_EQ(graph.attr(prune, "/root/world/geo", "tag"), Int(2));
}

TEST(Prune, LeavesEverythingElseUncopied) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add("Prune", Group({{"paths", Texts({"/root/**/lid"})}}), {scene});
    EXPECT_TRUE(graph.shares(prune, scene, "/root"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo/ball"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo/box/body"));
    EXPECT_FALSE(graph.shares(prune, scene, "/root/world/geo/box"));
}

TEST(Prune, ALocationWhoseChildrenAllVanishHasNone) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune =
        graph.add("Prune", Group({{"paths", Texts({"/root/world/geo/box/*"})}}), {scene});
    EXPECT_TRUE(graph.exists(prune, "/root/world/geo/box"));
    EXPECT_FALSE(graph.cook(prune, "/root/world/geo/box").getPotentialChildren().isValid());
}

TEST(Prune, KeepsNamesOnRequest) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add(
        "Prune", Group({{"paths", Texts({"/root/world/geo/box"})}, {"keepNames", Int(1)}}),
        {scene});
    EXPECT_FALSE(graph.exists(prune, "/root/world/geo/box"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo"));
}

TEST(Prune, NoPathsRemoveNothing) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add("Prune", Group({{"paths", Texts({})}}), {scene});
    EXPECT_TRUE(graph.shares(prune, scene, "/root"));
}

// Transform ---------------------------------------------------------------------------------------

TEST(Transform, ActsAfterTheLocationsOwnTransformUnlessToldOtherwise) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "Transform", Group({{"paths", Texts({"/**/ball"})}, {"scale", Doubles({10, 10, 10})}}),
        {scene});
    EXPECT_EQ(graph.attr(op, "/root/world/geo/ball", "xform"),
              Group({{"edit0", GroupAttribute(Children{{"scale", Doubles({10, 10, 10})}}, false)},
                     {"translate", Doubles({1, 2, 3})}}));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/geo/ball"), 1), ElementsAre(20, 20, 30));
}

TEST(Transform, CanActBeforeTheLocationsOwnTransform) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Transform",
                            Group({{"paths", Texts({"/**/ball"})},
                                   {"scale", Doubles({10, 10, 10})},
                                   {"order", Text("before")}}),
                            {scene});
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/geo/ball"), 1), ElementsAre(11, 2, 3));
}

TEST(Transform, ScalesThenRotatesThenTranslates) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Transform",
                            Group({{"scale", Doubles({2, 1, 1})},
                                   {"rotate", Doubles({180, 0, 0, 1})},
                                   {"translate", Doubles({100, 0, 0})},
                                   {"paths", Texts({"/root/world"})}}),
                            {scene});
    EXPECT_DOUBLE_EQ(Moved(graph.attrs(op, "/root/world"), 1).at(0), 98);
    const GroupAttribute edit(graph.attr(op, "/root/world", "xform.edit0"));
    ASSERT_EQ(edit.getNumberOfChildren(), 3);
    EXPECT_EQ(edit.getChildName(0), "translate");
    EXPECT_EQ(edit.getChildName(1), "rotate");
    EXPECT_EQ(edit.getChildName(2), "scale");
}

TEST(Transform, GivesALocationWithoutATransformOne) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Attribute matrix = Doubles({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1});
    const Op op = graph.add(
        "Transform", Group({{"paths", Texts({"/root/world"})}, {"matrix", matrix}}), {scene});
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world")), ElementsAre(7, 8, 9));
    EXPECT_EQ(graph.attr(op, "/root/world", "tag"), Int(1));
    EXPECT_THAT(graph.children(op, "/root/world"), ElementsAre("geo"));
}

TEST(Transform, EachOneGetsAFreeName) {
    const GroupAttribute args =
        Group({{"paths", Texts({"/root"})}, {"translate", Doubles({1, 0, 0})}});
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op second = graph.add("Transform", args, {graph.add("Transform", args, {scene})});
    const GroupAttribute xform(graph.attr(second, "/root", "xform"));
    ASSERT_EQ(xform.getNumberOfChildren(), 2);
    EXPECT_EQ(xform.getChildName(0), "edit1");
    EXPECT_EQ(xform.getChildName(1), "edit0");
    EXPECT_THAT(Moved(graph.attrs(second, "/root")), ElementsAre(2, 0, 0));
}

TEST(Transform, KeepsTimeSamplesAndFloatsAndTakesIntegersForDoubles) {
    const FloatAttribute moving(std::map<float, std::vector<float>>{{0, {0, 0, 0}}, {1, {4, 0, 0}}},
                                3);
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Transform",
                            Group({{"paths", Texts({"/root"})},
                                   {"translate", moving},
                                   {"scale", IntAttribute({2, 3, 4}, 3)}}),
                            {scene});
    EXPECT_EQ(graph.attr(op, "/root", "xform.edit0.translate"), moving);
    EXPECT_EQ(graph.attr(op, "/root", "xform.edit0.scale"), Doubles({2, 3, 4}));
}

TEST(Transform, LeavesOtherLocationsUncopied) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "Transform", Group({{"paths", Texts({"/root/world"})}, {"scale", Doubles({2, 2, 2})}}),
        {scene});
    const Op idle = graph.add("Transform", Group({{"paths", Texts({"/**"})}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo"));
    EXPECT_FALSE(graph.exists(op, "/root/none"));
    EXPECT_TRUE(graph.shares(idle, scene, "/root/world"));
}

// AttributeEdit -----------------------------------------------------------------------------------

TEST(AttributeEdit, MergesWhatIsSet) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene", Location({{"g", Group({{"x", Int(1)}, {"y", Int(1)}})}, {"t", Int(1)}}));
    const Op op =
        graph.add("AttributeEdit",
                  Group({{"paths", Texts({"/root"})},
                         {"set", Group({{"g", Group({{"y", Int(2)}})}, {"new", Text("n")}})}}),
                  {scene});
    EXPECT_EQ(
        graph.attrs(op, "/root"),
        Group({{"g", Group({{"x", Int(1)}, {"y", Int(2)}})}, {"t", Int(1)}, {"new", Text("n")}}));
}

TEST(AttributeEdit, DeletesByDottedName) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene", Location({{"g", Group({{"x", Int(1)}, {"y", Int(1)}})}, {"t", Int(1)}}));
    const Op op =
        graph.add("AttributeEdit",
                  Group({{"paths", Texts({"/root"})}, {"delete", Texts({"g.x", "t"})}}), {scene});
    EXPECT_EQ(graph.attrs(op, "/root"), Group({{"g", Group({{"y", Int(1)}})}}));
}

TEST(AttributeEdit, DeletesBeforeItSetsSoThatAGroupCanBeReplaced) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Location({{"g", Group({{"x", Int(1)}})}}));
    const Op op = graph.add("AttributeEdit",
                            Group({{"paths", Texts({"/root"})},
                                   {"set", Group({{"g", Group({{"y", Int(2)}})}})},
                                   {"delete", Texts({"g"})}}),
                            {scene});
    EXPECT_EQ(graph.attrs(op, "/root"), Group({{"g", Group({{"y", Int(2)}})}}));
}

TEST(AttributeEdit, GivesAttributesToALocationWithoutAny) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Group({{"c", Group({{"x", Group({})}})}}));
    const Op op =
        graph.add("AttributeEdit",
                  Group({{"paths", Texts({"/root/x"})}, {"set", Group({{"t", Int(1)}})}}), {scene});
    EXPECT_EQ(graph.attrs(op, "/root/x"), Group({{"t", Int(1)}}));
}

TEST(AttributeEdit, LeavesUncopiedWhatItDoesNotChange) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "AttributeEdit",
        Group({{"paths", Texts({"/root/world/**"})}, {"delete", Texts({"xform"})}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box"));
    EXPECT_FALSE(graph.shares(op, scene, "/root/world/geo/ball"));
    EXPECT_FALSE(graph.attr(op, "/root/world/geo/ball", "xform").isValid());
}

// MaterialAssign ----------------------------------------------------------------------------------

TEST(MaterialAssign, SetsThePathAndTheMaterialItself) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "MaterialAssign",
        Group({{"paths", Texts({"/root/world/geo/*"})}, {"material", Text("/root/materials/red")}}),
        {scene});
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "materialAssign"), Text("/root/materials/red"));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "material"), Group({{"color", Text("red")}}));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "tag"), Int(4));
    EXPECT_THAT(graph.children(op, "/root/world/geo/box"), ElementsAre("lid", "body"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box/lid"));
}

TEST(MaterialAssign, SetsThePathAloneWhereThereIsNoMaterial) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op missing = graph.add(
        "MaterialAssign",
        Group({{"paths", Texts({"/root/world"})}, {"material", Text("/root/m/no")}}), {scene});
    const Op empty = graph.add(
        "MaterialAssign",
        Group({{"paths", Texts({"/root/world"})}, {"material", Text("/root/materials/empty")}}),
        {scene});
    EXPECT_EQ(graph.attrs(missing, "/root/world"),
              Group({{"tag", Int(1)}, {"materialAssign", Text("/root/m/no")}}));
    EXPECT_EQ(graph.attrs(empty, "/root/world"),
              Group({{"tag", Int(1)}, {"materialAssign", Text("/root/materials/empty")}}));
}

// RenderSettings ----------------------------------------------------------------------------------

TEST(RenderSettings, AreMergedIntoThoseOfTheRoot) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene",
        Location({{"renderSettings", Group({{"resolution", Text("512sq")}, {"samples", Int(1)}})},
                  {"tag", Int(0)}},
                 {{"world", Location({})}}));
    const Op op =
        graph.add("RenderSettings",
                  Group({{"settings", Group({{"samples", Int(64)}, {"depth", Int(3)}})}}), {scene});
    EXPECT_EQ(
        graph.attrs(op, "/root"),
        Group({{"renderSettings",
                Group({{"resolution", Text("512sq")}, {"samples", Int(64)}, {"depth", Int(3)}})},
               {"tag", Int(0)}}));
    EXPECT_THAT(graph.children(op, "/root"), ElementsAre("world"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world"));
}

TEST(RenderSettings, MakeARootWhereThereIsNone) {
    Graph graph;
    const Op op = graph.add("RenderSettings", Group({{"settings", Group({{"samples", Int(64)}})}}));
    EXPECT_EQ(graph.attr(op, "/root", "renderSettings.samples"), Int(64));
    EXPECT_FALSE(graph.cook(op, "/root").getPotentialChildren().isValid());
}

// Camera ------------------------------------------------------------------------------------------

TEST(Camera, HasTheUsualLensUnlessToldOtherwise) {
    Graph graph;
    const Op op = graph.add("Camera", GroupAttribute());
    const GroupAttribute attrs = graph.attrs(op, "/root/world/cam/camera");
    EXPECT_EQ(attrs.getChildByName("type"), Text("camera"));
    EXPECT_EQ(attrs.getChildByName("geometry"), Group({{"projection", Text("perspective")},
                                                       {"fov", Doubles({45})},
                                                       {"near", Doubles({0.1})},
                                                       {"far", Doubles({100000})},
                                                       {"left", Doubles({-1})},
                                                       {"right", Doubles({1})},
                                                       {"top", Doubles({1})},
                                                       {"bottom", Doubles({-1})}}));
    EXPECT_EQ(attrs.getNumberOfChildren(), 2);
}

TEST(Camera, KeepsEveryNumberAsADoubleWithItsTimeSamples) {
    const FloatAttribute zoom(std::map<float, std::vector<float>>{{0, {30}}, {1, {60}}}, 1);
    Graph graph;
    const Op op = graph.add("Camera", Group({{"fov", zoom},
                                             {"near", Int(2)},
                                             {"projection", Text("orthographic")},
                                             {"orthographicWidth", FloatAttribute(8.0f)},
                                             {"translate", IntAttribute({0, 0, 5}, 3)},
                                             {"rotate", Doubles({90, 0, 1, 0})}}));
    const GroupAttribute attrs = graph.attrs(op, "/root/world/cam/camera");
    const std::map<float, std::vector<double>> zoomInDoubles = {{0, {30}}, {1, {60}}};
    EXPECT_EQ(attrs.getChildByName("geometry.fov"), DoubleAttribute(zoomInDoubles, 1));
    EXPECT_EQ(attrs.getChildByName("geometry.near"), DoubleAttribute(2.0));
    EXPECT_EQ(attrs.getChildByName("geometry.projection"), Text("orthographic"));
    EXPECT_EQ(attrs.getChildByName("geometry.orthographicWidth"), DoubleAttribute(8.0));
    const GroupAttribute xform(attrs.getChildByName("xform"));
    ASSERT_EQ(xform.getNumberOfChildren(), 2);
    EXPECT_EQ(xform.getChildName(0), "translate");
    EXPECT_EQ(xform.getChildByIndex(0), Doubles({0, 0, 5}));
    EXPECT_EQ(xform.getChildName(1), "rotate");
}

TEST(Camera, MakesTheAncestorsThatAreMissingAndListsItInTheOthers) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Camera", Group({{"path", Text("/root/world/cams/hero")}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_THAT(graph.children(op, "/root/world"), ElementsAre("geo", "cams"));
    EXPECT_EQ(graph.attrs(op, "/root/world"), Group({{"tag", Int(1)}}));
    EXPECT_EQ(graph.attrs(op, "/root/world/cams"), Group({{"type", Text("group")}}));
    EXPECT_THAT(graph.children(op, "/root/world/cams"), ElementsAre("hero"));
    EXPECT_THAT(graph.children(op, "/root/world/cams/hero"), IsEmpty());
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/ball"));
    EXPECT_FALSE(graph.exists(op, "/root/world/cams/other"));
}

TEST(Camera, ReplacesTheLensOfALocationThatIsThereAndKeepsTheRest) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene", Location({}, {{"cam", Location({{"type", Text("light")},
                                                       {"geometry", Group({{"radius", Int(1)}})},
                                                       {"tag", Int(7)}},
                                                      {{"rig", Location({})}})}}));
    const Op op = graph.add("Camera", Group({{"path", Text("/root/cam")}}), {scene});
    EXPECT_EQ(graph.attr(op, "/root/cam", "type"), Text("camera"));
    EXPECT_FALSE(graph.attr(op, "/root/cam", "geometry.radius").isValid());
    EXPECT_EQ(graph.attr(op, "/root/cam", "tag"), Int(7));
    EXPECT_THAT(graph.children(op, "/root/cam"), ElementsAre("rig"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/cam/rig"));
}

// Array -------------------------------------------------------------------------------------------

namespace {

GroupAttribute GridArgs(std::initializer_list<int> counts, Children more = {}) {
    more.emplace_back("source", Text("/root/world/geo/ball"));
    more.emplace_back("target", Text("/root/world/balls"));
    more.emplace_back("counts", IntAttribute(counts, 3));
    return Group(more);
}

GroupAttribute ScatterArgs(int count, int seed, Children more = {}) {
    more.emplace_back("source", Text("/root/world/geo/ball"));
    more.emplace_back("target", Text("/root/world/balls"));
    more.emplace_back("mode", Text("scatter"));
    more.emplace_back("count", Int(count));
    more.emplace_back("seed", Int(seed));
    more.emplace_back("extent", Doubles({-10, 10, 0, 0, 100, 200}));
    return Group(more);
}

} // namespace

TEST(ArrayOp, AGridCountsAlongXThenYThenZ) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op =
        graph.add("Array", GridArgs({2, 2, 2}, {{"spacing", Doubles({10, 20, 30})}}), {scene});
    EXPECT_THAT(graph.children(op, "/root/world/balls"),
                ElementsAre("i_0", "i_1", "i_2", "i_3", "i_4", "i_5", "i_6", "i_7"));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_0")), ElementsAre(1, 2, 3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_1")), ElementsAre(11, 2, 3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_2")), ElementsAre(1, 22, 3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_7")), ElementsAre(11, 22, 33));
}

TEST(ArrayOp, AnInstanceIsItsSourceWithOneTransformMore) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({3, 1, 1}), {scene});
    const GroupAttribute moved(Children{{"translate", Doubles({2, 0, 0})}}, false);
    EXPECT_EQ(graph.attrs(op, "/root/world/balls/i_2"),
              Group({{"tag", Int(3)},
                     {"xform", Group({{"instance0", moved}, {"translate", Doubles({1, 2, 3})}})}}));
}

TEST(ArrayOp, WhatLiesBelowAnInstanceIsTheSourcesUncopied) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array",
                            Group({{"source", Text("/root/world/geo/box")},
                                   {"target", Text("/root/world/boxes")},
                                   {"counts", IntAttribute({4, 1, 1}, 3)}}),
                            {scene});
    EXPECT_THAT(graph.children(op, "/root/world/boxes/i_3"), ElementsAre("lid", "body"));
    EXPECT_EQ(graph.cook(op, "/root/world/boxes/i_3/lid").getRecord(),
              graph.cook(scene, "/root/world/geo/box/lid").getRecord());
    EXPECT_FALSE(graph.exists(op, "/root/world/boxes/i_3/other"));
}

TEST(ArrayOp, HidesItsSourceUnlessToldOtherwise) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op hiding = graph.add("Array", GridArgs({2, 1, 1}), {scene});
    EXPECT_FALSE(graph.exists(hiding, "/root/world/geo/ball"));
    EXPECT_THAT(graph.children(hiding, "/root/world/geo"), ElementsAre("box"));
}

TEST(ArrayOp, CanKeepItsSourceVisible) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({2, 1, 1}, {{"keepSource", Int(1)}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/ball"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo"));
    EXPECT_TRUE(graph.exists(op, "/root/world/balls/i_1"));
}

TEST(ArrayOp, MakesItsTargetAndLeavesTheSurroundingsUncopied) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({2, 1, 1}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_THAT(graph.children(op, "/root/world"), ElementsAre("geo", "balls"));
    EXPECT_EQ(graph.attrs(op, "/root/world/balls"), Group({{"type", Text("group")}}));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box"));
    EXPECT_FALSE(graph.exists(op, "/root/world/other"));
}

TEST(ArrayOp, CanFillALocationThatIsThere) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array",
                            Group({{"source", Text("/root/world/geo/ball")},
                                   {"target", Text("/root/world/geo/box")},
                                   {"counts", IntAttribute({2, 1, 1}, 3)}}),
                            {scene});
    EXPECT_THAT(graph.children(op, "/root/world/geo/box"),
                ElementsAre("lid", "body", "i_0", "i_1"));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "tag"), Int(4));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box/lid"));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box/i_1", "tag"), Int(3));
}

TEST(ArrayOp, SourceAndTargetMayBeSiblings) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array",
                            Group({{"source", Text("/root/world/geo/ball")},
                                   {"target", Text("/root/world/geo/balls")},
                                   {"counts", IntAttribute({2, 1, 1}, 3)}}),
                            {scene});
    EXPECT_THAT(graph.children(op, "/root/world/geo"), ElementsAre("box", "balls"));
    EXPECT_TRUE(graph.exists(op, "/root/world/geo/balls/i_0"));
}

TEST(ArrayOp, PutsInstancesIntoGroupsBeyondTheGroupSize) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({11, 1, 1}, {{"groupSize", Int(3)}}), {scene});
    EXPECT_THAT(graph.children(op, "/root/world/balls"), ElementsAre("g_0", "g_1"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_0"), ElementsAre("g_0", "g_1", "g_2"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_0/g_2"),
                ElementsAre("i_06", "i_07", "i_08"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_1"), ElementsAre("g_3"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_1/g_3"), ElementsAre("i_09", "i_10"));
    EXPECT_EQ(graph.attrs(op, "/root/world/balls/g_1"), Group({{"type", Text("group")}}));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/g_1/g_3/i_10")), ElementsAre(11, 2, 3));
}

TEST(ArrayOp, OnlyTheListedInstancesExist) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({11, 1, 1}, {{"groupSize", Int(3)}}), {scene});
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_2"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_2"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_11"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_08"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_9"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_+9"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_0:")); // ':' follows '9'
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/i_00"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_0/i_00"));
}

TEST(ArrayOp, WithoutInstancesOrSourceItsTargetIsEmpty) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op none = graph.add("Array", GridArgs({0, 5, 5}), {scene});
    EXPECT_TRUE(graph.exists(none, "/root/world/balls"));
    EXPECT_THAT(graph.children(none, "/root/world/balls"), IsEmpty());
    EXPECT_FALSE(graph.exists(none, "/root/world/balls/i_0"));
    Graph empty;
    const Op overNothing = empty.add("Array", GridArgs({2, 1, 1}));
    EXPECT_TRUE(empty.exists(overNothing, "/root/world/balls"));
    EXPECT_FALSE(empty.exists(overNothing, "/root/world/balls/i_0"));
}

TEST(ArrayOp, TwoArraysNestAndEachKeepsItsTransform) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op row = graph.add("Array", GridArgs({3, 1, 1}), {scene});
    const Op rows = graph.add("Array",
                              Group({{"source", Text("/root/world/balls/i_2")},
                                     {"target", Text("/root/rows")},
                                     {"counts", IntAttribute({1, 4, 1}, 3)}}),
                              {row});
    EXPECT_THAT(Moved(graph.attrs(rows, "/root/rows/i_3")), ElementsAre(3, 5, 3));
    EXPECT_THAT(graph.children(rows, "/root/world/balls"), ElementsAre("i_0", "i_1"));
}

TEST(ArrayOp, ATrillionInstancesAreReachedAtOnce) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({10000, 10000, 10000}), {scene});
    const auto cooksBefore = TellarRuntime::getNumberOfCooks();
    EXPECT_EQ(graph.children(op, "/root/world/balls").size(), 100u);
    const std::string last = "/root/world/balls/g_99/g_9999/g_999999/g_99999999/g_9999999999";
    EXPECT_EQ(graph.children(op, last).size(), 100u);
    EXPECT_EQ(graph.children(op, last).back(), "i_999999999999");
    EXPECT_THAT(Moved(graph.attrs(op, last + "/i_999999999999")), ElementsAre(10000, 10001, 10002));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/g_12/g_1234/g_123456/g_12345678/"
                                      "g_1234567890/i_123456789012")),
                ElementsAre(9013, 5680, 1237));
    // Nothing was computed but what was asked for and what that is made of.
    EXPECT_LE(TellarRuntime::getNumberOfCooks() - cooksBefore, 8u);
}

TEST(ArrayOp, RefusesMoreInstancesThanItsNamesAreMeantFor) {
    EXPECT_THAT(ErrorOf("Array", GridArgs({2000000000, 2000000000, 2000000000}), 1),
                HasSubstr("Argument \"counts\" asks for more than 1099511627776 instances."));
    EXPECT_THAT(ErrorOf("Array", GridArgs({1048576, 1048577, 1}), 1), HasSubstr("counts"));
    EXPECT_EQ(ErrorOf("Array", GridArgs({1048576, 1048576, 1}), 1), "no error");
}

TEST(ArrayOp, RefusesArgumentsThatMakeNoSense) {
    const auto withPaths = [](const char* source, const char* target) {
        return Group({{"source", Text(source)},
                      {"target", Text(target)},
                      {"counts", IntAttribute({1, 1, 1}, 3)}});
    };
    EXPECT_THAT(ErrorOf("Array", withPaths("/root/a", "/root/a/b"), 1),
                HasSubstr("Argument \"target\" must not lie in the source."));
    EXPECT_THAT(ErrorOf("Array", withPaths("/root/a", "/root/a"), 1),
                HasSubstr("Argument \"target\" must not lie in the source."));
    EXPECT_THAT(ErrorOf("Array", withPaths("/root/a/b", "/root/a"), 1),
                HasSubstr("Argument \"source\" must not lie in the target."));
    EXPECT_EQ(ErrorOf("Array", withPaths("/root/a", "/root/ab"), 1), "no error");
    EXPECT_THAT(ErrorOf("Array", GridArgs({1, -1, 1}), 1),
                HasSubstr("Argument \"counts\" must not be below 0, but holds -1."));
    EXPECT_THAT(ErrorOf("Array", GridArgs({1, 1, 1}, {{"groupSize", Int(1)}}), 1),
                HasSubstr("Argument \"groupSize\" must be from 2 to 1000000, not 1."));
    EXPECT_THAT(ErrorOf("Array", GridArgs({1, 1, 1}, {{"mode", Text("ring")}}), 1),
                HasSubstr("Argument \"mode\" must be \"grid\" or \"scatter\", not \"ring\"."));
    EXPECT_THAT(ErrorOf("Array", Group({{"source", Text("/a")}, {"target", Text("/b")}}), 1),
                HasSubstr("Argument \"counts\" is missing; it must be int[3]."));
    EXPECT_THAT(ErrorOf("Array",
                        Group({{"source", Text("/a")},
                               {"target", Text("/b")},
                               {"mode", Text("scatter")},
                               {"count", Int(1)},
                               {"extent", Doubles({1, 0, 0, 1, 0, 1})}}),
                        1),
                HasSubstr("Argument \"extent\" must not end before it begins on any axis."));
}

TEST(ArrayOp, AScatterStaysWithinItsExtent) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", ScatterArgs(1000, 1, {{"groupSize", Int(1000)}}), {scene});
    double sumX = 0, sumZ = 0;
    for (const std::string& name : graph.children(op, "/root/world/balls")) {
        const std::vector<double> offset =
            Values(graph.attr(op, "/root/world/balls/" + name, "xform.instance0.translate"));
        ASSERT_EQ(offset.size(), 3u);
        ASSERT_TRUE(offset[0] >= -10 && offset[0] < 10) << name;
        ASSERT_EQ(offset[1], 0) << name;
        ASSERT_TRUE(offset[2] >= 100 && offset[2] < 200) << name;
        sumX += offset[0];
        sumZ += offset[2];
    }
    // Four standard deviations of the mean of 1000 even draws, and always the same draws.
    EXPECT_NEAR(sumX / 1000, 0, 4 * 20 / 109.5);
    EXPECT_NEAR(sumZ / 1000, 150, 4 * 100 / 109.5);
}

TEST(ArrayOp, AScatterIsTheSameOnEveryMachine) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", ScatterArgs(10, 42, {{"spin", Int(1)}}), {scene});
    // Written out from the arithmetic by another program.
    EXPECT_THAT(Values(graph.attr(op, "/root/world/balls/i_7", "xform.instance0.translate")),
                ElementsAre(-3.301228836798911, 0.0, 124.08447467918495));
    EXPECT_THAT(Values(graph.attr(op, "/root/world/balls/i_7", "xform.instance0.rotate")),
                ElementsAre(345.04903073857577, 0.0, 1.0, 0.0));
}

TEST(ArrayOp, AnotherSeedIsAnotherArrangement) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op one = graph.add("Array", ScatterArgs(5, 1), {scene});
    const Op again = graph.add("Array", ScatterArgs(6, 1), {scene});
    const Op other = graph.add("Array", ScatterArgs(5, 2), {scene});
    EXPECT_EQ(graph.attrs(one, "/root/world/balls/i_3"),
              graph.attrs(again, "/root/world/balls/i_3"));
    EXPECT_NE(graph.attrs(one, "/root/world/balls/i_3"),
              graph.attrs(other, "/root/world/balls/i_3"));
    EXPECT_NE(graph.attrs(one, "/root/world/balls/i_3"), graph.attrs(one, "/root/world/balls/i_4"));
}

TEST(ArrayOp, ASpinTurnsAboutYBeforeItMoves) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", ScatterArgs(5, 1, {{"spin", Int(1)}}), {scene});
    const GroupAttribute edit(graph.attr(op, "/root/world/balls/i_3", "xform.instance0"));
    ASSERT_EQ(edit.getNumberOfChildren(), 2);
    EXPECT_EQ(edit.getChildName(0), "translate");
    EXPECT_EQ(edit.getChildName(1), "rotate");
    const std::vector<double> rotate = Values(edit.getChildByIndex(1));
    ASSERT_EQ(rotate.size(), 4u);
    EXPECT_TRUE(rotate[0] >= 0 && rotate[0] < 360);
    EXPECT_EQ(rotate[2], 1);
}
