#include <OxTellarSDK/Capture.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarSDK/TextureReferences.h>

#include "ErrorOf.h"
#include "OpTypeScenes.h"
#include "RunTogether.h"
#include "TempDirectory.h"

// Scenes that are recorded through the runtime and presented again from the capture.

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using OxCapture::Reader;
using OxCapture::Recorded;
using OxCapture::Writer;
using testing::ElementsAre;
using testing::HasSubstr;

/// A client for the last op of a description.
Client Open(const GroupAttribute& description) {
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    std::map<std::string, Op> ops;
    Op last;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute op(description.getChildByIndex(i));
        std::vector<Op> inputs;
        for (const auto input : StringAttribute(op.getChildByName("opInputs")).getNearestSample(0))
            inputs.push_back(ops.at(std::string(input)));
        last = transaction->createOp();
        transaction->setOpName(last, description.getChildName(i));
        transaction->setOpArgs(last, StringAttribute(op.getChildByName("opType")).getValue(),
                               op.getChildByName("opArgs"));
        transaction->setOpInputs(last, inputs);
        ops[description.getChildName(i)] = last;
    }
    Client client = transaction->createClient();
    transaction->setClientOp(client, last);
    runtime->commit(transaction);
    return client;
}

/// /root/world with a box, an op that fails for /root/world/bad, and an array of boxes.
GroupAttribute Scene() {
    return ParseDescriptionJson(R"({"ops": [
        {"name": "boxes", "type": "StaticScene", "args": {"c": {"world": {
            "a": {"xform": {"translate": {"$type": "double", "values": [1, 2, 3], "tuple": 3}}},
            "c": {"box": {"a": {"type": "polymesh"}},
                  "bad": {"a": {"type": "polymesh"}},
                  "light": {"a": {"type": "light",
                                  "light": {"texture": "TEXTURE"}}}}}}}},
        {"name": "many", "type": "Array", "inputs": ["boxes"], "args": {
            "source": "/root/world/box", "target": "/root/world/many", "counts": [5, 5, 2],
            "keepSource": 1}}]})",
                                "scene", "");
}

/// Records what `use` does with the scene, and returns the capture's path.
class Capture {
public:
    explicit Capture(const GroupAttribute& description, Recorded what = Recorded::Scene)
        : writer(std::make_shared<Writer>(path())),
          client(Open(OxCapture::WithRecorder(description, writer, what))) {}

    std::string path() const { return folder.path("a.oxcap"); }

    Client replay(bool isStrict, const std::string& files = {}) {
        writer->finish();
        return Open(OxCapture::DescribeCapture(path(), isStrict, files));
    }

    const TempDirectory folder;
    const std::shared_ptr<Writer> writer;
    const Client client;
};

TEST(CapturedScene, PresentsWhatWasCooked) {
    Capture capture(Scene());
    std::map<std::string, LocationData> cooked;
    for (const char* path : {"/root", "/root/world", "/root/world/box", "/root/world/none",
                             "/root/world/many", "/root/world/many/i_07"})
        cooked[path] = capture.client->cookLocation(path);
    const Client replay = capture.replay(true);
    for (const auto& [path, location] : cooked) {
        const LocationData again = replay->cookLocation(path);
        EXPECT_EQ(again.doesLocationExist(), location.doesLocationExist()) << path;
        EXPECT_EQ(again.getAttrs(), location.getAttrs()) << path;
        EXPECT_EQ(again.getPotentialChildren(), location.getPotentialChildren()) << path;
        EXPECT_EQ(again.getHash(), location.getHash()) << path;
    }
    EXPECT_TRUE(cooked["/root/world/box"].doesLocationExist());
    EXPECT_FALSE(cooked["/root/world/none"].doesLocationExist());
}

TEST(CapturedScene, HasAnErrorForWhatWasNotCookedIfItIsStrict) {
    Capture capture(Scene());
    capture.client->cookLocation("/root/world");
    const Client replay = capture.replay(true);
    replay->cookLocation("/root/world");
    ErrorFacts facts;
    try {
        replay->cookLocation("/root/world/box");
    } catch (const TellarError& error) {
        facts = error.getFacts();
    }
    const std::string missing = '"' + capture.path() + "\" has no answer to \"/root/world/box\"";
    EXPECT_EQ(facts.text, "Op \"capture\" (CapturedScene) at \"/root/world/box\": " + missing);
    EXPECT_EQ(facts.location, "/root/world/box");
    EXPECT_EQ(facts.file, capture.path());
    EXPECT_THAT(Reader::Open(capture.path())->getMissing(), ElementsAre(missing));
}

