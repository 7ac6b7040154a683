#include <OxTellarProducers/OpTreeSource.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <OxTellarSDK/AttributeStream.h>

#include "CapturedErrors.h"
#include "CapturedLog.h"
#include "OpenFiles.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "TempDirectory.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::OpTreeSource;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Op = std::shared_ptr<TellarRuntime::Op>;

class DescriptionOps : public testing::Test {
protected:
    const std::shared_ptr<TellarRuntime> runtime = TellarRuntime::create();
    const std::shared_ptr<TellarRuntime::Transaction> transaction = runtime->createTransaction();

    Op getOp(const GroupAttribute& description) const {
        return OpTreeSource::createFromGroupAttribute(description).getOp(transaction);
    }

    /// All Ops that were made in the transaction, committing it, as JSON.
    std::string allOps() const {
        runtime->commit(transaction);
        std::string text;
        runtime->queryText(
            "getAnonymousOpTree",
            [](const char* piece, std::size_t length, int, void* user) {
                static_cast<std::string*>(user)->append(piece, length);
            },
            &text);
        return text;
    }

    /// Their types alone.
    std::vector<std::string> typesOfAllOps() const {
        rapidjson::Document document;
        document.Parse(allOps().c_str());
        std::vector<std::string> types;
        for (const auto& op : document["ops"].GetArray())
            types.emplace_back(op["type"].GetString());
        return types;
    }
};

TEST_F(DescriptionOps, AreWiredToOpsThatStandBeforeThem) {
    const Op b = getOp(Group({{"a", OpEntry("TypeA")}, {"b", OpEntry("TypeB", {}, {"a"})}}));
    ASSERT_TRUE(b);
    EXPECT_EQ(b->getType(), "TypeB");
    ASSERT_THAT(b->getInputs(), SizeIs(1));
    EXPECT_EQ(b->getInputs()[0]->getType(), "TypeA");
    EXPECT_THAT(b->getInputs()[0]->getInputs(), IsEmpty());
}

TEST_F(DescriptionOps, AreWiredToOpsThatStandAfterThemAndTheLastOneIsReturned) {
    const Op a = getOp(Group({{"b", OpEntry("TypeB", {}, {"a"})}, {"a", OpEntry("TypeA")}}));
    ASSERT_TRUE(a);
    EXPECT_EQ(a->getType(), "TypeA");
    EXPECT_THAT(typesOfAllOps(), ElementsAre("TypeB", "TypeA"));
}

TEST_F(DescriptionOps, KnowAnInputThatStandsAfterThem) {
    const Op last = getOp(Group({{"b", OpEntry("TypeB", {}, {"a"})},
                                 {"a", OpEntry("TypeA")},
                                 {"top", OpEntry("TypeTop", {}, {"b"})}}));
    ASSERT_TRUE(last);
    const Op b = last->getInputs().at(0);
    ASSERT_THAT(b->getInputs(), SizeIs(1));
    EXPECT_EQ(b->getInputs()[0]->getType(), "TypeA");
}

TEST_F(DescriptionOps, AreMadeOnceHoweverManyUseThem) {
    const Op top = getOp(Group({{"a", OpEntry("TypeA")},
                                {"left", OpEntry("TypeLeft", {}, {"a"})},
                                {"right", OpEntry("TypeRight", {}, {"a"})},
                                {"top", OpEntry("TypeTop", {}, {"left", "right"})}}));
    ASSERT_TRUE(top);
    EXPECT_EQ(top->getInputs().at(0)->getInputs().at(0), top->getInputs().at(1)->getInputs().at(0));
    EXPECT_THAT(typesOfAllOps(), ElementsAre("TypeA", "TypeLeft", "TypeRight", "TypeTop"));
}

TEST_F(DescriptionOps, HaveANullInputForANameThatIsNoOp) {
    const Op op = getOp(Group({{"a", OpEntry("TypeA", {}, {"missing"})}}));
    ASSERT_TRUE(op);
    EXPECT_THAT(op->getInputs(), ElementsAre(nullptr));
}

