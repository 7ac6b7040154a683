#include "WrapSuite.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

using namespace TELLAR;

namespace {

using testing::ElementsAre;

/// The description of a slot by its name; fails when there is none.
template <typename Table>
SlotInfo Slot(const std::string& name) {
    SlotInfo found;
    ForEachSlot<Table>([&](const SlotInfo& slot) {
        if (slot.name == name) found = slot;
    });
    EXPECT_EQ(found.name, name);
    return found;
}

// ---- The meaning of slots -----------------------------------------------------------------------

template <typename Table, std::size_t... index>
std::vector<std::size_t> OffsetsOfSlots(std::index_sequence<index...>) {
    static Table table;
    const char* const start = reinterpret_cast<const char*>(&table);
    return {static_cast<std::size_t>(
        reinterpret_cast<const char*>(&(table.*kSlotMember<Table, index>)) - start)...};
}

template <typename Table>
class EveryTable : public testing::Test {};
using Tables =
    testing::Types<OxAttributeSuite_v1, OxAttributeSuite_v4, OxScenegraphIteratorHostSuite_v2,
                   OxScenegraphIteratorHostSuite_v3, OxScenegraphIteratorHostSuite_v4,
                   OxRenderOutputUtilsHostSuite_v3, OxRenderOutputUtilsHostSuite_v4>;
TYPED_TEST_SUITE(EveryTable, Tables);

TYPED_TEST(EveryTable, IsListedInTheOrderOfItsSlots) {
    const auto offsets =
        OffsetsOfSlots<TypeParam>(std::make_index_sequence<kSlotCount<TypeParam>>());
    for (std::size_t i = 0; i < offsets.size(); ++i)
        EXPECT_EQ(offsets[i], (kIsSized<TypeParam> ? 8 : 0) + i * sizeof(void*));
    EXPECT_EQ(offsets.back() + sizeof(void*), sizeof(TypeParam));
}

TYPED_TEST(EveryTable, HasAReleaseForEachHandleThatASlotReturns) {
    std::map<HandleKind, int> releases;
    ForEachSlot<TypeParam>([&](const SlotInfo& slot) {
        if (slot.action == SlotAction::Release) ++releases[slot.arguments[0].handle];
    });
    // Those are released through other suites.
    releases[HandleKind::Attribute] = releases[HandleKind::Error] = 1;
    ForEachSlot<TypeParam>([&](const SlotInfo& slot) {
        const bool isHandle = slot.result.role == ValueRole::Handle;
        EXPECT_EQ(isHandle ? releases[slot.result.handle] : 1, 1) << slot.name;
    });
}

TEST(SuiteCalls, KnowWhichSlotsCount) {
    EXPECT_EQ(Slot<OxAttributeSuite_v1>("retain").action, SlotAction::Retain);
    EXPECT_EQ(Slot<OxAttributeSuite_v4>("releaseError").action, SlotAction::Release);
    EXPECT_EQ(Slot<OxRenderOutputUtilsHostSuite_v4>("destroyShadingNodeMap").action,
              SlotAction::Release);
    EXPECT_EQ(Slot<OxScenegraphIteratorHostSuite_v3>("finalizeRuntime").action, SlotAction::Ask);
}

TEST(SuiteCalls, KnowThatOldNavigationReturnsNoReference) {
    EXPECT_FALSE(Slot<OxScenegraphIteratorHostSuite_v2>("getFirstChild").result.isOwned);
    EXPECT_FALSE(Slot<OxScenegraphIteratorHostSuite_v3>("getRoot").result.isOwned);
    EXPECT_TRUE(
        Slot<OxScenegraphIteratorHostSuite_v3>("createRootIteratorFromOpTreeFile").result.isOwned);
    EXPECT_TRUE(Slot<OxScenegraphIteratorHostSuite_v3>("getName").result.isOwned);
    EXPECT_TRUE(Slot<OxScenegraphIteratorHostSuite_v4>("getFirstChild").result.isOwned);
}

TEST(SuiteCalls, TellNodesOfShadingFromConnections) {
    using Table = OxRenderOutputUtilsHostSuite_v4;
    EXPECT_EQ(Slot<Table>("getShadingConnection").arguments[0].handle, HandleKind::ShadingNode);
    EXPECT_EQ(Slot<Table>("getShadingConnection").result.handle, HandleKind::ShadingConnection);
    EXPECT_EQ(Slot<Table>("getConnectedNode").arguments[0].handle, HandleKind::ShadingConnection);
    EXPECT_EQ(Slot<Table>("findShadingNode").result.handle, HandleKind::ShadingNode);
}

/// "source index factor" of an argument's count.
template <typename Table>
std::string Count(const std::string& name, std::size_t argument) {
    const CountRule rule = Slot<Table>(name).arguments[argument].count;
    constexpr const char* kSources[] = {"none", "one", "argument", "range", "written"};
    return std::string(kSources[rule.source]) + ' ' + std::to_string(rule.index) + ' ' +
           std::to_string(rule.factor);
}

TEST(SuiteCalls, KnowHowManyElementsAreBehindAPointer) {
    using Values = OxAttributeSuite_v4;
    using Utils = OxRenderOutputUtilsHostSuite_v4;
    EXPECT_EQ(Count<Values>("createFloat", 0), "argument 1 1");
    EXPECT_EQ(Count<Values>("readFloats", 3), "argument 4 1");
    EXPECT_EQ(Count<Values>("getHash", 1), "one 0 2");
    EXPECT_EQ(Count<Values>("getIntSample", 2), "one 0 1");
    EXPECT_EQ(Count<Values>("createGroup", 0), "argument 2 1");
    EXPECT_EQ(Count<Values>("createGroup", 1), "argument 2 1");
    EXPECT_EQ(Count<Utils>("flattenMaterials", 0), "argument 1 1");
    EXPECT_EQ(Count<Utils>("flattenMaterials", 2), "argument 3 1");
    EXPECT_EQ(Count<Utils>("getWorldMatrix", 2), "one 0 16");
    EXPECT_EQ(Count<Utils>("getWorldMatrices", 1), "argument 2 1");
    EXPECT_EQ(Count<Utils>("getWorldMatrices", 3), "argument 2 16");
    EXPECT_EQ(Count<Utils>("getPixelAreaOfBound", 3), "one 0 6");
    EXPECT_EQ(Count<Utils>("getPixelAreaOfBound", 4), "one 0 16");
    EXPECT_EQ(Count<Utils>("convertPointsToPixels", 3), "argument 4 3");
    EXPECT_EQ(Count<OxScenegraphIteratorHostSuite_v4>("readInstances", 4), "range 1 16");
    EXPECT_EQ(Slot<Values>("getFloatSample").result.count.index, 2);
    EXPECT_EQ(Slot<Utils>("getCameraXform").result.count.factor, 16);
}

TEST(SuiteCalls, KnowWhereNullIsMeaningful) {
    using Values = OxAttributeSuite_v4;
    EXPECT_TRUE(Slot<OxAttributeSuite_v1>("getChildByName").arguments[0].isNullable);
    EXPECT_FALSE(Slot<Values>("getChildByName").arguments[0].isNullable);
    EXPECT_TRUE(Slot<Values>("getNumberOfChildren").arguments[0].isNullable);
    EXPECT_TRUE(Slot<Values>("getString").arguments[3].isNullable);
    EXPECT_FALSE(Slot<Values>("getSamples").arguments[1].isNullable);
    EXPECT_FALSE(Slot<OxRenderOutputUtilsHostSuite_v4>("getWorldMatrix").arguments[2].isNullable);
}

// ---- Calls through wrapped tables ---------------------------------------------------------------

/// Writes down each call, and may answer in place of the slot.
class Witness : public SuiteCallObserver {
public:
    void onCall(SuiteCall& call) noexcept override {
        ++calls[call.getSlot().name];
        last = call.getSlot().name;
        if (isAnswering) return;
        call.proceed();
        texts.clear();
        counts.clear();
        for (int i = 0; i < call.getArgumentCount(); ++i)
            note(call, i);
        if (call.hasResult() && call.getResult().getType().role != ValueRole::Scalar)
            resultCount = call.getResultCount();
    }

