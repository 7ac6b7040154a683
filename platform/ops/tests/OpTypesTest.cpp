#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/TellarError.h>

#include "OpTypeScenes.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::HasSubstr;

TEST(OpTypes, AllAreFoundByNameAndDescribed) {
    for (const char* name :
         {"Array", "AttributeEdit", "Camera", "CapturedScene", "Instances", "MaterialAssign",
          "Merge", "Prune", "RenderSettings", "Share", "StaticScene", "Transform"}) {
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

TEST(OpTypes, RefuseUnknownArguments) {
    EXPECT_THAT(CookErrorOf("StaticScene", Group({{"b", Int(1)}})),
                HasSubstr("Argument \"b\" is not known to the op type \"StaticScene\"."));
    EXPECT_THAT(CookErrorOf("Prune", Group({{"path", Texts({"/root"})}}), 1),
                HasSubstr("Argument \"path\" is not known to the op type \"Prune\"; did you mean "
                          "\"paths\"?"));
    EXPECT_THAT(CookErrorOf("Merge", Group({{"order", Int(1)}}), 2),
                HasSubstr("Argument \"order\" is not known to the op type \"Merge\"."));
}

TEST(OpTypes, RefuseMissingRequiredArguments) {
    const std::string paths = "Argument \"paths\" is missing; it must be string[].";
    EXPECT_THAT(CookErrorOf("Prune", Group({}), 1), HasSubstr(paths));
    EXPECT_THAT(CookErrorOf("Transform", Group({}), 1), HasSubstr(paths));
    EXPECT_THAT(CookErrorOf("AttributeEdit", Group({}), 1), HasSubstr(paths));
    EXPECT_THAT(CookErrorOf("MaterialAssign", Group({{"paths", Texts({"/root"})}}), 1),
                HasSubstr("Argument \"material\" is missing; it must be string."));
    EXPECT_THAT(CookErrorOf("RenderSettings", GroupAttribute(), 1),
                HasSubstr("Argument \"settings\" is missing; it must be group."));
    EXPECT_THAT(CookErrorOf("Array", Group({{"target", Text("/root/a")}}), 1),
                HasSubstr("Argument \"source\" is missing; it must be string."));
}

TEST(OpTypes, RefuseArgumentsOfAWrongTypeOrLength) {
    const Attribute all = Texts({"/**"});
    EXPECT_THAT(CookErrorOf("StaticScene", Group({{"c", Int(1)}})),
                HasSubstr("Argument \"c\" must be group."));
    EXPECT_THAT(CookErrorOf("Prune", Group({{"paths", Int(1)}}), 1),
                HasSubstr("Argument \"paths\" must be string[]."));
    EXPECT_THAT(CookErrorOf("Prune", Group({{"paths", all}, {"keepNames", Text("yes")}}), 1),
                HasSubstr("Argument \"keepNames\" must be int."));
    EXPECT_THAT(CookErrorOf("Prune", Group({{"paths", all}, {"keepNames", Int(2)}}), 1),
                HasSubstr("Argument \"keepNames\" must be from 0 to 1, not 2."));
    EXPECT_THAT(
        CookErrorOf("Transform", Group({{"paths", all}, {"rotate", Doubles({1, 0, 0})}}), 1),
        HasSubstr("Argument \"rotate\" must be double[4]."));
    EXPECT_THAT(CookErrorOf("Transform", Group({{"paths", all}, {"scale", Text("2")}}), 1),
                HasSubstr("Argument \"scale\" must be double[3]."));
    EXPECT_THAT(CookErrorOf("Transform", Group({{"paths", all}, {"order", Text("inside")}}), 1),
                HasSubstr("Argument \"order\" must be \"after\" or \"before\", not \"inside\"."));
    EXPECT_THAT(CookErrorOf("Camera", Group({{"fov", Doubles({1, 2})}}), 1),
                HasSubstr("Argument \"fov\" must be double."));
    EXPECT_THAT(CookErrorOf("Camera", Group({{"projection", Texts({"a", "b"})}}), 1),
                HasSubstr("Argument \"projection\" must be string."));
}

TEST(OpTypes, NameTheArgumentAtFaultInTheFactsOfTheError) {
    Graph graph;
    const Op prune = graph.add("Prune", Group({{"paths", Int(1)}}), {graph.add("StaticScene", {})});
    try {
        graph.cook(prune, "/root");
        FAIL() << "it was cooked";
    } catch (const TellarError& error) {
        EXPECT_EQ(error.getFacts().code, kOxErrorValue);
        EXPECT_EQ(error.getFacts().attribute, "paths");
        EXPECT_EQ(error.getFacts().opType, "Prune");
        EXPECT_EQ(error.getFacts().location, "/root");
    }
}

TEST(OpTypes, RefuseInvalidGlobsAndPaths) {
    EXPECT_THAT(
        CookErrorOf("Prune", Group({{"paths", Texts({"/root", "world"})}}), 1),
        HasSubstr("Argument \"paths\": The location pattern \"world\" does not start with \"/\"."));
    EXPECT_THAT(CookErrorOf("Camera", Group({{"path", Text("camera")}}), 1),
                HasSubstr("Argument \"path\" must be an absolute location path, not \"camera\"."));
    EXPECT_THAT(
        CookErrorOf("StaticScene", Group({{"location", Text("/root/")}})),
        HasSubstr("Argument \"location\" must be an absolute location path, not \"/root/\"."));
    EXPECT_THAT(CookErrorOf("StaticScene", Group({{"location", Text("/root//a")}})),
                HasSubstr("not \"/root//a\"."));
}

TEST(OpTypes, RefuseMoreInputsThanTheyUse) {
    EXPECT_THAT(CookErrorOf("StaticScene", SmallScene(), 1),
                HasSubstr("The Op takes no inputs, but is wired to 1."));
    EXPECT_THAT(CookErrorOf("Prune", Group({{"paths", Texts({"/root"})}}), 2),
                HasSubstr("The Op takes one input, but is wired to 2."));
}

TEST(OpTypes, CanBeCookedByManyThreads) {
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

TEST(OpTypes, TreatAMissingInputAsAnEmptyScene) {
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

} // namespace
