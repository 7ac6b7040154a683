#include <OxTellarProducers/CreateGeometryProducer.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeindex>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>

#include "AllocatedBytes.h"
#include "CapturedErrors.h"
#include "CapturedLog.h"
#include "ProducerHelpers.h"
#include "ReferenceCount.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TempDirectory.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::CreateAsyncGeometryProducer;
using TELLAR::CreateStaticGeometryProducer;
using TELLAR::CreateSyncGeometryProducer;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::GeometryProducer;
using testing::ElementsAre;
using testing::IsEmpty;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;

/// A path of that many levels: "/root/a/a/a".
std::string DeepPath(int levels) {
    std::string path = "/root";
    for (int level = 1; level < levels; ++level)
        path += "/a";
    return path;
}

// All factories -----------------------------------------------------------------------------------

struct Factory {
    const char* name;
    Ptr (*create)(const GroupAttribute& tree, const std::string& path);
    std::type_index kind;
};

Ptr CreateSync(const GroupAttribute& tree, const std::string& path) {
    return CreateSyncGeometryProducer(MakeClient(tree), path);
}
/// After the location and its ancestors were cooked.
Ptr CreateAsync(const GroupAttribute& tree, const std::string& path) {
    const Client client = MakeClient(tree);
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1))
        client->cookLocation(path.substr(0, end));
    client->cookLocation(path);
    return CreateAsyncGeometryProducer(client, path);
}
Ptr CreateFromDescription(const GroupAttribute& tree, const std::string& path) {
    return CreateThreadAwareGeometryProducer(tree, path);
}
Ptr CreateFromFile(const GroupAttribute& tree, const std::string& path) {
    const TempDirectory folder;
    OxAttribute::WriteOpFile(folder.path("scene.oxop"), tree);
    return CreateThreadAwareGeometryProducer(folder.path("scene.oxop"), path);
}

class ProducerFactory : public testing::TestWithParam<Factory> {
protected:
    static Ptr create(const GroupAttribute& tree, const std::string& path) {
        return GetParam().create(tree, path);
    }
};

INSTANTIATE_TEST_SUITE_P(
    Factories, ProducerFactory,
    testing::Values(Factory{"Sync", CreateSync, typeid(TELLAR::SyncGeometryProducer)},
                    Factory{"Async", CreateAsync, typeid(TELLAR::AsyncGeometryProducer)},
                    Factory{"ThreadAwareFromADescription", CreateFromDescription,
                            typeid(TELLAR::ThreadAwareGeometryProducer)},
                    Factory{"ThreadAwareFromAFile", CreateFromFile,
                            typeid(TELLAR::ThreadAwareGeometryProducer)}),
    [](const auto& factory) { return factory.param.name; });

TEST_P(ProducerFactory, MakesNothingForAPathThatIsNotAbsolute) {
    EXPECT_EQ(create(TestTree(Texts({"world"})), "world/geo"), nullptr);
    EXPECT_EQ(create(TestTree(Texts({"world"})), "root"), nullptr);
    EXPECT_EQ(create(TestTree(Texts({"world"})), " /root"), nullptr);
    EXPECT_EQ(create(TestTree(Texts({"world"})), ""), nullptr);
}

TEST_P(ProducerFactory, MakesATopLevelLocationWithoutAParent) {
    const Ptr root = create(TestTree(Texts({"world"})), "/root");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->getFullName(), "/root");
    EXPECT_EQ(root->getParent(), nullptr);
    EXPECT_EQ(KindOf(*root), GetParam().kind);
}

TEST_P(ProducerFactory, MakesALocationTogetherWithItsParent) {
    const Ptr world = create(TestTree(Texts({"world"})), "/root/world");
    ASSERT_TRUE(world);
    EXPECT_EQ(world->getFullName(), "/root/world");
    EXPECT_EQ(NameOf(world->getParent()), "/root");
    EXPECT_EQ(world->getParent()->getParent(), nullptr);
}