TEST(CapturedScene, LeavesOutWhatWasNotCookedIfItIsNotStrict) {
    Capture capture(Scene());
    capture.client->cookLocation("/root/world");
    EXPECT_FALSE(capture.replay(false)->cookLocation("/root/world/box").doesLocationExist());
}

TEST(CapturedScene, RepeatsErrors) {
    const GroupAttribute broken = ParseDescriptionJson(
        R"({"ops": [{"name": "broken", "type": "Prune", "args": {"paths": 1}}]})", "scene", "");
    Capture capture(broken);
    const auto errorOf = [](const Client& client) {
        return ErrorOf<TellarError>([&client] { client->cookLocation("/root"); });
    };
    const std::string before = errorOf(capture.client);
    EXPECT_THAT(before, HasSubstr("Op \"broken\" (Prune) at \"/root\": "));
    EXPECT_THAT(errorOf(capture.replay(true)), HasSubstr(before));
}

/// Three instances of two prototypes.
class ThreeInstances final : public OxOpType::Instances {
public:
    std::int64_t count() const override { return 3; }
    const std::vector<std::string>& prototypes() const override { return paths; }

protected:
    void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypeIndices,
                   double* matrices) const override {
        for (std::int64_t i = begin; i < end; ++i) {
            *prototypeIndices++ = i % 2;
            for (int value = 0; value < 16; ++value)
                *matrices++ = static_cast<double>(100 * i + value);
        }
    }
    std::string pathOf(std::int64_t index) const override { return "i_" + std::to_string(index); }

private:
    const std::vector<std::string> paths = {"i_0", "i_1"};
};

/// Knows everything of /root and nothing of other locations.
class KnowingOp final : public OxOpType::OpType {
public:
    const OxOpType::Description& description() const override {
        static const OxOpType::Description description{"KnowingOp", 1, "For tests.", {}, "none"};
        return description;
    }
    void cook(OxOpType::CookContext&) const override {}
    OxOpType::SubtreeFacts describeSubtree(OxOpType::SubtreeContext& context) const override {
        OxOpType::SubtreeFacts facts;
        if (context.path() != "/root") return facts;
        facts.exists = true;
        facts.types = OxOpType::kTypePolyMesh | OxOpType::kTypeOther;
        facts.locations = std::int64_t(5) << 33;
        facts.bound = OxXFormUtil::Bounds{{-1, 1, -2, 2, -3, 3}};
        facts.ownTypes = OxOpType::kTypeGroup;
        facts.ownBound = OxXFormUtil::Bounds{};
        facts.isPlain = true;
        facts.xform = GroupAttribute();
        facts.children = StringAttribute("i");
        facts.identity = {{1, 0xfedcba9876543210u}};
        return facts;
    }
    std::shared_ptr<const OxOpType::Instances>
    describeInstances(OxOpType::InstanceContext& context) const override {
        return context.path() == "/root" ? std::make_shared<const ThreeInstances>() : nullptr;
    }
};

GroupAttribute KnowingScene() {
    static const bool isRegistered = [] {
        OxOpType::RegisterOpType(new KnowingOp);
        return true;
    }();
    EXPECT_TRUE(isRegistered);
    return Group({{"knowing", Group({{"opType", Text("KnowingOp")}})}});
}

TEST(CapturedScene, RepeatsWhatIsKnownOfSubtrees) {
    Capture capture(KnowingScene());
    OxOpType::DescribeSubtree(*capture.client, "/root");
    const auto unknown = OxOpType::DescribeSubtree(*capture.client, "/root/a");
    const Client replay = capture.replay(true);
    const auto facts = OxOpType::DescribeSubtree(*replay, "/root");
    EXPECT_EQ(facts.exists, true);
    EXPECT_EQ(facts.types, OxOpType::kTypePolyMesh | OxOpType::kTypeOther);
    EXPECT_EQ(facts.locations, std::int64_t(5) << 33);
    ASSERT_TRUE(facts.bound && facts.ownBound);
    EXPECT_THAT(facts.bound->values, ElementsAre(-1, 1, -2, 2, -3, 3));
    EXPECT_TRUE(facts.ownBound->isEmpty());
    EXPECT_EQ(facts.ownTypes, OxOpType::kTypeGroup);
    EXPECT_TRUE(facts.isPlain);
    EXPECT_EQ(facts.xform, GroupAttribute());
    EXPECT_EQ(facts.children, StringAttribute("i"));
    EXPECT_EQ(facts.identity, (Hash{{1, 0xfedcba9876543210u}}));

    const auto again = OxOpType::DescribeSubtree(*replay, "/root/a");
    EXPECT_FALSE(again.exists || again.types || again.locations || again.bound || again.ownTypes ||
                 again.ownBound || again.isPlain || again.xform || again.children);
    EXPECT_EQ(again.identity, unknown.identity);
}