    std::map<std::string, int> calls;
    std::string last;
    std::vector<std::string> texts;
    std::vector<std::int64_t> counts; ///< of arrays, after the call
    std::int64_t resultCount = 0;
    bool isAnswering = false;

private:
    void note(const SuiteCall& call, int index) {
        const CallValue value = call.getArgument(index);
        if (value.getType().role == ValueRole::Text) texts.push_back(value.get<const char*>());
        if (value.getType().role != ValueRole::Values) return;
        const bool isRead = value.getType().direction == Direction::In;
        counts.push_back(isRead ? call.getCount(index) : call.getWrittenCount(index));
    }
};

struct TestLayer;

class WrappedAttributeSuite : public testing::Test {
protected:
    static Witness& witness() {
        static Witness* const witness = new Witness;
        return *witness;
    }

    WrappedAttributeSuite() { witness() = Witness(); }

    const OxAttributeSuite_v1& real = *OxGetBuiltInAttributeSuite();
    const OxAttributeSuite_v1& suite = *WrapSuite<TestLayer>(&real, witness());
};

TEST_F(WrappedAttributeSuite, TellsItsObserverAndGivesTheSameAnswers) {
    const float values[] = {1, 2, 3, 4};
    OxAttributeStruct* floats = suite.createFloat(values, 4, 2);
    EXPECT_THAT(witness().counts, ElementsAre(4));
    std::int64_t count = 0;
    const float* sample = suite.getFloatSample(floats, 0, &count);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(sample, real.getFloatSample(floats, 0, nullptr));
    EXPECT_EQ(witness().resultCount, 4);
    EXPECT_EQ(suite.getTupleSize(floats), 2);
    suite.release(floats);
    EXPECT_THAT(witness().calls, testing::SizeIs(4));
}

TEST_F(WrappedAttributeSuite, ShowsALengthThatThePluginDoesNotAskFor) {
    const std::int32_t values[] = {1, 2, 3};
    OxAttributeStruct* ints = suite.createInt(values, 3, 1);
    EXPECT_EQ(suite.getIntSample(ints, 0, nullptr)[2], 3);
    EXPECT_EQ(witness().resultCount, 3);
    suite.release(ints);
}

TEST_F(WrappedAttributeSuite, ShowsTexts) {
    EXPECT_EQ(suite.getChildByName(nullptr, "a.b"), nullptr);
    EXPECT_THAT(witness().texts, ElementsAre("a.b"));
}

TEST_F(WrappedAttributeSuite, GivesNothingWhenTheObserverDoesNotProceed) {
    witness().isAnswering = true;
    EXPECT_EQ(suite.createNull(), nullptr);
    EXPECT_EQ(suite.getTupleSize(nullptr), 0);
}

TEST_F(WrappedAttributeSuite, StaysTheSame) {
    const OxPluginManager::SuiteOffer offer{"", "AttributeHost", 1, &real};
    EXPECT_EQ(WrapHostSuite<TestLayer>(offer, witness()), &suite);
    const OxPluginManager::SuiteOffer other{"", "AttributeHost", 9, &real};
    EXPECT_EQ(WrapHostSuite<TestLayer>(other, witness()), &real);
    const OxPluginManager::SuiteOffer ofPlugin{"p", "AttributeHost", 1, &real};
    EXPECT_EQ(WrapHostSuite<TestLayer>(ofPlugin, witness()), &real);
}

template <typename Table, std::size_t... index>
bool IsEverySlotWrapped(const Table& real, const Table& wrapped, std::index_sequence<index...>) {
    return ((real.*kSlotMember<Table, index> != wrapped.*kSlotMember<Table, index>)&&...);
}

TEST_F(WrappedAttributeSuite, HasAFunctionOfItsOwnInEverySlot) {
    EXPECT_TRUE(IsEverySlotWrapped(real, suite,
                                   std::make_index_sequence<kSlotCount<OxAttributeSuite_v1>>()));
}

// ---- Functions of plug-ins ----------------------------------------------------------------------

// A host of version 4 that has no slots behind `visit`, which visits two locations.
OxScenegraphIteratorHostSuite_v4 SmallHost() {
    OxScenegraphIteratorHostSuite_v4 host{};
    host.size = offsetof(OxScenegraphIteratorHostSuite_v4, subscribe);
    host.version = 4;
    host.visit = [](OxSgIteratorStruct* location, const OxVisitOptions* options, OxVisitor visitor,
                    void* user, OxErrorStruct**) -> std::int32_t {
        if (options && options->isCancelled && options->isCancelled(user)) return kOxVisitCancelled;
        OxVisit visit{};
        visit.location = location;
        visit.thread = 5;
        const std::int32_t first = visitor(&visit, user);
        if (visit.passedDown) options->releasePassedDown(visit.passedDown, user);
        if (first != kOxVisitGoOn) return kOxVisitDone;
        return visitor(&visit, user) == kOxVisitStop ? kOxVisitStopped : kOxVisitDone;
    };
    host.finalizeRuntime = [](OxSgIteratorStruct*) {};
    return host;
}

struct Visits {
    int count = 0;
    int cancelQuestions = 0;
    std::vector<std::int32_t> threads;
    void* released = nullptr;
};

std::int32_t Visit(OxVisit* visit, void* user) {
    auto& visits = *static_cast<Visits*>(user);
    visits.threads.push_back(visit->thread);
    visit->passedDown = &visits;
    return ++visits.count == 2 ? kOxVisitStop : kOxVisitGoOn;
}

TEST(WrappedVisit, TellsTheObserverOfTheFunctionsOfThePlugin) {
    static const OxScenegraphIteratorHostSuite_v4 real = SmallHost();
    static Witness witness;
    const auto* suite = WrapSuite<TestLayer>(&real, witness);
    Visits visits{};
    OxVisitOptions options{};
    options.isCancelled = [](void* user) {
        ++static_cast<Visits*>(user)->cancelQuestions;
        return 0;
    };
    options.releasePassedDown = [](void* passedDown, void* user) {
        static_cast<Visits*>(user)->released = passedDown;
    };
    EXPECT_EQ(suite->visit(nullptr, &options, Visit, &visits, nullptr), kOxVisitStopped);
    EXPECT_EQ(visits.count, 2);
    EXPECT_EQ(visits.cancelQuestions, 1);
    EXPECT_THAT(visits.threads, ElementsAre(5, 5));
    EXPECT_EQ(visits.released, &visits);
    EXPECT_EQ(witness.calls["visit: visitor"], 2);
    EXPECT_EQ(witness.calls["visit: isCancelled"], 1);
    EXPECT_EQ(witness.calls["visit: releasePassedDown"], 1);
    EXPECT_EQ(witness.last, "visit: visitor");
}

TEST(WrappedVisit, HasNoSlotThatTheHostDoesNotHave) {
    static const OxScenegraphIteratorHostSuite_v4 real = SmallHost();
    static Witness witness;
    struct OtherLayer;
    const auto* suite = WrapSuite<OtherLayer>(&real, witness);
    EXPECT_NE(suite->visit, nullptr);
    EXPECT_EQ(suite->getFirstChild, nullptr);
    EXPECT_EQ(suite->finalizeRuntime, nullptr);
    EXPECT_EQ(suite->size, real.size);
    EXPECT_EQ(suite->version, 4u);
}

} // namespace