TEST_F(DescriptionOps, KeepEveryInputInItsPlaceRepeatedAndUnknownOnesIncluded) {
    const Op top =
        getOp(Group({{"a", OpEntry("TypeA")},
                     {"b", OpEntry("TypeB")},
                     {"top", OpEntry("TypeTop", {}, {"b", "?", "a", "b", "", "?", "a"})}}));
    ASSERT_TRUE(top);
    const std::vector<Op> inputs = top->getInputs();
    ASSERT_THAT(inputs, SizeIs(7));
    EXPECT_EQ(inputs[0]->getType(), "TypeB");
    EXPECT_EQ(inputs[1], nullptr);
    EXPECT_EQ(inputs[2]->getType(), "TypeA");
    EXPECT_EQ(inputs[3], inputs[0]);
    EXPECT_EQ(inputs[4], nullptr);
    EXPECT_EQ(inputs[5], nullptr);
    EXPECT_EQ(inputs[6], inputs[2]);
}

TEST_F(DescriptionOps, MayNameThemselvesAndEachOther) {
    const Op b =
        getOp(Group({{"a", OpEntry("TypeA", {}, {"b"})}, {"b", OpEntry("TypeB", {}, {"a", "b"})}}));
    ASSERT_TRUE(b);
    const std::vector<Op> inputs = b->getInputs();
    ASSERT_THAT(inputs, SizeIs(2));
    EXPECT_EQ(inputs[0]->getInputs().at(0), b);
    EXPECT_EQ(inputs[1], b);
}

TEST_F(DescriptionOps, AreNamedAsWrittenDotsIncluded) {
    const Op top = getOp(Group({{"a.b", OpEntry("TypeA")}, {"top", OpEntry("Top", {}, {"a.b"})}}));
    ASSERT_TRUE(top);
    EXPECT_EQ(top->getInputs().at(0)->getType(), "TypeA");
}

TEST_F(DescriptionOps, HaveTheTypeAndArgumentsOfTheirEntryUnchanged) {
    const GroupAttribute args = Location({{"n", Int(7)}}, {{"child", Location({})}});
    const Op op = getOp(Group({{"a", OpEntry("A type of any name", args)}}));
    ASSERT_TRUE(op);
    EXPECT_EQ(op->getType(), "A type of any name");
    EXPECT_EQ(op->getArgs(), args);
}

TEST_F(DescriptionOps, HaveAnEmptyTypeWhereTheEntryGivesNoText) {
    EXPECT_EQ(getOp(Group({{"a", Group({})}}))->getType(), "");
    EXPECT_EQ(getOp(Group({{"a", Group({{"opType", Int(1)}})}}))->getType(), "");
    EXPECT_EQ(getOp(Group({{"a", Group({{"opType", Texts({})}})}}))->getType(), "");
}

TEST_F(DescriptionOps, HaveInvalidArgumentsWhereTheEntryGivesNoGroup) {
    EXPECT_FALSE(getOp(Group({{"a", Group({})}}))->getArgs().isValid());
    EXPECT_FALSE(getOp(Group({{"a", Group({{"opArgs", Text("x")}})}}))->getArgs().isValid());
}

TEST_F(DescriptionOps, HaveNoInputsWhereTheEntryGivesNoTexts) {
    const auto inputsWith = [this](const Children& entry) {
        return getOp(Group({{"a", Group(entry)}}))->getInputs();
    };
    EXPECT_THAT(inputsWith({}), IsEmpty());
    EXPECT_THAT(inputsWith({{"opInputs", Int(1)}}), IsEmpty());
    EXPECT_THAT(inputsWith({{"opInputs", Texts({})}}), IsEmpty());
    EXPECT_THAT(inputsWith({{"opInputs", Group({{"a", Text("a")}})}}), IsEmpty());
}

