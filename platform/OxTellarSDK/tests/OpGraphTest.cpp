#include <OxTellarSDK/TellarRuntime.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include "AttributePrinter.h"
#include "ErrorOf.h"
#include "TempDirectory.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::ElementsAre;

// Transactions

namespace {

/// The text of the std::invalid_argument that `body` throws, or "no error".
template <typename Body>
std::string RefusalOf(Body body) {
    return ErrorOf<std::invalid_argument>(body);
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

TEST(Transaction, LeavesTheOpUnchangedAfterAnError) {
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

TEST(Transaction, GivesOpsTheirIdsNamesTypesAndArguments) {
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

TEST(QueryText, ShowsTheOpTreeWithoutNames) {
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

TEST(QueryText, IsJsonForARuntimeWithoutOps) {
    Graph graph;
    EXPECT_EQ(Ask(graph, "getAnonymousOpTree").text, "{\"ops\":[]}");
    EXPECT_EQ(Ask(graph, "getAnonymousOpRegistry").text, "{\"opTypes\":[]}");
}

TEST(QueryText, ShowsOnlyLiveCommittedOps) {
    Graph graph;
    graph.commit(graph.op(kSource));
    graph.transaction.reset();
    EXPECT_EQ(Ask(graph, "getAnonymousOpTree").text, "{\"ops\":[]}");
    Graph open(graph.runtime);
    open.op(kSource);
    EXPECT_EQ(Ask(open, "getAnonymousOpTree").text, "{\"ops\":[]}");
}

TEST(QueryText, HasStatusOneForAnUnknownQuery) {
    Graph graph;
    for (const char* query : {"", "getAnonymousOptree", "getAnonymousOpTree ", "anything"}) {
        const Answer answer = Ask(graph, query);
        EXPECT_THAT(answer.statuses, ElementsAre(1));
        EXPECT_EQ(answer.text, "");
    }
}

TEST(QueryText, IsWrittenInPiecesOfOneDocument) {
    Graph graph;
    graph.commit(graph.chain(graph.op(kSource), 400));
    const Answer answer = Ask(graph, "getAnonymousOpTree");
    EXPECT_GT(answer.statuses.size(), 1u);
    EXPECT_LE(answer.largest, 4096u);
    EXPECT_EQ(Json(answer)["ops"].Size(), 401u);
    EXPECT_THAT(answer.statuses, testing::Each(0));
}

TEST(QueryText, IsJsonForAnyTypeName) {
    Graph graph;
    for (const std::string type : {"quote\" back\\slash", "line\nbreak\ttab\x01", "\xe6\x97\xa5",
                                   "\xff\xfe not UTF-8", "{}[],:", ""})
        graph.op(type);
    graph.op(std::string("nul\0inside", 10));
    graph.commit();
    EXPECT_EQ(Json(Ask(graph, "getAnonymousOpTree"))["ops"].Size(), 7u);
    EXPECT_EQ(Json(Ask(graph, "getAnonymousOpRegistry"))["opTypes"].Size(), 7u);
}

TEST(QueryText, IncludesCycles) {
    Circle circle("ab");
    circle.commit(circle.ops[0]);
    EXPECT_TRUE(Json(Ask(circle, "getAnonymousOpTree")).IsObject());
}
