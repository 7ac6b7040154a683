#include "PluginRegistry.h"

#include <sys/stat.h>

#include <atomic>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "PluginFolder.h"
#include "PluginRegistryHelpers.h"
#include "RunTogether.h"

namespace {

using OxPluginManager::PluginRegistry;
using OxPluginManager::RefusedPlugin;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST(PluginRegistry, FindsNothingWithoutFolders) {
    PluginRegistry registry({}, "");
    EXPECT_THAT(registry.pluginNames("TestShapes", 1), IsEmpty());
    EXPECT_EQ(registry.plugin("sphere", "TestShapes", 1), nullptr);
    EXPECT_THAT(registry.apiNames(), IsEmpty());
    EXPECT_THAT(registry.folders(), IsEmpty());
}

TEST(PluginRegistry, ListsPluginsByApiAndVersion) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so");
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.apiNames(), ElementsAre("TestShapes", "TestColors"));
    EXPECT_THAT(registry.apiVersions("TestShapes"), ElementsAre(1u, 2u));
    EXPECT_THAT(registry.pluginNames("TestShapes", 1), ElementsAre("sphere", "cube"));
    EXPECT_THAT(registry.pluginNames("TestShapes", 2), ElementsAre("sphere"));
    EXPECT_THAT(registry.pluginNames("TestShapes", 3), IsEmpty());
    EXPECT_THAT(registry.apiVersions("Unknown"), IsEmpty());
    EXPECT_THAT(registry.refusedPlugins(), IsEmpty());
}

TEST(PluginRegistry, GivesTheRecordTheSuiteAndTheFileOfAPlugin) {
    const PluginFolder folder;
    const std::string file = folder.install("GoodPlugin", "good.so");
    PluginRegistry registry({folder.path()}, "");
    const OxPluginRecord_v1* const cube = registry.plugin("cube", "TestShapes", 1);
    ASSERT_NE(cube, nullptr);
    EXPECT_EQ(cube->minorVersion, 5u);
    EXPECT_EQ(SuiteOf(registry, "cube", 1).libraryNumber(), 1);
    EXPECT_EQ(registry.pluginPath(cube), file);
}

TEST(PluginRegistry, KnowsNothingOfOtherNamesAndHandles) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so");
    PluginRegistry registry({folder.path()}, "");
    EXPECT_EQ(registry.plugin("cube", "TestShapes", 2), nullptr);
    EXPECT_EQ(registry.plugin("cube", "TestColors", 1), nullptr);
    EXPECT_EQ(registry.plugin("Cube", "TestShapes", 1), nullptr);
    const OxPluginRecord_v1 stranger = {};
    EXPECT_EQ(registry.pluginSuite(nullptr), nullptr);
    EXPECT_EQ(registry.pluginSuite(&stranger), nullptr);
    EXPECT_EQ(registry.pluginPath(nullptr), "");
    EXPECT_EQ(registry.pluginPath(&stranger), "");
}

TEST(PluginRegistry, LetsTheFirstFolderWinThenTheFirstFile) {
    const PluginFolder first;
    const PluginFolder second;
    const std::string winner = first.install("OtherGoodPlugin", "b.so");
    first.install("GoodPlugin", "c.so");
    second.install("GoodPlugin", "a.so");
    PluginRegistry registry({first.path(), second.path()}, "");
    EXPECT_EQ(SuiteOf(registry).libraryNumber(), 2);
    EXPECT_EQ(registry.pluginPath(registry.plugin("sphere", "TestShapes", 2)), winner);
    EXPECT_THAT(registry.pluginNames("TestShapes", 1), ElementsAre("sphere", "cube"));
    EXPECT_THAT(registry.refusedPlugins(), IsEmpty());
}