TEST_F(DescriptionOps, TakeTheirInputsFromTheTimeSampleNearestToZero) {
    using Samples = std::map<float, std::vector<std::string>>;
    const OxAttribute::StringAttribute sampled(
        Samples{{-1.0f, {"a"}}, {0.25f, {"b"}}, {1.0f, {"c"}}}, 1);
    const Op top = getOp(Group({{"a", OpEntry("TypeA")},
                                {"b", OpEntry("TypeB")},
                                {"c", OpEntry("TypeC")},
                                {"top", Group({{"opInputs", sampled}})}}));
    ASSERT_THAT(top->getInputs(), SizeIs(1));
    EXPECT_EQ(top->getInputs()[0]->getType(), "TypeB");
}

TEST_F(DescriptionOps, AreNoneForAnInvalidDescription) {
    EXPECT_EQ(getOp(GroupAttribute()), nullptr);
    EXPECT_THAT(typesOfAllOps(), IsEmpty());
}

TEST_F(DescriptionOps, AreNoneForAnEmptyDescription) {
    EXPECT_EQ(getOp(GroupAttribute(true)), nullptr);
    EXPECT_THAT(typesOfAllOps(), IsEmpty());
}

TEST_F(DescriptionOps, AreNoneForAChildThatIsNoGroup) {
    EXPECT_EQ(getOp(Group({{"a", Text("StaticScene")}})), nullptr);
    EXPECT_THAT(typesOfAllOps(), IsEmpty());
}

TEST_F(DescriptionOps, StayInTheTransactionUnwiredWhenALaterChildIsNoGroup) {
    EXPECT_EQ(getOp(Group({{"a", OpEntry("TypeA")},
                           {"b", OpEntry("TypeB", {}, {"a"})},
                           {"c", Text("no group")},
                           {"d", OpEntry("TypeD")}})),
              nullptr);
    EXPECT_EQ(allOps(), R"({"ops":[{"type":"TypeA","inputs":[]},{"type":"TypeB","inputs":[]}]})");
}

TEST_F(DescriptionOps, AreMadeAnewOnEveryCall) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(
        Group({{"a", OpEntry("TypeA")}, {"b", OpEntry("TypeB", {}, {"a"})}}));
    const Op first = source.getOp(transaction);
    const Op second = source.getOp(transaction);
    EXPECT_NE(first, second);
    EXPECT_NE(first->getInputs().at(0), second->getInputs().at(0));
}

TEST_F(DescriptionOps, AreLeftUncommitted) {
    const Op op = getOp(Group({{"a", OpEntry("TypeA")}}));
    EXPECT_EQ(op->getIdentity(), OxAttribute::Hash());
    EXPECT_NO_THROW(runtime->commit(transaction));
}

TEST_F(DescriptionOps, FailWithTheirNameInTheDescription) {
    const auto client = MakeClient(Group({{"broken", OpEntry("NoSuchType")}}));
    std::string error;
    try {
        client->cookLocation("/root");
    } catch (const std::runtime_error& failure) {
        error = failure.what();
    }
    EXPECT_EQ(error, "Op \"broken\" (NoSuchType) at \"/root\": there is no op type of this name");
}

class FileOps : public DescriptionOps {
protected:
    TempDirectory folder;
    const CapturedErrors errors;
    const CapturedLog log;
    const GroupAttribute description = Group({{"a", OpEntry("TypeA", Location({{"n", Int(7)}}))},
                                              {"b", OpEntry("TypeB", {}, {"a", "", "a"})}});

    Op getOpOfFile(const std::string& path) const {
        return OpTreeSource::createFromFile(path).getOp(transaction);
    }
    void expectSilence() const {
        EXPECT_EQ(errors.text(), "");
        EXPECT_THAT(log.messages(), IsEmpty());
    }
};

TEST_F(FileOps, AreWhatTheFileHolds) {
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), description);
    const Op b = getOpOfFile(folder.path("tree.oxop"));
    ASSERT_TRUE(b);
    EXPECT_EQ(b->getType(), "TypeB");
    ASSERT_THAT(b->getInputs(), SizeIs(3));
    EXPECT_EQ(b->getInputs()[1], nullptr);
    EXPECT_EQ(b->getInputs()[2], b->getInputs()[0]);
    EXPECT_EQ(b->getInputs()[0]->getType(), "TypeA");
    EXPECT_EQ(b->getInputs()[0]->getArgs(), Location({{"n", Int(7)}}));
}