TEST_P(ProducerFactory, MakesAllAncestorsOfTheSameKindWithTheirOwnAttributes) {
    const GroupAttribute scene = Location(
        {{"n", Int(0)}}, {{"a", Location({{"n", Int(1)}}, {{"b", Location({{"n", Int(2)}})}})}});
    Ptr producer = create(SceneTree(scene), "/root/a/b");
    for (const int expected : {2, 1, 0}) {
        ASSERT_TRUE(producer);
        EXPECT_EQ(KindOf(*producer), GetParam().kind);
        EXPECT_EQ(IntOf(producer->getAttribute("n")), expected);
        producer = producer->getParent();
    }
    EXPECT_EQ(producer, nullptr);
}

TEST_P(ProducerFactory, MakesNothingForALocationThatDoesNotExist) {
    EXPECT_EQ(create(TestTree(Texts({"world"}), {"/root/gone"}), "/root/gone"), nullptr);
    EXPECT_EQ(create(TestTree(Texts({"world"}), {"/root"}), "/root"), nullptr);
    EXPECT_EQ(create(SceneTree(Location({})), "/elsewhere"), nullptr);
}

TEST_P(ProducerFactory, MakesNothingBelowALocationThatDoesNotExist) {
    EXPECT_EQ(create(TestTree(Texts({"world"}), {"/root/gone"}), "/root/gone/leaf"), nullptr);
    EXPECT_EQ(create(TestTree(Texts({"world"}), {"/root"}), "/root/world/leaf"), nullptr);
}

TEST_P(ProducerFactory, MakesALocationThatItsParentDoesNotList) {
    EXPECT_EQ(NameOf(create(TestTree(Texts({"world"})), "/root/hidden/leaf")), "/root/hidden/leaf");
}

TEST_P(ProducerFactory, MakesNothingForAPathWithAnEmptyName) {
    EXPECT_EQ(create(SceneTree(Location({}, {{"a", Location({})}})), "/"), nullptr);
    EXPECT_EQ(create(SceneTree(Location({}, {{"a", Location({})}})), "/root/"), nullptr);
    EXPECT_EQ(create(SceneTree(Location({}, {{"a", Location({})}})), "//root"), nullptr);
    EXPECT_EQ(create(SceneTree(Location({}, {{"a", Location({})}})), "/root//a"), nullptr);
}

TEST_P(ProducerFactory, MakesNothingForAVeryDeepPathThatDoesNotExist) {
    EXPECT_EQ(create(SceneTree(Location({{"tag", Text(UniqueTag())}})), DeepPath(100000)), nullptr);
}

TEST_P(ProducerFactory, MakesEveryAncestorOfADeepLocation) {
    const GroupAttribute tree =
        Group({{"tree", OpEntry("TestTree", Group({{"endless", Int(1)}}))}});
    Ptr leaf = create(tree, DeepPath(4000));
    ASSERT_TRUE(leaf);
    int levels = 0;
    for (GeometryProducer* producer = leaf.get(); producer; producer = producer->getRawParentPtr())
        ++levels;
    EXPECT_EQ(levels, 4000);
    leaf.reset();
}

TEST_P(ProducerFactory, TellsTheWholePathAndNameOfEveryAncestorOfADeepLocation) {
    const GroupAttribute tree =
        Group({{"tree", OpEntry("TestTree", Group({{"endless", Int(1)}}))}});
    const std::string path = DeepPath(4000);
    const Ptr leaf = create(tree, path);
    ASSERT_TRUE(leaf);
    std::string expected = path;
    for (GeometryProducer* producer = leaf.get(); producer;
         producer = producer->getRawParentPtr()) {
        ASSERT_EQ(producer->getFullName(), expected);
        ASSERT_EQ(producer->getName(), expected.substr(expected.rfind('/') + 1));
        expected.resize(expected.rfind('/'));
    }
    EXPECT_EQ(expected, "");
}

// Deep locations ----------------------------------------------------------------------------------

