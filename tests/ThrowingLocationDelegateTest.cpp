#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>

#include "CapturedLog.h"
#include "RunTogether.h"

namespace {

using Cache = TELLAR::OxScenegraphLocationDelegateCache;

// A process fills the cache once, so this is all of one test: a plug-in that throws the first four
// times that it is asked.
TEST(ThrowingLocationDelegate, ReachesTheCallerAndTheNextCallTriesAgain) {
    setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);
    OxTellarProducersInitialize(OxGetPluginHost());

    std::vector<std::string> types = {"left from an earlier call"};
    try {
        Cache::getLocationTypesWithDelegates(types, "candle");
        ADD_FAILURE() << "nothing is thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "no delegate yet");
    }
    EXPECT_THAT(types, testing::IsEmpty());
    EXPECT_FALSE(Cache::isCacheInitialized());

    {
        const CapturedLog log;
        const auto* const utils = static_cast<const OxRenderOutputUtilsHostSuite_v3*>(
            OxGetPluginHost()->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3));
        EXPECT_EQ(utils->getLocationDelegate("flame", "candle"), nullptr);
        EXPECT_EQ(utils->getLocationTypesWithDelegates("candle"), nullptr);
        EXPECT_THAT(log.textsOf("RenderOutputUtils"),
                    testing::ElementsAre("getLocationDelegate: an exception without a text",
                                         "getLocationTypesWithDelegates: unknown exception"));
    }

    // Only one of several threads gets the error. The threads that waited for it try again.
    std::atomic<int> thrown{0};
    std::atomic<int> found{0};
    RunTogether(8, [&](int) {
        try {
            found += Cache::getPluginSuite("flame", "candle") != nullptr;
        } catch (const std::runtime_error&) {
            ++thrown;
        }
    });
    EXPECT_EQ(thrown, 1);
    EXPECT_EQ(found, 7);
    EXPECT_TRUE(Cache::isCacheInitialized());
    Cache::getLocationTypesWithDelegates(types, "candle");
    EXPECT_THAT(types, testing::ElementsAre("flame"));
}

} // namespace
