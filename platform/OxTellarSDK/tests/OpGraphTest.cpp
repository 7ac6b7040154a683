#include <OxTellarSDK/TellarRuntime.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include "AllocatedBytes.h"
#include "AttributePrinter.h"
#include "ErrorOf.h"
#include "OpenFiles.h"
#include "TempDirectory.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

// Errors

TEST(CookErrors, NameTheOpItsTypeAndTheLocation) {
    Graph graph;
    const Client client = graph.commit(
        graph.op(kThrow, {{"message", StringAttribute("no such luck")}}, {}, "the \"op\""));
    EXPECT_EQ(CookError(client, "/root/a b"),
              "Op \"the \"op\"\" (TestThrow) at \"/root/a b\": no such luck");
}

TEST(CookErrors, NameTheOpThatFailedAndNotThoseAboveIt) {
    Graph graph;
    const Op failing = graph.op(kThrow, {{"message", StringAttribute("why")}}, {}, "deep");
    const Client client = graph.commit(graph.chain(graph.op(kSum, {}, {failing}), 5));
    EXPECT_EQ(CookError(client, "/root"), "Op \"deep\" (TestThrow) at \"/root\": why");
}

TEST(CookErrors, WithoutANameTheOpIsCalledByItsNumber) {
    Graph graph;
    graph.op(kSource);
    const Client client = graph.commit(graph.op(kThrow, {{"message", StringAttribute("why")}}));
    EXPECT_EQ(client->getOp()->getName(), "op1");
    EXPECT_EQ(CookError(client, "/root"), "Op \"op1\" (TestThrow) at \"/root\": why");
}

TEST(CookErrors, WhatIsNoExceptionIsReportedToo) {
    static const std::string kOdd = Register("TestThrowsInt", [](CookContext&) { throw 42; });
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kOdd, {}, {}, "odd"), 2));
    EXPECT_EQ(CookError(client, "/root"), "Op \"odd\" (TestThrowsInt) at \"/root\": it threw "
                                          "something that is no std::exception");
}

TEST(CookErrors, AnUnknownTypeIsOneAndOnlyWhenItIsCooked) {
    Graph graph;
    const Op unknown = graph.op("NoSuchType", {}, {}, "stranger");
    const Client client =
        graph.commit(graph.op(kSwitch, {}, {unknown, graph.op(kSource, {Value(1)})}));
    EXPECT_EQ(CookError(client, "/root/left/a"),
              "Op \"stranger\" (NoSuchType) at \"/root/left/a\": there is no op type of this name");
    EXPECT_EQ(ValueAt(client, "/root/right"), 1);
}

TEST(CookErrors, AnOpThatCannotBeCookedKeepsItsInputs) {
    Graph graph;
    const Op source = graph.op(kSource), unknown = graph.op("NoSuchType", {}, {source, nullptr});
    graph.commit();
    EXPECT_EQ(unknown->getInputs(), (std::vector<Op>{source, nullptr}));
}

TEST(CookErrors, ManyOpsOfUnknownTypesAreCommittedQuickly) {
    Graph graph;
    for (int i = 0; i < 20000; ++i)
        graph.op("NoSuchType" + std::to_string(i));
    const Client client = graph.commit(graph.op("NoSuchType"));
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("there is no op type of this name"));
}

TEST(CookErrors, AnOpWithoutATypeIsOneToo) {
    Graph graph;
    const Op op = graph.transaction->createOp();
    EXPECT_EQ(CookError(graph.commit(op), "/root"),
              "Op \"op0\" () at \"/root\": there is no op type of this name");
}

TEST(CookErrors, AnOpMayCatchWhatItsInputThrows) {
    static const std::string kCatching = Register("TestCatching", [](CookContext& context) {
        try {
            context.pass(context.input(0));
        } catch (const std::exception& error) {
            context.setAttrs(GroupAttribute({{"caught", StringAttribute(error.what())}}, true));
        }
    });
    Graph graph;
    const Client client = graph.commit(graph.op(
        kCatching, {}, {graph.op(kThrow, {{"message", StringAttribute("why")}}, {}, "x")}));
    EXPECT_EQ(Text(client->cookLocation("/root").getAttrs(), "caught"),
              "Op \"x\" (TestThrow) at \"/root\": why");
}