/// Every location exists and has the potential child "a"; none has attributes.
GroupAttribute EndlessTree() {
    static const bool isRegistered = [] {
        OxOpType::RegisterOpType(new TestOp("TestEndless", [](OxOpType::CookContext& context) {
            context.setAttrs(Group({}));
            context.setPotentialChildren(Texts({"a"}));
        }));
        return true;
    }();
    static_cast<void>(isRegistered);
    return Group({{"tree", OpEntry("TestEndless", Group({{"tag", Text(UniqueTag())}}))}});
}

// Whole paths for every level would take 400 MB.
constexpr int kDeep = 20000;
constexpr std::size_t kMostBytes = 40 << 20;

TEST(DeepLocation, TakesMemoryInProportionToItsDepth) {
    const Client client = MakeClient(EndlessTree());
    const std::size_t before = AllocatedBytes();
    const Ptr leaf = CreateSyncGeometryProducer(client, DeepPath(kDeep));
    ASSERT_TRUE(leaf);
    EXPECT_LT(AllocatedBytes(), before + kMostBytes);
    EXPECT_EQ(leaf->getFullName(), DeepPath(kDeep));
}

TEST(DeepLocation, IsFoundByPathInMemoryInProportionToItsDepth) {
    const Client client = MakeClient(EndlessTree());
    const Ptr root = CreateSyncGeometryProducer(client, "/root");
    const std::size_t before = AllocatedBytes();
    const Ptr leaf = root->getProducerByPath(DeepPath(kDeep));
    ASSERT_TRUE(leaf);
    EXPECT_LT(AllocatedBytes(), before + kMostBytes);
    EXPECT_EQ(leaf->getFullName(), DeepPath(kDeep));
    EXPECT_EQ(leaf->getFirstChild()->getFullName(), DeepPath(kDeep + 1));
    EXPECT_EQ(leaf->getParent()->getName(), "a");
}

// Sync and Async ----------------------------------------------------------------------------------

TEST(CreateSyncGeometryProducer, MakesNothingWithoutAClient) {
    EXPECT_EQ(CreateSyncGeometryProducer(nullptr, "/root"), nullptr);
}

TEST(CreateSyncGeometryProducer, MakesNothingForAClientWithoutAnOp) {
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const Client client = transaction->createClient();
    runtime->commit(transaction);
    EXPECT_EQ(CreateSyncGeometryProducer(client, "/root"), nullptr);
    EXPECT_EQ(CreateAsyncGeometryProducer(client, "/root"), nullptr);
}

TEST(CreateSyncGeometryProducer, CooksTheLocationAndItsAncestorsAndNothingElse) {
    const Client client = MakeClient(TestTree(Texts({"world"})));
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    CreateSyncGeometryProducer(client, "/root/world/geo");
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 3u);
}

TEST(CreateSyncGeometryProducer, CooksNothingBelowALocationThatDoesNotExist) {
    const Client client = MakeClient(TestTree(Texts({"world"}), {"/root/gone"}));
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    EXPECT_EQ(CreateSyncGeometryProducer(client, "/root/gone/a/b"), nullptr);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 2u) << "/root and /root/gone";
}

TEST(CreateSyncGeometryProducer, HoldsTheClientInEveryAncestor) {
    const Client client = MakeClient(TestTree(Texts({"world"})));
    const Ptr leaf = CreateSyncGeometryProducer(client, "/root/world/geo");
    EXPECT_EQ(leaf->getClient(), client);
    EXPECT_EQ(leaf->getParent()->getClient(), client);
    EXPECT_EQ(leaf->getRootProducer()->getClient(), client);
}

TEST(CreateSyncGeometryProducer, LetsTheErrorOfAnOpThrough) {
    const Client client = MakeClient(
        Group({{"scene", OpEntry("StaticScene", Location({}, {{"bad", Location({})}}))},
               {"fault", OpEntry("TestThrow", Group({{"at", Text("/root/bad")}}), {"scene"})}}));
    EXPECT_TRUE(CreateSyncGeometryProducer(client, "/root"));
    EXPECT_THROW(CreateSyncGeometryProducer(client, "/root/bad"), std::runtime_error);
    EXPECT_THROW(CreateSyncGeometryProducer(client, "/root/bad/below"), std::runtime_error);
}

