#include "PluginRegistry.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "PluginFolder.h"
#include "PluginRegistryHelpers.h"

namespace {

using OxPluginManager::PluginRegistry;
using OxPluginManager::RefusedPlugin;
using testing::ElementsAre;

TEST(PluginRegistry, GivesEveryChangeOfTheHostToPluginsThatAreLoaded) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so");
    PluginRegistry registry({folder.path()}, "");
    const TestShapesSuite& suite = SuiteOf(registry);
    EXPECT_EQ(suite.setHostCount(), 0);
    registry.setHost(HostNumber(1));
    EXPECT_EQ(suite.lastHost(), HostNumber(1));
    registry.setHost(nullptr);
    EXPECT_EQ(suite.lastHost(), nullptr);
    EXPECT_EQ(suite.setHostCount(), 2);
}

TEST(PluginRegistry, GivesARememberedHostToPluginsAsTheyLoad) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so");
    PluginRegistry registry({folder.path()}, "");
    registry.setHost(HostNumber(1));
    registry.setHost(HostNumber(2));
    const TestShapesSuite& suite = SuiteOf(registry);
    EXPECT_EQ(suite.setHostCount(), 1);
    EXPECT_EQ(suite.lastHost(), HostNumber(2));
}

TEST(PluginRegistry, GivesNoHostToAPluginThatAnotherHides) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "a.so");
    const PluginFolder hidden;
    const std::string file = hidden.install("OtherGoodPlugin", "b.so");
    PluginRegistry owner({hidden.path()}, "");
    const TestShapesSuite& hiddenSuite = SuiteOf(owner);
    PluginRegistry registry({folder.path(), hidden.path()}, "");
    registry.setHost(HostNumber(1));
    EXPECT_EQ(SuiteOf(registry).lastHost(), HostNumber(1));
    EXPECT_EQ(hiddenSuite.setHostCount(), 0);
}

TEST(PluginRegistry, PassesOverAPluginThatDoesNotAcceptTheHostAsItIsLoaded) {
    const PluginFolder folder;
    const std::string file = folder.install("ChoosyPlugin", "choosy.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    registry.setHost(HostNumber(1));
    EXPECT_THAT(registry.pluginNames("TestChoosy", 1), ElementsAre("easy"));
    EXPECT_THAT(registry.refusedPlugins(),
                ElementsAre(RefusedPlugin{
                    file, "plug-in \"choosy\": it does not accept the host (status 3)"}));
}

TEST(PluginRegistry, KeepsALoadedPluginThatDoesNotAcceptAHostWithAWarning) {
    const PluginFolder folder;
    const std::string file = folder.install("ChoosyPlugin", "choosy.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.pluginNames("TestChoosy", 1), ElementsAre("choosy", "easy"));
    registry.setHost(HostNumber(1));
    EXPECT_THAT(registry.pluginNames("TestChoosy", 1), ElementsAre("choosy", "easy"));
    EXPECT_THAT(log.textsOf("PluginManager"),
                ElementsAre("Plug-in \"choosy\" of \"" + file +
                            "\": it does not accept the host (status 3)"));
}

TEST(PluginRegistry, LetsNoExceptionOfAPluginOut) {
    const PluginFolder folder;
    const std::string file = folder.install("ThrowingFunctionsPlugin", "thrower.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    constexpr const char* kNames[] = {"thrower", "number", "silent"};
    for (const char* name : kNames) {
        const OxPluginRecord_v1* const plugin = registry.plugin(name, "TestThrowing", 1);
        ASSERT_NE(plugin, nullptr);
        EXPECT_EQ(registry.pluginSuite(plugin), nullptr);
    }
    for (const char* name : kNames)
        registry.flush(registry.plugin(name, "TestThrowing", 1));
    registry.setHost(HostNumber(1));
    std::vector<std::string> expected;
    for (const std::string call : {"suite", "flush", "host"}) {
        const std::string function = call == "flush"   ? call
                                     : call == "suite" ? "getSuite"
                                                       : "setHost";
        const std::string faults[] = {" threw: no " + call + " today",
                                      " threw something that is no std::exception",
                                      " threw: an exception without a text"};
        for (int i = 0; i < 3; ++i)
            expected.push_back("Plug-in \"" + std::string(kNames[i]) + "\" of \"" + file +
                               "\": " + function + faults[i]);
    }
    EXPECT_EQ(log.textsOf("PluginManager"), expected);
}

TEST(PluginRegistry, RefusesPluginsThatThrowAsTheyAreGivenTheHostWhileTheyLoad) {
    const PluginFolder folder;
    const std::string file = folder.install("ThrowingFunctionsPlugin", "a.so");
    folder.install("GoodPlugin", "b.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    registry.setHost(HostNumber(1));
    EXPECT_THAT(registry.apiNames(), ElementsAre("TestShapes", "TestColors"));
    EXPECT_THAT(
        registry.refusedPlugins(),
        ElementsAre(
            RefusedPlugin{file, "plug-in \"thrower\": setHost threw: no host today"},
            RefusedPlugin{file,
                          "plug-in \"number\": setHost threw something that is no std::exception"},
            RefusedPlugin{file, "plug-in \"silent\": setHost threw: an exception without a text"}));
}

} // namespace