TEST(CapturedScene, RepeatsInstances) {
    Capture capture(KnowingScene());
    const auto instances = OxOpType::DescribeInstances(*capture.client, "/root");
    OxOpType::DescribeInstances(*capture.client, "/root/a");
    const Client replay = capture.replay(true);
    const auto again = OxOpType::DescribeInstances(*replay, "/root");
    ASSERT_TRUE(again);
    ASSERT_EQ(again->count(), 3);
    EXPECT_THAT(again->prototypes(), ElementsAre("i_0", "i_1"));
    EXPECT_EQ(again->path(2), "i_2");
    std::vector<double> matrices(32);
    std::vector<std::int64_t> prototypes(2);
    again->read(1, 3, prototypes.data(), matrices.data());
    EXPECT_THAT(prototypes, ElementsAre(1, 0));
    EXPECT_EQ(matrices[0], 100);
    EXPECT_EQ(matrices[31], 215);
    EXPECT_EQ(OxOpType::DescribeInstances(*replay, "/root/a"), nullptr);
}

TEST(CapturedScene, RecordsEachLocationOnceForManyThreads) {
    Capture capture(Scene());
    const auto cookAll = [](const Client& client) {
        for (int i = 0; i < 50; ++i)
            client->cookLocation("/root/world/many/i_" + std::string(i < 10 ? "0" : "") +
                                 std::to_string(i));
    };
    RunTogether(8, [&](int) { cookAll(capture.client); });
    const Client replay = capture.replay(true);
    RunTogether(8, [&](int) { cookAll(replay); });
    EXPECT_EQ(Reader::Open(capture.path())->getKeys("location").size(), 50u);
}

TEST(CapturedScene, KeepsSeveralCapturesOfOneProcessApart) {
    Capture first(Scene()), second(Scene());
    first.client->cookLocation("/root/world");
    second.client->cookLocation("/root/world/box");
    first.writer->finish();
    second.writer->finish();
    EXPECT_THAT(Reader::Open(first.path())->getKeys("location"), ElementsAre("/root/world"));
    EXPECT_THAT(Reader::Open(second.path())->getKeys("location"), ElementsAre("/root/world/box"));
}

TEST(CapturedScene, BringsTexturesAlong) {
    const TempDirectory textures;
    const std::string file = textures.write("sky.1001.png", "pixels");
    const Attribute pattern = StringAttribute(textures.path("sky.<UDIM>.png"));
    Capture capture(
        Group({{"scene", Group({{"opType", Text("StaticScene")},
                                {"opArgs",
                                 Location({{"light", Group({{"texture", pattern}})},
                                           {"textures", Group({{"sky", Text("none.png")}})}})}})}}),
        Recorded::SceneAndTextures);
    capture.client->cookLocation("/root");
    const std::string files = capture.folder.path("files");
    const Client replay = capture.replay(true, files);
    EXPECT_EQ(OxCapture::ExtractFiles(*Reader::Open(capture.path()), files), 1u);
    const GroupAttribute attrs = replay->cookLocation("/root").getAttrs();
    const std::string found = StringAttribute(attrs.getChildByName("light.texture")).getValue();
    EXPECT_EQ(found, files + '/' + OxCapture::ReplayedFile(textures.path("sky.<UDIM>.png")));
    EXPECT_EQ(FindTiles(found).size(), 1u);
    EXPECT_EQ(StringAttribute(attrs.getChildByName("textures.sky")).getValue(), "none.png");
    EXPECT_EQ(capture.folder.read("files/" + OxCapture::ReplayedFile(file)), "pixels");
}

TEST(CapturedScene, RefusesAFileThatIsNoCapture) {
    const TempDirectory folder;
    const Client client =
        Open(OxCapture::DescribeCapture(folder.write("a.oxcap", "not a capture"), false));
    EXPECT_THAT(ErrorOf<TellarError>([&client] { client->cookLocation("/root"); }),
                HasSubstr("is no capture"));
}

} // namespace