TEST(CreateAsyncGeometryProducer, MakesNothingWithoutAClient) {
    EXPECT_EQ(CreateAsyncGeometryProducer(nullptr, "/root"), nullptr);
}

TEST(CreateAsyncGeometryProducer, MakesNothingForAClientThatHasCookedNothing) {
    const Client client = MakeClient(TestTree(Texts({"world"})));
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    EXPECT_EQ(CreateAsyncGeometryProducer(client, "/root"), nullptr);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooks);
}

TEST(CreateAsyncGeometryProducer, MakesNothingUnlessAllAncestorsAreCooked) {
    const Client client = MakeClient(TestTree(Texts({"world"})));
    client->cookLocation("/root/world/geo");
    client->cookLocation("/root");
    EXPECT_EQ(CreateAsyncGeometryProducer(client, "/root/world/geo"), nullptr);
    client->cookLocation("/root/world");
    EXPECT_EQ(NameOf(CreateAsyncGeometryProducer(client, "/root/world/geo")), "/root/world/geo");
}

TEST(CreateAsyncGeometryProducer, MakesNothingWhereOnlyAnAncestorIsCooked) {
    const Client client = MakeClient(TestTree(Texts({"world"})));
    client->cookLocation("/root");
    EXPECT_EQ(CreateAsyncGeometryProducer(client, "/root/world"), nullptr);
}

// Thread-aware ------------------------------------------------------------------------------------

TEST(CreateThreadAwareGeometryProducer, MakesAThreadLocalClientForEveryLevelOfThePath) {
    const CapturedLog log;
    const std::string text =
        "Invalid Op tree source: File \"/no such folder/a.oxop\" does not exist.";
    EXPECT_EQ(CreateThreadAwareGeometryProducer("/no such folder/a.oxop", "/root/world/geo"),
              nullptr);
    EXPECT_THAT(log.textsOf("ThreadLocalClient"), ElementsAre(text, text, text));
    EXPECT_THAT(log.textsOf("ClientFactory"), IsEmpty());
}