TEST(CookErrors, ALocationThatNeedsItselfIsOne) {
    static Client itself;
    static const std::string kNarcissus = Register(
        "TestNarcissus", [](CookContext& context) { context.pass(itself->cookLocation("/root")); });
    Graph graph;
    itself = graph.commit(graph.op(kNarcissus, {}, {}, "pond"));
    EXPECT_EQ(CookError(itself, "/root"),
              "Op \"pond\" (TestNarcissus) at \"/root\": the location needs itself");
    EXPECT_EQ(CookError(itself, "/root/a"),
              "Op \"pond\" (TestNarcissus) at \"/root\": the location needs itself");
    itself.reset();
}

// Cycles and depth

namespace {

/// Ops named after letters; "abc" makes a look at b, b at c and c at a.
class Circle : public Graph {
public:
    explicit Circle(const std::string& names) {
        for (const char name : names)
            ops.push_back(op(kPass, {}, {}, std::string(1, name)));
        for (std::size_t i = 0; i < ops.size(); ++i)
            transaction->setOpInputs(ops[i], {ops[(i + 1) % ops.size()]});
    }
    std::vector<Op> ops;
};

} // namespace

TEST(Cycles, OfOneOpAreErrors) {
    Circle circle("a");
    EXPECT_EQ(CookError(circle.commit(circle.ops[0]), "/root"),
              "Op \"a\" (TestPass) at \"/root\": it is part of a cycle: a -> a");
}

TEST(Cycles, OfTwoOpsAreErrors) {
    Circle circle("ab");
    EXPECT_EQ(CookError(circle.commit(circle.ops[0]), "/root"),
              "Op \"a\" (TestPass) at \"/root\": it is part of a cycle: a -> b -> a");
}

TEST(Cycles, OfThreeOpsAreErrorsWhereverOneLooks) {
    Circle circle("abc");
    const Client a = circle.client(circle.ops[0]), b = circle.client(circle.ops[1]);
    const Client c = circle.commit(circle.ops[2]);
    const std::string cycle = "it is part of a cycle: a -> b -> c -> a";
    EXPECT_EQ(CookError(a, "/root"), "Op \"a\" (TestPass) at \"/root\": " + cycle);
    EXPECT_EQ(CookError(b, "/root"), "Op \"b\" (TestPass) at \"/root\": " + cycle);
    EXPECT_EQ(CookError(c, "/x/y"), "Op \"c\" (TestPass) at \"/x/y\": " + cycle);
    EXPECT_FALSE(a->getCachedLocation("/root").isValid());
    circle.runtime->evict("/root");
}

TEST(Cycles, BelowAnOpAreErrorsThatNameTheCycle) {
    Circle circle("ab");
    const Client client = circle.commit(circle.chain(circle.ops[0], 3));
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"a\" (TestPass) at \"/root\": it is part of a cycle: a -> b -> a");
}

TEST(Cycles, LeaveASoundBranchUsable) {
    Circle circle("ab");
    const Op source = circle.op(kSource, {Value(6)});
    const Client client = circle.commit(circle.op(kSwitch, {}, {circle.ops[1], source}));
    EXPECT_EQ(ValueAt(client, "/root/right"), 6);
    EXPECT_THAT(CookError(client, "/root/left"), HasSubstr("cycle"));
}

TEST(Cycles, ThatShareOpsAreErrorsWhereverOneLooks) {
    // a -> b -> a, and a -> c -> b: two cycles through a and b.
    Graph graph;
    const Op a = graph.op(kSum, {}, {}, "a"), b = graph.op(kSum, {}, {}, "b");
    const Op c = graph.op(kSum, {}, {b}, "c");
    graph.transaction->setOpInputs(a, {b, c});
    graph.transaction->setOpInputs(b, {a});
    const std::vector<Client> clients = {graph.client(a), graph.client(b), graph.client(c)};
    graph.commit();
    for (const Client& client : clients)
        EXPECT_THAT(CookError(client, "/root"), HasSubstr("it is part of a cycle"));
}

