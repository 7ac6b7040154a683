#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include <array>
#include <cstdlib>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/PluginManager.h>

#include "CapturedLog.h"
#include "LocationDelegates.h"
#include "RunTogether.h"
#include "plugins/DelegateCalls.h"

namespace {

using Cache = TELLAR::OxScenegraphLocationDelegateCache;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using OxPluginManager::PluginManager;
using Suite = OxScenegraphLocationDelegatePluginSuite_v1;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_default_constructible_v<Cache>);
static_assert(std::is_copy_assignable_v<Cache> && std::is_move_assignable_v<Cache>);

std::vector<std::string> TypesFor(const std::string& renderer) {
    std::vector<std::string> types = {"left from an earlier call"};
    Cache::getLocationTypesWithDelegates(types, renderer);
    return types;
}

const Suite* SuiteOf(const std::string& pluginName) {
    const auto plugin = PluginManager::getPlugin(pluginName, OX_LOCATION_DELEGATE_API, 1);
    return static_cast<const Suite*>(PluginManager::getPluginSuite(plugin));
}

/// A suite that a library registered with the host.
const DelegateCalls& CallsOf(const char* library) {
    return *static_cast<const DelegateCalls*>(OxGetPluginHost()->getSuite(library, 1));
}

// The first use in this process: eight threads ask at the same time, in three ways.
struct FirstCalls {
    FirstCalls() {
        setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);
        OxTellarProducersInitialize(OxGetPluginHost());
        wasInitializedBefore = Cache::isCacheInitialized();
        RunTogether(8, [this](int number) {
            if (number % 3 == 0) Cache::initializeCache();
            if (number % 3 == 1) types[number] = TypesFor("lantern");
            if (number % 3 == 2) suites[number] = Cache::getPluginSuite("sphere", "lantern");
            wasInitializedAfter[number] = Cache::isCacheInitialized() ? 1 : 0;
        });
        Cache::initializeCache();
        sphereCalls = CallsOf("TestSphereDelegateCalls");
        forestCalls = CallsOf("TestForestDelegateCalls");
    }

    bool wasInitializedBefore = false;
    std::array<int, 8> wasInitializedAfter = {};
    std::array<std::vector<std::string>, 8> types;
    std::array<const Suite*, 8> suites = {};
    DelegateCalls sphereCalls = {};
    DelegateCalls forestCalls = {};
};

class LocationDelegateCache : public testing::Test {
protected:
    static const FirstCalls& firstCalls() {
        static const FirstCalls* const calls = new FirstCalls;
        return *calls;
    }
    void SetUp() override { firstCalls(); }
};

TEST_F(LocationDelegateCache, IsInitializedByTheFirstCallAndNotBefore) {
    EXPECT_FALSE(firstCalls().wasInitializedBefore);
    EXPECT_THAT(firstCalls().wasInitializedAfter, Each(1));
    EXPECT_TRUE(Cache::isCacheInitialized());
}

TEST_F(LocationDelegateCache, AnswersAllOfManyFirstCallersInFull) {
    for (const int number : {1, 4, 7})
        EXPECT_THAT(firstCalls().types[number],
                    ElementsAre("ball", "cone", "disk", "sphere", "torus"));
    ASSERT_NE(SuiteOf("sphere"), nullptr);
    for (const int number : {2, 5})
        EXPECT_EQ(firstCalls().suites[number], SuiteOf("sphere"));
}

TEST_F(LocationDelegateCache, MakesOneInstanceOfEachDelegateAndEndsNone) {
    // Not of those with null suite, without entries, create, renderer or types; the one without
    // instance does not count.
    EXPECT_EQ(firstCalls().sphereCalls.created, 7);
    EXPECT_EQ(firstCalls().sphereCalls.destroyed, 0);
    EXPECT_EQ(firstCalls().forestCalls.created, 4);
    EXPECT_EQ(firstCalls().forestCalls.destroyed, 0);
}

