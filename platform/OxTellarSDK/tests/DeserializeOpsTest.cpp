#include <OxTellarSDK/TellarRuntime.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include "AttributePrinter.h"
#include "ErrorOf.h"
#include "OpenFiles.h"
#include "TempDirectory.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::SizeIs;

// Op files

TEST(DeserializeOps, MakesTheOpsOfAFileAndReturnsTheLast) {
    const TempDirectory folder;
    const GroupAttribute args({Value(21), Counted("from file")}, true);
    const StringAttribute source(kSource), sum(kSum);
    WriteOpFile(
        folder.path("tree"),
        GroupAttribute(
            {{"first", GroupAttribute({{"opType", source}, {"opArgs", args}}, true)},
             {"top", GroupAttribute({{"opType", sum},
                                     {"opInputs", StringAttribute({"first", "", "first"}, 1)}},
                                    true)}},
            true));
    Graph graph;
    FileStream stream(folder.path("tree"), true);
    const Op top = graph.transaction->deserializeOps(&stream, &FileStream::read);
    EXPECT_EQ(top->getName(), "top");
    EXPECT_EQ(top->getType(), "TestSum");
    EXPECT_FALSE(top->getArgs().isValid());
    ASSERT_THAT(top->getInputs(), SizeIs(3));
    EXPECT_EQ(top->getInputs()[1], nullptr);
    EXPECT_EQ(top->getInputs()[0], top->getInputs()[2]);
    EXPECT_EQ(top->getInputs()[0]->getArgs(), args);
    EXPECT_EQ(ValueAt(graph.commit(top), "/root"), 42);
}

TEST(DeserializeOps, LeavesADirectoryToTypesThatTakeNone) {
    const TempDirectory folder;
    const GroupAttribute args({{"directory", StringAttribute(".")}}, true);
    const GroupAttribute op({{"opType", StringAttribute(kSource)}, {"opArgs", args}}, true);
    WriteOpFile(folder.path("tree"), GroupAttribute({{"only", op}}, true));
    Graph graph;
    FileStream stream(folder.path("tree"), true);
    EXPECT_EQ(graph.transaction->deserializeOps(stream)->getArgs(), args);
}

TEST(DeserializeOps, AnOpCanReferToALaterOne) {
    const TempDirectory folder;
    const auto entry = [](const char* type, const char* input) {
        return GroupAttribute({{"opType", StringAttribute(type)},
                               {"opArgs", GroupAttribute({Value(3)}, true)},
                               {"opInputs", StringAttribute({input}, 1)}},
                              true);
    };
    WriteOpFile(folder.path("tree"), GroupAttribute({{"b", entry("TestPass", "c")},
                                                     {"c", entry("TestSource", "")},
                                                     {"a", entry("TestPass", "b")}},
                                                    true));
    Graph graph;
    FileStream stream(folder.path("tree"), true);
    const Op top = graph.transaction->deserializeOps(&stream, &FileStream::read);
    EXPECT_EQ(ValueAt(graph.commit(top), "/root"), 3);
}

TEST(DeserializeOps, RefusesAnythingElseAndNamesTheFile) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("attribute"), IntAttribute(1));
    const auto errorOf = [](const std::string& path) -> std::string {
        Graph graph;
        FileStream stream(path, true);
        return ErrorOf([&] { graph.transaction->deserializeOps(&stream, &FileStream::read); });
    };
    EXPECT_EQ(errorOf(folder.path("attribute")),
              "File \"" + folder.path("attribute") +
                  "\" is an attribute stream, not a serialised op file");
    const std::string text = folder.write("text", "just text");
    EXPECT_EQ(errorOf(text), "File \"" + text + "\" is no attribute file");
    const std::string empty = folder.write("empty", "");
    EXPECT_EQ(errorOf(empty), "File \"" + empty + "\" is no attribute file");
}