TEST(Cycles, OfManyOpsNameTheFirstAndTheLast) {
    Graph graph;
    std::vector<Op> ops;
    for (int i = 0; i < 20; ++i)
        ops.push_back(graph.op(kPass, {}, {}, "n" + std::to_string(i)));
    for (std::size_t i = 0; i < ops.size(); ++i)
        graph.transaction->setOpInputs(ops[i], {ops[(i + 1) % ops.size()]});
    EXPECT_EQ(
        CookError(graph.commit(ops[0]), "/root"),
        "Op \"n0\" (TestPass) at \"/root\": it is part of a cycle: n0 -> n1 -> n2 -> n3 -> "
        "n4 -> n5 -> n6 -> n7 -> (4 more) -> n12 -> n13 -> n14 -> n15 -> n16 -> n17 -> n18 -> "
        "n19 -> n0");
}

TEST(Cycles, HaveLongNamesCutBetweenCharacters) {
    Graph graph;
    const std::string name = std::string(63, 'x') + "\u00e9";
    const Op op = graph.op(kPass, {}, {}, name);
    graph.transaction->setOpInputs(op, {op});
    const std::string shown = std::string(63, 'x') + "...";
    EXPECT_THAT(CookError(graph.commit(op), "/root"),
                EndsWith("part of a cycle: " + shown + " -> " + shown));
}

TEST(Cycles, TakeMemoryInProportionToTheirOps) {
    const auto bytesOfCommit = [](std::size_t length) {
        Circle circle(std::string(length, 'x'));
        circle.transaction->setOpInputs(circle.ops.back(), circle.ops); // as many cycles as ops
        const std::size_t before = AllocatedBytes();
        const Client client = circle.commit(circle.ops[0]);
        EXPECT_THAT(CookError(client, "/root"), HasSubstr("it is part of a cycle: x -> x"));
        return AllocatedBytes() - before;
    };
    bytesOfCommit(1000); // makes what is made once
    const std::size_t few = bytesOfCommit(1000);
    EXPECT_LT(bytesOfCommit(20000), 24 * few);
}

TEST(Cycles, LetTheirOpsGo) {
    std::weak_ptr<TellarRuntime::Op> committed, dropped;
    {
        Circle circle("abc");
        committed = circle.ops[1];
        circle.commit(circle.ops[0]);
        Circle other("abc");
        dropped = other.ops[1];
    }
    EXPECT_TRUE(committed.expired());
    EXPECT_TRUE(dropped.expired());
}

TEST(Depth, AChainOf512OpsWorks) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(1), Counted("depth 512")});
    const Client client = graph.commit(graph.chain(source, 512));
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    graph.runtime->evict("/root");
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    EXPECT_EQ(Counter::take("depth 512"), 2);
}

TEST(Depth, AChainOf600OpsIsAClearError) {
    Graph graph;
    const Op source = graph.op(kSource);
    const Client client = graph.commit(graph.chain(source, 600));
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"op600\" (TestPass) at \"/root\": it depends on more "
              "than 512 ops, one through the other");
}

TEST(Depth, TheOpsBelowTheLimitStillWork) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(9)});
    const Op low = graph.chain(source, 100);
    const Client client = graph.client(low);
    graph.commit(graph.chain(low, 1000));
    EXPECT_EQ(ValueAt(client, "/root"), 9);
}

TEST(Depth, AChainOf100000OpsIsCommittedCookedAndLetGo) {
    std::weak_ptr<TellarRuntime::Op> bottom;
    {
        Graph graph;
        const Op source = graph.op(kSource);
        bottom = source;
        const Client client = graph.commit(graph.chain(source, 100000));
        EXPECT_THAT(CookError(client, "/root"), HasSubstr("more than 512 ops"));
    }
    EXPECT_TRUE(bottom.expired());
}