TEST_F(LocationDelegateCache, TellsADelegateThatAsksWhileItIsMadeOfThoseBeforeIt) {
    EXPECT_EQ(firstCalls().sphereCalls.foundDisk, 1);
    EXPECT_EQ(firstCalls().sphereCalls.foundCone, 0);
    EXPECT_EQ(firstCalls().sphereCalls.foundTypes, 3); // ball, disk, sphere
}

TEST_F(LocationDelegateCache, FindsARenderersOwnDelegatesByItsName) {
    EXPECT_EQ(Cache::getPluginSuite("sphere", "lantern"), SuiteOf("sphere"));
    EXPECT_EQ(Cache::getPluginSuite("disk", "lantern"), SuiteOf("late"));
    EXPECT_THAT(TypesFor("lantern"), ElementsAre("ball", "cone", "disk", "sphere", "torus"));
}

TEST_F(LocationDelegateCache, FindsDelegatesForEveryRendererByTheEmptyName) {
    EXPECT_EQ(Cache::getPluginSuite("sphere", ""), SuiteOf("forest"));
    EXPECT_EQ(Cache::getPluginSuite("shrub", ""), SuiteOf("grove"));
    EXPECT_THAT(TypesFor(""), ElementsAre("pebble", "shrub", "sphere", "stone", "tree"));
}

TEST_F(LocationDelegateCache, LooksForADelegateInOneOfTheTwoPlacesOnly) {
    EXPECT_EQ(Cache::getPluginSuite("tree", "lantern"), nullptr);
    EXPECT_EQ(Cache::getPluginSuite("disk", ""), nullptr);
}

TEST_F(LocationDelegateCache, KeepsTheFirstOfSeveralThatClaimOneType) {
    EXPECT_EQ(Cache::getPluginSuite("ball", "lantern"), SuiteOf("sphere"));
    EXPECT_EQ(Cache::getPluginSuite("tree", ""), SuiteOf("forest"));
}