TEST_F(FileOps, AreReadFromACompressedFileAsWell) {
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), description, true);
    const Op b = getOpOfFile(folder.path("tree.oxop"));
    ASSERT_TRUE(b);
    EXPECT_EQ(b->getInputs().at(0)->getType(), "TypeA");
}

TEST_F(FileOps, AreReadFromTheFileOnEveryCall) {
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), Group({{"a", OpEntry("Before")}}));
    const OpTreeSource source = OpTreeSource::createFromFile(folder.path("tree.oxop"));
    EXPECT_EQ(source.getOp(transaction)->getType(), "Before");
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), Group({{"a", OpEntry("After")}}));
    EXPECT_EQ(source.getOp(transaction)->getType(), "After");
}

TEST_F(FileOps, AreSilentlyNoneWithoutAName) {
    EXPECT_EQ(getOpOfFile(""), nullptr);
    expectSilence();
}

TEST_F(FileOps, AreSilentlyNoneForAMissingFile) {
    EXPECT_EQ(getOpOfFile(folder.path("missing.oxop")), nullptr);
    expectSilence();
}

TEST_F(FileOps, AreSilentlyNoneForAFolder) {
    EXPECT_EQ(getOpOfFile(folder.path()), nullptr);
    expectSilence();
}

TEST_F(FileOps, AreSilentlyNoneForAFileOfOtherContent) {
    EXPECT_EQ(getOpOfFile(folder.write("notes.txt", "These are no ops.")), nullptr);
    EXPECT_EQ(getOpOfFile(folder.write("empty.oxop", "")), nullptr);
    OxAttribute::WriteAttributeFile(folder.path("tree.attr"), description);
    EXPECT_EQ(getOpOfFile(folder.path("tree.attr")), nullptr);
    expectSilence();
}

TEST_F(FileOps, AreSilentlyNoneForAFileThatWasCutShort) {
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), description);
    const std::string content = folder.read("tree.oxop");
    for (const std::size_t bytes : {1u, 16u, 64u, 100u}) {
        SCOPED_TRACE(bytes);
        ASSERT_LT(bytes, content.size());
        EXPECT_EQ(getOpOfFile(folder.write("cut.oxop", content.substr(0, bytes))), nullptr);
    }
    EXPECT_EQ(getOpOfFile(folder.write("cut.oxop", content.substr(0, content.size() - 1))),
              nullptr);
    expectSilence();
}

TEST_F(FileOps, LeaveTheFileClosedWhetherItCouldBeReadOrNot) {
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), description);
    const std::string junk = folder.write("junk.oxop", "junk");
    getOpOfFile(folder.path("tree.oxop"));
    getOpOfFile(junk);
    EXPECT_FALSE(IsOpen(folder.path("tree.oxop")));
    EXPECT_FALSE(IsOpen(junk));
}

TEST_F(FileOps, MayBeBuiltFromOneSourceByManyThreadsAtOnce) {
    OxAttribute::WriteOpFile(folder.path("tree.oxop"), description);
    const OpTreeSource file = OpTreeSource::createFromFile(folder.path("tree.oxop"));
    const OpTreeSource attribute = OpTreeSource::createFromGroupAttribute(description);
    RunTogether(8, [&file, &attribute](int) {
        const auto ownTransaction = TellarRuntime::create()->createTransaction();
        for (int i = 0; i < 50; ++i) {
            std::string error;
            EXPECT_TRUE(file.isValid(&error));
            EXPECT_EQ(file.getOp(ownTransaction)->getType(), "TypeB");
            EXPECT_EQ(attribute.getOp(ownTransaction)->getType(), "TypeB");
        }
    });
}

} // namespace