TEST(Depth, AChainOf100000OpsIsLetGoUncommitted) {
    std::weak_ptr<TellarRuntime::Op> bottom;
    {
        Graph graph;
        const Op source = graph.op(kSource);
        bottom = source;
        graph.chain(source, 100000);
    }
    EXPECT_TRUE(bottom.expired());
}

TEST(Depth, AChainMadeOfManyTransactionsIsLetGoFromItsEnd) {
    Op last;
    std::weak_ptr<TellarRuntime::Op> bottom;
    const auto runtime = TellarRuntime::create();
    for (int i = 0; i < 20000; ++i) {
        Graph graph(runtime);
        last = last ? graph.op(kPass, {}, {last}) : graph.op(kSource);
        if (i == 0) bottom = last;
        graph.commit();
    }
    EXPECT_FALSE(bottom.expired());
    last.reset();
    EXPECT_TRUE(bottom.expired());
}

// Transactions

namespace {

/// The text of the std::invalid_argument that `body` throws, or "no error".
template <typename Body>
std::string RefusalOf(Body body) {
    try {
        body();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "no error";
}

} // namespace

TEST(Transaction, IsCommittedOnce) {
    Graph graph;
    graph.commit();
    EXPECT_EQ(ErrorOf([&] { graph.commit(); }), "commit: the transaction is committed already");
}

TEST(Transaction, IsCommittedByItsOwnRuntimeOnly) {
    constexpr const char* kText = "commit: the transaction is not one of this runtime";
    Graph graph;
    EXPECT_EQ(RefusalOf([&] { TellarRuntime::create()->commit(graph.transaction); }), kText);
    EXPECT_EQ(RefusalOf([&] { graph.runtime->commit(nullptr); }), kText);
    graph.commit();
    EXPECT_EQ(RefusalOf([&] { TellarRuntime::create()->commit(graph.transaction); }), kText);
}

TEST(Transaction, ChangesNothingAfterItsCommit) {
    constexpr const char* kText = "The transaction is committed already";
    const TempDirectory folder;
    const std::string file = folder.path("scene.oxop");
    WriteOpFile(
        file, GroupAttribute({{"a", GroupAttribute({{"opType", StringAttribute(kSource)}}, true)}},
                             true));
    Graph graph;
    const Op op = graph.op(kSource, {Value(1)});
    const Client client = graph.commit(op);
    TellarRuntime::Transaction& transaction = *graph.transaction;
    EXPECT_EQ(RefusalOf([&] { transaction.createOp(); }), kText);
    EXPECT_EQ(RefusalOf([&] { transaction.createClient(); }), kText);
    EXPECT_EQ(RefusalOf([&] { transaction.setOpName(op, "x"); }), kText);
    EXPECT_EQ(RefusalOf([&] { transaction.setOpArgs(op, kNothing, GroupAttribute()); }), kText);
    EXPECT_EQ(RefusalOf([&] { transaction.setOpInputs(op, {}); }), kText);
    EXPECT_EQ(RefusalOf([&] { transaction.setClientOp(client, nullptr); }), kText);
    FileStream stream(file, true);
    EXPECT_EQ(RefusalOf([&] { transaction.deserializeOps(&stream, &FileStream::read); }), kText);
    EXPECT_EQ(ValueAt(client, "/root"), 1);
}

TEST(Transaction, RefusesNullOpsAndClients) {
    Graph graph;
    EXPECT_THROW(graph.transaction->setOpName(nullptr, "x"), std::invalid_argument);
    EXPECT_THROW(graph.transaction->setOpArgs(nullptr, kPass, GroupAttribute()),
                 std::invalid_argument);
    EXPECT_THROW(graph.transaction->setOpInputs(nullptr, {}), std::invalid_argument);
    EXPECT_THROW(graph.transaction->setClientOp(nullptr, graph.op(kPass)), std::invalid_argument);
}

TEST(Transaction, RefusesToChangeOpsOfAnotherOne) {
    Graph mine, other(mine.runtime), foreign;
    for (const Op& op : {other.op(kSource), foreign.op(kSource)}) {
        EXPECT_THROW(mine.transaction->setOpName(op, "x"), std::invalid_argument);
        EXPECT_THROW(mine.transaction->setOpArgs(op, kPass, GroupAttribute()),
                     std::invalid_argument);
        EXPECT_THROW(mine.transaction->setOpInputs(op, {}), std::invalid_argument);
    }
}

TEST(Transaction, RefusesUncommittedOpsOfAnotherOneAsInputsAndForClients) {
    Graph mine, other(mine.runtime);
    const Op unfinished = other.op(kSource, {Value(5)});
    const Op op = mine.op(kPass);
    const Client client = mine.client(op);
    EXPECT_THROW(mine.transaction->setOpInputs(op, {nullptr, unfinished}), std::invalid_argument);
    EXPECT_THROW(mine.transaction->setClientOp(client, unfinished), std::invalid_argument);
    other.commit();
    mine.transaction->setOpInputs(op, {unfinished});
    mine.commit();
    EXPECT_EQ(ValueAt(client, "/root"), 5);
}

TEST(Transaction, RefusesClientsOfAnotherOne) {
    Graph mine, other(mine.runtime);
    EXPECT_THROW(mine.transaction->setClientOp(other.client(nullptr), mine.op(kSource)),
                 std::invalid_argument);
}

TEST(Transaction, LeavesTheOpItNamesInItsErrors) {
    Graph graph;
    const Op op = graph.op(kSource, {}, {}, "mine");
    graph.commit();
    Graph later(graph.runtime);
    try {
        later.transaction->setOpName(op, "x");
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_EQ(std::string(error.what()), "Op \"mine\" (TestSource) is committed already");
    }
}

TEST(Transaction, GivesOpsTheirNumbersNamesTypesAndArgs) {
    Graph graph, second(graph.runtime);
    const Op a = graph.op(kSource, {Value(1)}), b = second.op(kSum, {}, {}, "b"), c = graph.op("");
    EXPECT_EQ(a->getId(), 0);
    EXPECT_EQ(b->getId(), 1);
    EXPECT_EQ(c->getId(), 2);
    EXPECT_EQ(a->getName(), "op0");
    EXPECT_EQ(b->getName(), "b");
    EXPECT_EQ(a->getType(), "TestSource");
    EXPECT_EQ(a->getArgs(), GroupAttribute({Value(1)}, true));
    EXPECT_EQ(a->getInputs().size(), 0u);
}

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

TEST(DeserializeOps, AnOpMayNameOneThatComesLater) {
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
        try {
            graph.transaction->deserializeOps(&stream, &FileStream::read);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "no error";
    };
    EXPECT_EQ(errorOf(folder.path("attribute")),
              "File \"" + folder.path("attribute") +
                  "\" is an attribute stream, not a serialised op file");
    const std::string text = folder.write("text", "just text");
    EXPECT_EQ(errorOf(text), "File \"" + text + "\" is no attribute file");
    const std::string empty = folder.write("empty", "");
    EXPECT_EQ(errorOf(empty), "File \"" + empty + "\" is no attribute file");
}

TEST(DeserializeOps, LargeArgumentsAreSharedByFileWithoutReadingThem) {
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

TEST(DeserializeOps, ALargeFileIsClosedWithItsRuntime) {
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

TEST(DeserializeOps, AResultThatLiesInALargeFileKeepsItOpen) {
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

// Text queries

namespace {

struct Answer {
    std::string text;
    std::vector<int> statuses;
    std::size_t largest = 0;

    static void receive(const char* text, std::size_t length, int status, void* user) {
        auto& answer = *static_cast<Answer*>(user);
        answer.text.append(text, length);
        answer.statuses.push_back(status);
        answer.largest = std::max(answer.largest, length);
    }
};

Answer Ask(const Graph& graph, const std::string& query) {
    Answer answer;
    graph.runtime->queryText(query, &Answer::receive, &answer);
    return answer;
}

rapidjson::Document Json(const Answer& answer) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(answer.text.data(), answer.text.size());
    if (document.HasParseError()) throw std::runtime_error("no JSON: " + answer.text);
    return document;
}

} // namespace

TEST(QueryText, TellsTheOpTreeWithoutNames) {
    Graph graph;
    const Op a = graph.op(kSource, {{"secret", StringAttribute("argument")}}, {}, "secretName");
    graph.commit(graph.op(kSum, {}, {a, nullptr, a}));
    const Answer answer = Ask(graph, "getAnonymousOpTree");
    EXPECT_EQ(answer.text, "{\"ops\":[{\"type\":\"TestSource\",\"inputs\":[]},"
                           "{\"type\":\"TestSum\",\"inputs\":[0,null,0]}]}");
    EXPECT_THAT(answer.statuses, ElementsAre(0));
    EXPECT_TRUE(Json(answer).IsObject());
}

TEST(QueryText, CountsTheOpTypes) {
    Graph graph;
    graph.chain(graph.op(kSource), 4);
    graph.commit();
    const Answer answer = Ask(graph, "getAnonymousOpRegistry");
    EXPECT_EQ(answer.text, "{\"opTypes\":[{\"type\":\"TestPass\",\"ops\":4},"
                           "{\"type\":\"TestSource\",\"ops\":1}]}");
    EXPECT_TRUE(Json(answer).IsObject());
}

TEST(QueryText, OfARuntimeWithoutOpsIsJsonToo) {
    Graph graph;
    EXPECT_EQ(Ask(graph, "getAnonymousOpTree").text, "{\"ops\":[]}");
    EXPECT_EQ(Ask(graph, "getAnonymousOpRegistry").text, "{\"opTypes\":[]}");
}

TEST(QueryText, ShowsOnlyCommittedOpsThatStillLive) {
    Graph graph;
    graph.commit(graph.op(kSource));
    graph.transaction.reset();
    EXPECT_EQ(Ask(graph, "getAnonymousOpTree").text, "{\"ops\":[]}");
    Graph open(graph.runtime);
    open.op(kSource);
    EXPECT_EQ(Ask(open, "getAnonymousOpTree").text, "{\"ops\":[]}");
}

TEST(QueryText, IsAnsweredWithStatusOneWhenUnknown) {
    Graph graph;
    for (const char* query : {"", "getAnonymousOptree", "getAnonymousOpTree ", "anything"}) {
        const Answer answer = Ask(graph, query);
        EXPECT_THAT(answer.statuses, ElementsAre(1));
        EXPECT_EQ(answer.text, "");
    }
}

TEST(QueryText, ComesInPiecesThatMakeOneDocument) {
    Graph graph;
    graph.commit(graph.chain(graph.op(kSource), 400));
    const Answer answer = Ask(graph, "getAnonymousOpTree");
    EXPECT_GT(answer.statuses.size(), 1u);
    EXPECT_LE(answer.largest, 4096u);
    EXPECT_EQ(Json(answer)["ops"].Size(), 401u);
    EXPECT_THAT(answer.statuses, testing::Each(0));
}

TEST(QueryText, IsJsonWhateverTheTypesAreCalled) {
    Graph graph;
    for (const std::string type : {"quote\" back\\slash", "line\nbreak\ttab\x01", "\xe6\x97\xa5",
                                   "\xff\xfe not UTF-8", "{}[],:", ""})
        graph.op(type);
    graph.op(std::string("nul\0inside", 10));
    graph.commit();
    EXPECT_EQ(Json(Ask(graph, "getAnonymousOpTree"))["ops"].Size(), 7u);
    EXPECT_EQ(Json(Ask(graph, "getAnonymousOpRegistry"))["opTypes"].Size(), 7u);
}

TEST(QueryText, AnswersForCyclesToo) {
    Circle circle("ab");
    circle.commit(circle.ops[0]);
    EXPECT_TRUE(Json(Ask(circle, "getAnonymousOpTree")).IsObject());
}