TEST(CreateThreadAwareGeometryProducer, LooksAtThePathBeforeTheSource) {
    const CapturedLog log;
    EXPECT_EQ(CreateThreadAwareGeometryProducer("/no such folder/a.oxop", "root"), nullptr);
    EXPECT_EQ(CreateThreadAwareGeometryProducer(GroupAttribute(), ""), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(CreateThreadAwareGeometryProducer, MakesNothingOfAnInvalidDescription) {
    const CapturedLog log;
    EXPECT_EQ(CreateThreadAwareGeometryProducer(GroupAttribute(), "/root"), nullptr);
    EXPECT_THAT(log.textsOf("ThreadLocalClient"),
                ElementsAre("Invalid Op tree source: Invalid GroupAttribute provided."));
}

TEST(CreateThreadAwareGeometryProducer, MakesNothingOfAFileThatHoldsNoOps) {
    const TempDirectory folder;
    const std::string path = folder.write("notes.txt", "These are no ops.");
    const CapturedLog log;
    EXPECT_EQ(CreateThreadAwareGeometryProducer(path, "/root"), nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"),
                ElementsAre("Could not parse OpTree from '" + path + "'."));
}

TEST(CreateThreadAwareGeometryProducer, MakesNothingWithoutARuntime) {
    const GroupAttribute tree = TestTree(Texts({"world"}));
    const CapturedLog log;
    const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
    EXPECT_EQ(CreateThreadAwareGeometryProducer(tree, "/root/world"), nullptr);
    EXPECT_THAT(log.textsOf("ClientFactory"), ElementsAre("Runtime could not be loaded."));
}

TEST(CreateThreadAwareGeometryProducer, LetsGoOfItsSource) {
    const GroupAttribute tree = TestTree(Texts({"world"}));
    const Ptr first = CreateThreadAwareGeometryProducer(tree, "/root/world");
    const std::uint32_t references = CountReferences(tree);
    EXPECT_EQ(CreateThreadAwareGeometryProducer(tree, "no absolute path"), nullptr);
    EXPECT_EQ(CountReferences(tree), references);
    Ptr second = CreateThreadAwareGeometryProducer(tree, "/root/world/geo");
    second.reset();
    EXPECT_EQ(CountReferences(tree), references);
}

TEST(CreateThreadAwareGeometryProducer, NeedsOneRuntimeForAllLevelsAndLaterTrees) {
    const GroupAttribute tree = TestTree(Texts({"world"}));
    const ScopedRuntimeFactory runtimes;
    const Ptr first = CreateThreadAwareGeometryProducer(tree, "/root/world/geo");
    const Ptr second = CreateThreadAwareGeometryProducer(tree, "/root");
    EXPECT_EQ(runtimes.count(), 1);
    EXPECT_EQ(first->getClient(), second->getClient());
    EXPECT_EQ(first->getParent()->getClient(), first->getClient());
}

TEST(CreateThreadAwareGeometryProducer, LetsThePlatformsExceptionsThrough) {
    const GroupAttribute tree = TestTree(Texts({"world"}));
    const ScopedRuntimeFactory failing(
        []() -> std::shared_ptr<TellarRuntime> { throw std::runtime_error("no licence"); });
    EXPECT_THROW(CreateThreadAwareGeometryProducer(tree, "/root"), std::runtime_error);
}

TEST(CreateThreadAwareGeometryProducer, LetsTheErrorOfAnOpThrough) {
    const GroupAttribute tree = Group({{"broken", OpEntry("NoSuchType")}});
    EXPECT_THROW(CreateThreadAwareGeometryProducer(tree, "/root"), std::runtime_error);
}

TEST(CreateThreadAwareGeometryProducer, SaysNothingItselfWhenItMakesNothing) {
    const CapturedErrors errors;
    const CapturedLog log;
    EXPECT_EQ(
        CreateThreadAwareGeometryProducer(TestTree(Texts({"world"}), {"/root/gone"}), "/root/gone"),
        nullptr);
    EXPECT_EQ(CreateSyncGeometryProducer(nullptr, "/root"), nullptr);
    EXPECT_EQ(CreateStaticGeometryProducer("root", Location({}), nullptr), nullptr);
    EXPECT_EQ(errors.text(), "");
    EXPECT_THAT(log.messages(), IsEmpty());
}

// Static ------------------------------------------------------------------------------------------

TEST(CreateStaticGeometryProducer, MakesNothingForAPathThatIsNotAbsolute) {
    EXPECT_EQ(CreateStaticGeometryProducer("world/geo", Location({}), nullptr), nullptr);
    EXPECT_EQ(CreateStaticGeometryProducer("", Location({}), nullptr), nullptr);
}

TEST(CreateStaticGeometryProducer, MakesNothingOfANullGroup) {
    EXPECT_EQ(CreateStaticGeometryProducer("/root", GroupAttribute(), nullptr), nullptr);
}

TEST(CreateStaticGeometryProducer, MakesALocationOfAnEmptyGroup) {
    const Ptr root = CreateStaticGeometryProducer("/root", GroupAttribute(true), nullptr);
    ASSERT_TRUE(root);
    EXPECT_EQ(KindOf(*root), typeid(TELLAR::StaticGeometryProducer));
    EXPECT_EQ(root->getFullName(), "/root");
    EXPECT_EQ(root->getParent(), nullptr);
}

TEST(CreateStaticGeometryProducer, TakesAnyParentForWhatItIs) {
    const Ptr parent = CreateStaticGeometryProducer("/elsewhere/entirely", Location({}), nullptr);
    const Ptr child = CreateStaticGeometryProducer("/root/world/geo", Location({}), parent);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getFullName(), "/root/world/geo");
    EXPECT_EQ(child->getParent(), parent);
}

TEST(CreateStaticGeometryProducer, MakesNoAncestorsOfItsOwn) {
    EXPECT_EQ(CreateStaticGeometryProducer("/root/world/geo", Location({}), nullptr)->getParent(),
              nullptr);
}

} // namespace
