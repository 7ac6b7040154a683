#include <OxTellarProducers/ClientFactory.h>

#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <OxRenderServices/AnalyticsManager.h>

#include "CapturedLog.h"
#include "SceneBuilders.h"
#include "TempDirectory.h"
#include "UniqueScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxRenderServices::AnalyticsManager;
using TELLAR::ClientCreateWithOpTree;
using TELLAR::ClientInvalidate;
using TELLAR::OpTreeSource;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ClientFactoryRecords : public testing::Test {
protected:
    TempDirectory folder;

    ClientFactoryRecords() { AnalyticsManager::enable(folder.path("records.jsonl")); }
    ~ClientFactoryRecords() override { AnalyticsManager::disable(); }

    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        std::istringstream file(folder.read("records.jsonl"));
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }
};

TEST_F(ClientFactoryRecords, TellTheOpTreeAndThenTheOpTypes) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(
        Group({{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}}))},
               {"merge", OpEntry("Merge", {}, {"scene", "missing"})}}));
    ASSERT_TRUE(ClientCreateWithOpTree(source));
    EXPECT_THAT(lines(), ElementsAre("{\"name\":\"runtime.opTree\",\"value\":{\"ops\":["
                                     "{\"type\":\"StaticScene\",\"inputs\":[]},"
                                     "{\"type\":\"Merge\",\"inputs\":[0,null]}]}}",
                                     "{\"name\":\"runtime.opRegistry\",\"value\":{\"opTypes\":["
                                     "{\"type\":\"Merge\",\"ops\":1},"
                                     "{\"type\":\"StaticScene\",\"ops\":1}]}}"));
}

TEST_F(ClientFactoryRecords, HoldALargeTreeThatTheRuntimeTellsInPieces) {
    Children ops{{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}}))}};
    for (int i = 1; i < 400; ++i)
        ops.emplace_back("op" + std::to_string(i), OpEntry("Merge", {}, {"scene"}));
    ASSERT_TRUE(ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(Group(ops))));
    ASSERT_THAT(lines(), SizeIs(2));
    rapidjson::Document record;
    record.Parse(lines()[0].c_str());
    ASSERT_FALSE(record.HasParseError());
    EXPECT_EQ(record["value"]["ops"].Size(), 400u);
}

TEST_F(ClientFactoryRecords, AreWrittenForNewClientsOnly) {
    const OpTreeSource source = UniqueSource();
    ClientInvalidate(ClientCreateWithOpTree(source));
    ClientCreateWithOpTree(source);
    EXPECT_THAT(lines(), SizeIs(2));
}

TEST_F(ClientFactoryRecords, AreNotWrittenForCreationsThatFail) {
    const CapturedLog log;
    ClientCreateWithOpTree(OpTreeSource::createFromFile(""));
    ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(GroupAttribute(true)));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(ClientFactoryRecords, AreNotWrittenWhileAnalyticsAreDisabled) {
    AnalyticsManager::disable();
    EXPECT_TRUE(ClientCreateWithOpTree(UniqueSource()));
    EXPECT_THAT(lines(), IsEmpty());
}

} // namespace
