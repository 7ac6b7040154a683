#include <OxTellarSDK/SuiteFilter.h>

#include <atomic>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/PluginManager.h>

#include "RunTogether.h"
#include "plugins/GuestSuite.h"

namespace {

using OxPluginManager::AddSuiteFilter;
using OxPluginManager::PluginManager;
using OxPluginManager::SuiteOffer;

// Any address will do as a table that only getSuite sees.
const int kRealTable = 0;
const int kFirstTable = 0;
const int kSecondTable = 0;
const int kHiddenTable = 0;

std::atomic<int> createdStrings{0};

OxAttributeStruct* CreateCountedString(const char* const* values, int64_t count,
                                       int64_t tupleSize) {
    ++createdStrings;
    return OxGetBuiltInAttributeSuite()->createString(values, count, tupleSize);
}

// The process as a program sets it up: filters first, then plug-ins. The attribute suite that
// plug-ins get reports 7 as the type of every attribute, which no attribute has.
struct FilteredProcess {
    FilteredProcess() : attributes(*OxGetBuiltInAttributeSuite()) {
        setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);
        attributes.getType = [](const OxAttributeStruct*) { return 7; };
        attributes.createString = CreateCountedString;
        guest.timesGivenHost = [] { return 77; };
        AddSuiteFilter([this](const SuiteOffer& offer) { return first(offer); });
        AddSuiteFilter([](const SuiteOffer& offer) {
            return offer.suite == &kFirstTable ? &kSecondTable : offer.suite;
        });
        OxGetPluginHost()->registerSuite(&kRealTable, "TestFiltered", 2);
        OxGetPluginHost()->registerSuite(&kRealTable, "TestFiltered", 3);
        OxGetPluginHost()->registerSuite(&kHiddenTable, "TestHidden", 1);
    }

    const void* first(const SuiteOffer& offer) {
        if (offer.apiName == "AttributeHost" && offer.apiVersion == 1) return &attributes;
        if (offer.pluginName == "guest" && offer.apiName == "TestGuests") return &guest;
        if (offer.apiName == "TestFiltered" && offer.apiVersion == 3) return &kFirstTable;
        return offer.apiName == "TestHidden" ? nullptr : offer.suite;
    }

    OxAttributeSuite_v1 attributes;
    GuestSuite guest{};
};

class SuiteFilterTest : public testing::Test {
protected:
    static const FilteredProcess& process() {
        static const FilteredProcess* const process = new FilteredProcess;
        return *process;
    }

    const OxAttributeSuite_v1* const attributes = &process().attributes;
    const GuestSuite* const guest = &process().guest;
    const OxPluginHost& host = *OxGetPluginHost();
};

TEST_F(SuiteFilterTest, PutsATableInPlaceOfTheRegisteredOne) {
    EXPECT_EQ(host.getSuite("AttributeHost", 1), attributes);
}

TEST_F(SuiteFilterTest, GivesEachFilterWhatTheEarlierOneReturned) {
    EXPECT_EQ(host.getSuite("TestFiltered", 3), &kSecondTable);
}

TEST_F(SuiteFilterTest, LeavesOtherTablesAsTheyAre) {
    EXPECT_EQ(host.getSuite("TestFiltered", 2), &kRealTable);
    EXPECT_EQ(host.getSuite("TestFiltered", 4), nullptr);
    EXPECT_STREQ(host.getPluginName("TestGuests", 1, 1), "silent guest");
}

TEST_F(SuiteFilterTest, HidesATableForWhichAFilterReturnsNull) {
    EXPECT_EQ(host.getSuite("TestHidden", 1), nullptr);
    EXPECT_EQ(host.getNewestSuiteVersion("TestHidden"), 1u);
}

TEST_F(SuiteFilterTest, AppliesToTheTablesOfPlugins) {
    EXPECT_EQ(host.getPluginSuite("guest", "TestGuests", 1), guest);
    EXPECT_EQ(PluginManager::getPluginSuite(PluginManager::getPlugin("guest", "TestGuests", 1)),
              guest);
    const auto* other =
        static_cast<const GuestSuite*>(host.getPluginSuite("later guest", "TestGuests", 2));
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->timesGivenHost(), 1);
    EXPECT_EQ(host.getPluginSuite("no such guest", "TestGuests", 1), nullptr);
}

TEST_F(SuiteFilterTest, IsSeenByAPluginThatTakesItsSuiteWhenItIsLoaded) {
    const auto* other =
        static_cast<const GuestSuite*>(host.getPluginSuite("silent guest", "TestGuests", 1));
    ASSERT_NE(other, nullptr);
    EXPECT_NE(other->madeAttribute(), nullptr);
    const auto* seen =
        static_cast<const OxAttributeSuite_v1*>(other->host()->getSuite("AttributeHost", 1));
    EXPECT_EQ(seen->getType(other->madeAttribute()), 7);
}

TEST_F(SuiteFilterTest, MakesSettingsWithTheTableThatPluginsGet) {
    setenv("OX_CONFIG_TELLAR_TEST_TEXT", "a text", 1);
    const int before = createdStrings;
    OxAttributeStruct* value = host.getConfiguration("TELLAR_TEST_TEXT");
    EXPECT_STREQ(attributes->getString(value, 0, 0), "a text");
    attributes->release(value);
    EXPECT_EQ(createdStrings, before + 1);
}

TEST_F(SuiteFilterTest, MayBeAddedWhileOtherThreadsAsk) {
    RunTogether(8, [this](int number) {
        for (int i = 0; i < 200; ++i) {
            if (number == 0) AddSuiteFilter([](const SuiteOffer& offer) { return offer.suite; });
            EXPECT_EQ(host.getSuite("TestFiltered", 3), &kSecondTable);
            EXPECT_EQ(host.getPluginSuite("guest", "TestGuests", 1), guest);
        }
    });
}

} // namespace