TEST(PluginRegistry, SearchesTheFirstFoldersThenAddedOnesThenTheBuiltInOne) {
    const PluginFolder first;
    const PluginFolder added;
    const PluginFolder builtIn;
    added.install("OtherGoodPlugin", "z.so");
    builtIn.install("GoodPlugin", "a.so");
    PluginRegistry registry({first.path()}, builtIn.path());
    registry.addFolder(added.path());
    EXPECT_THAT(registry.folders(), ElementsAre(first.path(), added.path(), builtIn.path()));
    EXPECT_EQ(SuiteOf(registry).libraryNumber(), 2);
    EXPECT_THAT(registry.folders(), ElementsAre(first.path(), added.path(), builtIn.path()));
}

TEST(PluginRegistry, LoadsOnlyTheNewFolderWhenOneIsAddedAfterTheFirstQuery) {
    const PluginFolder first;
    const PluginFolder late;
    first.install("EmptyPlugin", "empty.so");
    late.install("GoodPlugin", "good.so");
    PluginRegistry registry({first.path()}, "");
    EXPECT_EQ(registry.plugin("sphere", "TestShapes", 2), nullptr);
    first.install("OtherGoodPlugin", "unseen.so");
    registry.addFolder(late.path());
    EXPECT_EQ(SuiteOf(registry).libraryNumber(), 1);
    EXPECT_THAT(registry.folders(), ElementsAre(first.path(), late.path()));
}

TEST(PluginRegistry, TakesOneFolderInSeveralSpellingsOnce) {
    const PluginFolder folder;
    folder.write("broken.so", "no library");
    const CapturedLog log;
    PluginRegistry registry({folder.path(), folder.path() + "/", ""}, folder.path());
    registry.addFolder(folder.path() + "/./");
    EXPECT_THAT(registry.folders(), ElementsAre(folder.path()));
    EXPECT_THAT(registry.refusedPlugins(), SizeIs(1));
    registry.addFolder(folder.path());
    EXPECT_THAT(registry.refusedPlugins(), SizeIs(1));
    EXPECT_THAT(log.messages(), SizeIs(1));
}

TEST(PluginRegistry, LooksOnlyAtFilesWithTheSuffixOfModules) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so.1");
    folder.install("OtherGoodPlugin", "good.txt");
    folder.write("so", "no library");
    std::filesystem::create_directory(folder.path("folder.so"));
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.apiNames(), IsEmpty());
    EXPECT_THAT(registry.refusedPlugins(), IsEmpty());
}

TEST(PluginRegistry, AcceptsALibraryWithoutPlugins) {
    const PluginFolder folder;
    folder.install("EmptyPlugin", "empty.so");
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.apiNames(), IsEmpty());
    EXPECT_THAT(registry.refusedPlugins(), IsEmpty());
}

TEST(PluginRegistry, WarnsOnceAboutATextFileWithTheReasonOfTheLoader) {
    const PluginFolder folder;
    const std::string file =
        folder.write("text.so", "This is a text and not a library.\n" + std::string(5000, '.'));
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.apiNames(), IsEmpty());
    EXPECT_THAT(registry.apiNames(), IsEmpty());
    EXPECT_THAT(registry.refusedPlugins(),
                ElementsAre(RefusedPlugin{file, file + ": invalid ELF header"}));
    ASSERT_THAT(log.messages(), SizeIs(1));
    EXPECT_EQ(log.messages().front().level, OxLogLevel::warn);
    EXPECT_EQ(log.messages().front().loggerName, "PluginManager");
    EXPECT_EQ(log.messages().front().text,
              "Passed over \"" + file + "\": " + file + ": invalid ELF header");
}