TEST(DeserializeOps, SharesLargeArgumentsOfAFileWithoutReadingThem) {
    const TempDirectory folder;
    const std::vector<double> large(400000, 1.5);
    const auto tree = [&](double last) {
        std::vector<double> values = large;
        values.push_back(last);
        const auto op = [&](const char* extra) {
            return GroupAttribute(
                {{"opType", StringAttribute("TestSource")},
                 {"opArgs", GroupAttribute({{extra, DoubleAttribute(values, 1)}}, true)}},
                true);
        };
        const GroupAttribute more({{"pad", DoubleAttribute(std::vector<double>(200000, last), 1)}},
                                  true);
        return GroupAttribute({{"a", op("x")},
                               {"b", op("y")},
                               {"c", GroupAttribute({{"opType", StringAttribute("TestSum")},
                                                     {"opArgs", more},
                                                     {"opInputs", StringAttribute({"a", "b"}, 1)}},
                                                    true)}},
                              true);
    };
    WriteOpFile(folder.path("one"), tree(1));
    WriteOpFile(folder.path("two"), tree(2));
    const auto inputs = [](const std::string& path) {
        Graph graph;
        FileStream stream(path, true);
        const Op top = graph.transaction->deserializeOps(&stream, &FileStream::read);
        graph.commit();
        return top->getInputs();
    };
    const std::vector<Op> first = inputs(folder.path("one")), again = inputs(folder.path("one"));
    const std::vector<Op> other = inputs(folder.path("two"));
    EXPECT_EQ(first[0]->getIdentity(), again[0]->getIdentity());
    EXPECT_EQ(first[1]->getIdentity(), again[1]->getIdentity());
    EXPECT_NE(first[0]->getIdentity(), first[1]->getIdentity());
    EXPECT_NE(first[0]->getIdentity(), other[0]->getIdentity());
}

namespace {

/// One op of the type, with the argument "value" 4, in a file that is large enough to be mapped.
void WriteLargeOpFile(const std::string& path, const std::string& opType) {
    const DoubleAttribute padding(std::vector<double>(700000, 0.5), 1);
    const GroupAttribute args({Value(4), {"padding", padding}}, true);
    const GroupAttribute entry({{"opType", StringAttribute(opType)}, {"opArgs", args}}, true);
    WriteOpFile(path, GroupAttribute({{"a", entry}}, true));
}

} // namespace

TEST(DeserializeOps, ClosesALargeFileWithItsRuntime) {
    const TempDirectory folder;
    const std::string path = folder.path("large");
    WriteLargeOpFile(path, kSource);
    LocationData data;
    {
        Graph graph;
        FileStream stream(path, true);
        const Op op = graph.transaction->deserializeOps(&stream, &FileStream::read);
        data = graph.commit(op)->cookLocation("/root");
        EXPECT_TRUE(IsOpen(path));
        graph.runtime->finalize();
        EXPECT_TRUE(IsOpen(path)); // the Op holds its arguments
    }
    EXPECT_FALSE(IsOpen(path));
    EXPECT_EQ(Number(data.getAttrs(), "value"), 4);
}

TEST(DeserializeOps, KeepsALargeFileOpenForResultsInIt) {
    static const std::string kArgsAsAttrs =
        Register("TestArgsAsAttrs", [](CookContext& context) { context.setAttrs(context.args()); });
    const TempDirectory folder;
    const std::string path = folder.path("large");
    WriteLargeOpFile(path, kArgsAsAttrs);
    LocationData data;
    {
        Graph graph;
        FileStream stream(path, true);
        const Op op = graph.transaction->deserializeOps(&stream, &FileStream::read);
        data = graph.commit(op)->cookLocation("/root");
    }
    EXPECT_TRUE(IsOpen(path));
    EXPECT_EQ(Number(data.getAttrs(), "value"), 4);
    data = LocationData();
    TellarRuntime::create()->finalize();
    EXPECT_FALSE(IsOpen(path));
}
