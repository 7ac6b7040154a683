#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

// docs/op-types.md says what the types say, and its examples work.

namespace {

using namespace OxAttribute;

std::string ReadDocument() {
    std::ifstream file(TELLAR_OP_TYPES_DOCUMENT);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The part of the document about one type.
std::string Section(const std::string& type) {
    const std::string document = ReadDocument();
    const std::size_t begin = document.find("\n## " + type + "\n");
    if (begin == std::string::npos) return {};
    return document.substr(begin, document.find("\n## ", begin + 1) - begin);
}

/// The text before the first section.
std::string Introduction() {
    const std::string document = ReadDocument();
    return document.substr(0, document.find("\n## "));
}

/// Empty when there is none.
std::string Example(const std::string& text) {
    const std::string begin = "```json\n";
    const std::size_t at = text.find(begin);
    if (at == std::string::npos) return {};
    return text.substr(at + begin.size(), text.find("```", at + 1) - at - begin.size());
}

/// The locations that the last Op of a description presents.
class Scene {
public:
    explicit Scene(const GroupAttribute& description) {
        const auto transaction = runtime->createTransaction();
        std::map<std::string, std::shared_ptr<TellarRuntime::Op>> ops;
        std::shared_ptr<TellarRuntime::Op> last;
        for (std::int64_t index = 0; index < description.getNumberOfChildren(); ++index) {
            const GroupAttribute op(description.getChildByIndex(index));
            std::vector<std::shared_ptr<TellarRuntime::Op>> inputs;
            const StringAttribute inputNames(op.getChildByName("opInputs"));
            for (const std::string_view input : inputNames.getNearestSample(0))
                inputs.push_back(ops.at(std::string(input)));
            last = transaction->createOp();
            transaction->setOpArgs(last, StringAttribute(op.getChildByName("opType")).getValue(),
                                   op.getChildByName("opArgs"));
            transaction->setOpInputs(last, inputs);
            ops[description.getChildName(index)] = last;
        }
        client = transaction->createClient();
        transaction->setClientOp(client, last);
        runtime->commit(transaction);
    }

    bool exists(const std::string& path) { return client->cookLocation(path).doesLocationExist(); }

    /// Locations listed as children that do not exist, among the first few at each level.
    std::vector<std::string> missing(const std::string& path) {
        std::vector<std::string> result;
        const StringAttribute children = client->cookLocation(path).getPotentialChildren();
        const auto names = children.getNearestSample(0);
        for (std::size_t index = 0; index < names.size() && index < 2; ++index) {
            const std::string child = path + "/" + std::string(names[index]);
            if (!exists(child)) result.push_back(child);
            const std::vector<std::string> below = missing(child);
            result.insert(result.end(), below.begin(), below.end());
        }
        return result;
    }

private:
    std::shared_ptr<TellarRuntime> runtime = TellarRuntime::create();
    std::shared_ptr<TellarRuntime::Client> client;
};

class OpTypesDocument : public testing::TestWithParam<const char*> {};

void ExpectExampleWorks(const std::string& text) {
    const std::string example = Example(text);
    ASSERT_FALSE(example.empty());
    Scene scene(ParseDescriptionJson(example, "example", ""));
    EXPECT_TRUE(scene.exists("/root"));
    EXPECT_EQ(scene.missing("/root"), std::vector<std::string>());
}

TEST(OpTypesIntroduction, HasAnExampleWhoseListedLocationsExist) {
    ExpectExampleWorks(Introduction());
}

TEST_P(OpTypesDocument, HasAnExampleWhoseListedLocationsExist) {
    const std::string section = Section(GetParam());
    EXPECT_NE(section.find(std::string("\"type\": \"") + GetParam() + "\""), std::string::npos);
    ExpectExampleWorks(section);
}

TEST_P(OpTypesDocument, ListsAllArguments) {
    const std::string section = Section(GetParam());
    const OxOpType::OpType* type = OxOpType::FindOpType(GetParam());
    ASSERT_NE(type, nullptr);
    for (const OxOpType::Argument& argument : type->description().arguments) {
        const std::string row = "\n| `" + argument.name + "` | " + argument.type + " | ";
        EXPECT_NE(section.find(row), std::string::npos) << "There is no " << row;
    }
}

TEST(OpTypesDocument, DescribesCapturedScene) {
    const std::string section = Section("CapturedScene");
    for (const OxOpType::Argument& argument :
         OxOpType::FindOpType("CapturedScene")->description().arguments) {
        const std::string row = "\n| `" + argument.name + "` | " + argument.type + " | ";
        EXPECT_NE(section.find(row), std::string::npos) << "There is no " << row;
    }
}

INSTANTIATE_TEST_SUITE_P(BuiltIn, OpTypesDocument,
                         testing::Values("StaticScene", "Merge", "Prune", "Transform",
                                         "AttributeEdit", "MaterialAssign", "RenderSettings",
                                         "Camera", "Array", "Instances", "Share"));

} // namespace