TEST_F(LocationDelegateCache, HasNothingForUnknownTypesAndRenderersAndLogsNothing) {
    const CapturedLog log;
    EXPECT_EQ(Cache::getPluginSuite("cube", "lantern"), nullptr);
    EXPECT_EQ(Cache::getPluginSuite("cube", ""), nullptr);
    EXPECT_EQ(Cache::getPluginSuite("", "lantern"), nullptr);
    EXPECT_EQ(Cache::getPluginSuite("sphere", "Lantern"), nullptr);
    EXPECT_THAT(TypesFor("nobody"), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(LocationDelegateCache, TakesADelegateWithoutARenderersNameForOneForEveryRenderer) {
    EXPECT_EQ(Cache::getPluginSuite("tree", ""), SuiteOf("forest"));   // no attribute
    EXPECT_EQ(Cache::getPluginSuite("shrub", ""), SuiteOf("grove"));   // an empty name
    EXPECT_EQ(Cache::getPluginSuite("stone", ""), SuiteOf("stone"));   // a null attribute
    EXPECT_EQ(Cache::getPluginSuite("pebble", ""), SuiteOf("pebble")); // a number
}

TEST_F(LocationDelegateCache, TakesNothingFromADelegateWithoutTypes) {
    for (const char* name : {"no types", "number types", "null types"})
        ASSERT_NE(SuiteOf(name), nullptr) << name;
    EXPECT_THAT(TypesFor("candle"), IsEmpty());
}

TEST_F(LocationDelegateCache, PassesOverPluginsWithoutASuiteOrWithHolesInIt) {
    EXPECT_EQ(SuiteOf("null suite"), nullptr);
    for (const char* name :
         {"without entries", "without create", "without renderer", "without types"})
        ASSERT_NE(SuiteOf(name), nullptr) << name;
    EXPECT_EQ(Cache::getPluginSuite("hole", "lantern"), nullptr);
    EXPECT_EQ(Cache::getPluginSuite("hole", ""), nullptr);
}

TEST_F(LocationDelegateCache, TakesADelegateThatLacksOnlyWhatTheCacheNeverCalls) {
    EXPECT_EQ(Cache::getPluginSuite("cone", "lantern"), SuiteOf("without the rest"));
}

TEST_F(LocationDelegateCache, AsksADelegateWithANullInstanceToo) {
    EXPECT_EQ(Cache::getPluginSuite("torus", "lantern"), SuiteOf("without instance"));
}

TEST_F(LocationDelegateCache, AsksForNoOtherVersionOfTheInterface) {
    std::vector<unsigned int> versions;
    PluginManager::getPluginApiVersions(OX_LOCATION_DELEGATE_API, versions);
    ASSERT_THAT(versions, ElementsAre(1, 2));
    EXPECT_EQ(Cache::getPluginSuite("future", ""), nullptr);
}

TEST_F(LocationDelegateCache, DoesNotSeePluginsThatComeLater) {
    PluginManager::addSearchPath(TELLAR_TEST_LATE_PLUGIN_DIR);
    ASSERT_NE(SuiteOf("throwing"), nullptr);
    Cache::initializeCache();
    EXPECT_EQ(Cache::getPluginSuite("flame", "candle"), nullptr);
    EXPECT_THAT(TypesFor("candle"), IsEmpty());
}

// One delegate
// -------------------------------------------------------------------------------------

/// The entries of a delegate that were called, in order, and the instance that they were given.
std::vector<std::string> asked;
int madeInstance = 0;

void Note(const char* entry, OxLocationDelegateInstance given) {
    asked.push_back(given == &madeInstance ? entry : std::string(entry) + " of another");
}

constexpr Suite kNotingDelegate = {
    []() -> OxLocationDelegateInstance {
        asked.emplace_back("create");
        return &madeInstance;
    },
    [](OxLocationDelegateInstance given) { Note("destroy", given); },
    [](OxLocationDelegateInstance given, OxSgIteratorStruct*) -> OxAttributeStruct* {
        Note("replacement", given);
        return nullptr;
    },
    [](OxLocationDelegateInstance given) {
        Note("renderer", given);
        return StringAttribute("candle").detach();
    },
    [](OxLocationDelegateInstance given) {
        Note("types", given);
        const std::map<float, std::vector<std::string>> samples = {
            {-1.0f, {"early", "earlier"}}, {0.25f, {"now", "then"}}, {1.0f, {"late", "later"}}};
        return StringAttribute(samples, 1).detach();
    }};

TEST(LocationDelegates, AskForTheTypesBeforeTheRendererAndKeepTheInstance) {
    asked.clear();
    Suite suite = kNotingDelegate;
    TELLAR::LocationDelegates delegates;
    delegates.add(&suite);
    EXPECT_THAT(asked, ElementsAre("create", "types", "renderer"));
    EXPECT_EQ(delegates.find("then", "candle"), &suite);
}

TEST(LocationDelegates, TakeTheTypesOfTimeZero) {
    Suite suite = kNotingDelegate;
    TELLAR::LocationDelegates delegates;
    delegates.add(&suite);
    EXPECT_THAT(delegates.types("candle"), ElementsAre("now", "then"));
}

TEST_F(LocationDelegateCache, HandsOutSuitesThatCanBeUsed) {
    const Suite* const suite = Cache::getPluginSuite("sphere", "lantern");
    ASSERT_NE(suite, nullptr);
    const OxLocationDelegateInstance instance = suite->create();
    const GroupAttribute replacement =
        Attribute::CreateAndSteal(suite->getReplacement(instance, nullptr));
    EXPECT_EQ(StringAttribute(replacement.getChildByName("a.type")).getValue("", false),
              "pointcloud");
    suite->destroy(instance);
}

} // namespace