TEST(PluginRegistry, GoesOnBehindAFileThatCannotBeLoaded) {
    const PluginFolder folder;
    folder.write("a.so", "");
    folder.install("GoodPlugin", "b.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    EXPECT_EQ(SuiteOf(registry).libraryNumber(), 1);
    EXPECT_THAT(registry.refusedPlugins(), SizeIs(1));
}

TEST(PluginRegistry, PassesOverALibraryWithAnUnresolvedFunction) {
    const PluginFolder folder;
    folder.install("UnresolvedPlugin", "unresolved.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    ASSERT_THAT(registry.refusedPlugins(), SizeIs(1));
    EXPECT_THAT(registry.refusedPlugins().front().reason,
                HasSubstr("TellarTestFunctionThatNobodyHas"));
}

TEST(PluginRegistry, PassesOverWhatIsNoRegularFile) {
    const PluginFolder folder;
    std::filesystem::create_symlink(folder.path("nowhere"), folder.path("link.so"));
    ASSERT_EQ(mkfifo(folder.path("pipe.so").c_str(), 0600), 0);
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.refusedPlugins(),
                ElementsAre(RefusedPlugin{folder.path("link.so"), "not a regular file"},
                            RefusedPlugin{folder.path("pipe.so"), "not a regular file"}));
}

TEST(PluginRegistry, WarnsAboutAFolderThatCannotBeReadUnlessItIsTheBuiltInOne) {
    const PluginFolder folder;
    const std::string file = folder.write("file", "");
    const CapturedLog log;
    PluginRegistry registry({folder.path("absent"), file}, folder.path("absent built-in"));
    EXPECT_THAT(registry.refusedPlugins(),
                ElementsAre(RefusedPlugin{folder.path("absent"), "No such file or directory"},
                            RefusedPlugin{file, "Not a directory"}));
    EXPECT_THAT(log.messages(), SizeIs(2));
}

struct BadPlugin {
    const char* library;
    const char* reason;
};

void PrintTo(const BadPlugin& plugin, std::ostream* out) {
    *out << plugin.library;
}

class BadPluginTest : public testing::TestWithParam<BadPlugin> {};

TEST_P(BadPluginTest, IsPassedOverAsAWholeWithOneWarning) {
    const PluginFolder folder;
    const std::string file = folder.install(GetParam().library, "bad.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    EXPECT_THAT(registry.apiNames(), IsEmpty());
    EXPECT_THAT(registry.refusedPlugins(), ElementsAre(RefusedPlugin{file, GetParam().reason}));
    EXPECT_THAT(log.textsOf("PluginManager"),
                ElementsAre("Passed over \"" + file + "\": " + GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    PluginRegistry, BadPluginTest,
    testing::Values(
        BadPlugin{"NoPlugin", "it exports no OxGetPluginCount"},
        BadPlugin{"HalfPlugin", "it exports no OxGetPlugin"},
        BadPlugin{"ThrowingCountPlugin", "OxGetPluginCount threw: no licence"},
        BadPlugin{"SilentCountPlugin", "OxGetPluginCount threw: an exception without a text"},
        BadPlugin{"SilentRecordPlugin",
                  "plug-in 0: OxGetPlugin threw: an exception without a text"},
        BadPlugin{"AbsurdCountPlugin", "it claims to hold 1025 plug-ins, more than 1024"},
        BadPlugin{"ThrowingRecordPlugin",
                  "plug-in 0: OxGetPlugin threw something that is no std::exception"},
        BadPlugin{"NullRecordPlugin", "plug-in 0: its record is null"},
        BadPlugin{"WrongVersionPlugin", "plug-in 1: its record has version 2, not 1"},
        BadPlugin{"NoNamePlugin", "plug-in 1: it has no name"},
        BadPlugin{"EmptyNamePlugin", "plug-in 1: it has no name"},
        BadPlugin{"NoApiNamePlugin", "plug-in 1: it has no API name"},
        BadPlugin{"NoSuitePlugin", "plug-in 1: it has no getSuite function"}),
    [](const testing::TestParamInfo<BadPlugin>& test) { return test.param.library; });

TEST(PluginRegistry, FlushesOnePluginAtATime) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so");
    PluginRegistry registry({folder.path()}, "");
    const TestShapesSuite& suite = SuiteOf(registry);
    registry.flush(registry.plugin("sphere", "TestShapes", 2));
    EXPECT_EQ(suite.flushCount(), 1);
    registry.flush(registry.plugin("red", "TestColors", 1));
    EXPECT_EQ(suite.flushCount(), 2);
    registry.flush(registry.plugin("sphere", "TestShapes", 1)); // has nothing to flush
    const OxPluginRecord_v1 stranger = {};
    registry.flush(&stranger);
    registry.flush(nullptr);
    EXPECT_EQ(suite.flushCount(), 2);
}

TEST(PluginRegistry, AddsAPluginThatItsUserRefusesToThosePassedOver) {
    const PluginFolder folder;
    const std::string file = folder.install("GoodPlugin", "good.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    registry.refuse(registry.plugin("cube", "TestShapes", 1), "it has no corners");
    EXPECT_THAT(registry.refusedPlugins(),
                ElementsAre(RefusedPlugin{file, "plug-in \"cube\": it has no corners"}));
    EXPECT_THAT(log.textsOf("PluginManager"),
                ElementsAre("Passed over \"" + file + "\": plug-in \"cube\": it has no corners"));
    const OxPluginRecord_v1 stranger = {};
    registry.refuse(&stranger, "nobody knows it");
    registry.refuse(nullptr, "there is none");
    EXPECT_THAT(registry.refusedPlugins(), SizeIs(1));
}

TEST(PluginRegistryDeathTest, NamesALibraryWhoseStaticInitialiserEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const PluginFolder folder;
    const std::string file = folder.install("ThrowingInitialiserPlugin", "thrower.so");
    PluginRegistry registry({folder.path()}, "");
    EXPECT_DEATH(registry.apiNames(), "thrower.so\": a static initialiser of this library");
}

TEST(PluginRegistry, LetsALogSinkAskWhileItLoads) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "a.so");
    folder.write("b.so", "no library");
    PluginRegistry registry({folder.path()}, "");
    std::vector<std::string> seen;
    const OxLogSink previous = OxLoggingSetSink(
        [&](const OxLogMessage&) { seen = registry.pluginNames("TestShapes", 1); });
    registry.apiNames();
    OxLoggingSetSink(previous);
    EXPECT_THAT(seen, ElementsAre("sphere", "cube"));
}

TEST(PluginRegistry, ShowsEveryThreadAllPluginsOnFirstUse) {
    const PluginFolder folder;
    folder.install("GoodPlugin", "good.so");
    folder.install("ChoosyPlugin", "choosy.so");
    PluginRegistry registry({folder.path()}, "");
    std::atomic<int> complete{0};
    RunTogether(8, [&](int) {
        complete += registry.apiNames().size() == 3 &&
                    registry.plugin("sphere", "TestShapes", 2) != nullptr;
    });
    EXPECT_EQ(complete, 8);
}

TEST(PluginRegistry, StaysRightWhileThreadsAskAddFoldersFlushAndSetHosts) {
    const PluginFolder folder;
    const PluginFolder late;
    folder.install("GoodPlugin", "good.so");
    late.install("ChoosyPlugin", "choosy.so");
    late.install("OtherGoodPlugin", "other.so");
    const CapturedLog log;
    PluginRegistry registry({folder.path()}, "");
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 100; ++i) {
            if (number == 0 && i == 50) registry.addFolder(late.path());
            if (number == 1) registry.setHost(HostNumber(i % 10));
            if (SuiteOf(registry).libraryNumber() != 1) ++wrong;
            if (registry.pluginNames("TestShapes", 1).size() != 2) ++wrong;
            if (number == 2) registry.flush(registry.plugin("cube", "TestShapes", 1));
            registry.folders();
            registry.refusedPlugins();
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(SuiteOf(registry).flushCount(), 100);
    EXPECT_EQ(SuiteOf(registry).lastHost(), HostNumber(9));
    EXPECT_NE(registry.plugin("easy", "TestChoosy", 1), nullptr);
}

} // namespace
