#include <OxTellarSDK/PluginManager.h>

#include <cstdlib>
#include <stdexcept>

#include <gmock/gmock.h>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "ErrorOf.h"
#include "PluginFolder.h"
#include "RunTogether.h"
#include "plugins/AskingSuite.h"
#include "plugins/TestShapesSuite.h"

namespace {

using OxPluginManager::PluginHandle;
using OxPluginManager::PluginManager;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;

// The folders that the whole process finds, made before the manager is first used: a folder that
// the environment names, one that is added, and one that a plug-in adds while it is loaded.
struct InstalledPlugins {
    InstalledPlugins() {
        shapesFile = environmentFolder.install("GoodPlugin", "a.so");
        environmentFolder.install("AskingPlugin", "b.so");
        addedFolder.install("ThrowingFunctionsPlugin", "c.so");
        brokenFile = addedFolder.write("d.so", "no library");
        lateFolder.install("ChoosyPlugin", "e.so");
        opTypesFile = environmentFolder.install("FaultyOpTypesPlugin", "f.so");
        setenv("OX_PLUGIN_PATH", (':' + environmentFolder.path() + "::").c_str(), 1);
        setenv("TELLAR_TEST_FOLDER_ADDED_WHILE_LOADING", lateFolder.path().c_str(), 1);
        PluginManager::addSearchPath(addedFolder.path());
        RunTogether(8, [this](int number) {
            firstHandles[number] = PluginManager::getPlugin("cube", "TestShapes", 1);
        });
    }

    PluginFolder environmentFolder;
    PluginFolder addedFolder;
    PluginFolder lateFolder;
    std::string shapesFile;
    std::string brokenFile;
    std::string opTypesFile;
    PluginHandle firstHandles[8] = {};
};

class PluginManagerTest : public testing::Test {
protected:
    static const InstalledPlugins& installed() {
        static const InstalledPlugins plugins;
        return plugins;
    }
    void SetUp() override { installed(); }
};

TEST_F(PluginManagerTest, SearchesTheEnvironmentTheAddedFoldersThenTheBuiltInOne) {
    EXPECT_THAT(PluginManager::searchPaths(),
                ElementsAre(installed().environmentFolder.path(), installed().addedFolder.path(),
                            TELLAR_SDK_LIBRARY_DIR "/tellar-plugins",
                            installed().lateFolder.path()));
}

TEST_F(PluginManagerTest, TellsWhatIsInstalledBesideItWithoutSearchingThere) {
    EXPECT_EQ(PluginManager::installedFolder("tellar-renderers"),
              TELLAR_SDK_LIBRARY_DIR "/tellar-renderers");
    EXPECT_THAT(PluginManager::searchPaths(),
                Not(testing::Contains(TELLAR_SDK_LIBRARY_DIR "/tellar-renderers")));
}

TEST_F(PluginManagerTest, FindsOnePluginForAllThreadsThatUseItFirst) {
    const PluginHandle cube = PluginManager::getPlugin("cube", "TestShapes", 1);
    ASSERT_NE(cube, nullptr);
    EXPECT_THAT(installed().firstHandles, testing::Each(cube));
}

TEST_F(PluginManagerTest, ReplacesTheListsThatItIsGiven) {
    std::vector<std::string> names = {"left from an earlier call"};
    PluginManager::getPluginNames("TestShapes", names, 1);
    EXPECT_THAT(names, ElementsAre("sphere", "cube"));
    std::vector<unsigned int> versions = {9};
    PluginManager::getPluginApiVersions("TestShapes", versions);
    EXPECT_THAT(versions, ElementsAre(1u, 2u));
    PluginManager::getApiNames(names);
    EXPECT_THAT(names, IsSupersetOf({"TestShapes", "TestColors", "TestAsking", "TestThrowing"}));
    EXPECT_THAT(names, Not(testing::Contains("left from an earlier call")));
}

TEST_F(PluginManagerTest, GivesSuitesAndFilesOfPlugins) {
    const PluginHandle sphere = PluginManager::getPlugin("sphere", "TestShapes", 2);
    const auto* suite = static_cast<const TestShapesSuite*>(PluginManager::getPluginSuite(sphere));
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->libraryNumber(), 1);
    EXPECT_EQ(PluginManager::getPluginPath(sphere), installed().shapesFile);
}

TEST_F(PluginManagerTest, FlushesAndSetsHosts) {
    const PluginHandle sphere = PluginManager::getPlugin("sphere", "TestShapes", 2);
    const auto* suite = static_cast<const TestShapesSuite*>(PluginManager::getPluginSuite(sphere));
    ASSERT_NE(suite, nullptr);
    const int flushesBefore = suite->flushCount();
    PluginManager::flushSpecificPluginCache(sphere);
    EXPECT_EQ(suite->flushCount(), flushesBefore + 1);

    int host = 0;
    PluginManager::setHost(reinterpret_cast<OxPluginHost*>(&host));
    EXPECT_EQ(suite->lastHost(), reinterpret_cast<OxPluginHost*>(&host));
    PluginManager::setHost(nullptr);
    EXPECT_EQ(suite->lastHost(), nullptr);
}

TEST_F(PluginManagerTest, ListsWhatItPassedOver) {
    std::vector<std::string> files;
    for (const auto& refused : PluginManager::refused())
        files.push_back(refused.file);
    EXPECT_THAT(files, testing::Contains(installed().brokenFile));
}

TEST_F(PluginManagerTest, ShowsAPluginThatAsksWhileItIsLoadedOnlyWhatWasLoadedBefore) {
    const PluginHandle asking = PluginManager::getPlugin("asking", "TestAsking", 1);
    const auto* suite = static_cast<const AskingSuite*>(PluginManager::getPluginSuite(asking));
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->shapesSeenByInitialiser, 2u);
    EXPECT_EQ(suite->shapesSeenWhenCounted, 2u);
    EXPECT_FALSE(suite->isItselfSeen);
    EXPECT_FALSE(suite->isLaterPluginSeen);
    EXPECT_NE(PluginManager::getPlugin("thrower", "TestThrowing", 1), nullptr);
}

TEST_F(PluginManagerTest, LoadsAFolderThatAPluginAddsWhileItIsLoaded) {
    EXPECT_NE(PluginManager::getPlugin("easy", "TestChoosy", 1), nullptr);
}

// Op types, which the runtime asks the manager for
// -------------------------------------------------

TEST_F(PluginManagerTest, ListsOpTypePluginsThatCannotBeUsedAndWhy) {
    OxOpType::LoadOpTypes();
    OxOpType::LoadOpTypes();
    std::vector<std::string> reasons;
    for (const auto& refused : PluginManager::refused())
        if (refused.file == installed().opTypesFile) reasons.push_back(refused.reason);
    EXPECT_THAT(
        reasons,
        ElementsAre("plug-in \"null suite\": getSuite gives no function table",
                    "plug-in \"throwing suite\": getSuite threw: no suite today",
                    "plug-in \"no function\": its function table has no getOpType",
                    "plug-in \"no type\": getOpType gives no op type",
                    "plug-in \"throwing type\": getOpType threw: an exception without a text",
                    "plug-in \"number type\": getOpType threw something that is no std::exception",
                    "plug-in \"number description\": description threw something that is no "
                    "std::exception",
                    "plug-in \"no name\": its op type has no name",
                    "plug-in \"second\": there is an op type \"TestSound\" already"));
}

/// The text that cooking a location with an Op of the type throws; "no error" if it does not throw.
std::string CookErrorOf(const std::string& opType, const std::string& path) {
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto op = transaction->createOp();
    transaction->setOpArgs(op, opType, OxAttribute::GroupAttribute(true));
    const auto client = transaction->createClient();
    transaction->setClientOp(client, op);
    runtime->commit(transaction);
    return ErrorOf([&] { client->cookLocation(path); });
}

TEST_F(PluginManagerTest, LetsScenesUseTheOpTypesThatAreSound) {
    EXPECT_EQ(CookErrorOf("TestSound", "/root"), "no error");
    EXPECT_EQ(CookErrorOf("TestSound", "/silent"),
              "Op \"op0\" (TestSound) at \"/silent\": an exception without a text");
    EXPECT_EQ(CookErrorOf("TestDumb", "/root"),
              "Op \"op0\" (TestDumb) at \"/root\": there is no op type of this name");
}

TEST_F(PluginManagerTest, MakesATypeWhoseDescriptionThrowsLaterAnErrorOfItsOps) {
    EXPECT_EQ(CookErrorOf("TestFickle", "/root"),
              "Op \"op0\" (TestFickle) at \"/root\": the description of its type threw: an "
              "exception without a text");
    ASSERT_NE(OxOpType::FindDescription("TestFickle"), nullptr);
    EXPECT_EQ(OxOpType::FindDescription("TestFickle")->name, "TestFickle");
}

TEST_F(PluginManagerTest, CallsNoFunctionThatATypeOfVersion1MayLack) {
    const OxAttribute::GroupAttribute args(true);
    const auto all = OxLocationPath::LocationSet::everything();
    const OxOpType::OpType* const older = OxOpType::FindOpType("TestOfVersion1");
    ASSERT_NE(older, nullptr);
    EXPECT_TRUE(older->touchedBy(args, args).isEverything());
    EXPECT_TRUE(older->touchedThrough(args, 0, all).isEverything());
    const OxOpType::OpType* const newer = OxOpType::FindOpType("TestOfVersion3");
    ASSERT_NE(newer, nullptr);
    EXPECT_TRUE(newer->touchedBy(args, args).isEmpty());
    EXPECT_TRUE(newer->touchedThrough(args, 0, all).isEmpty());
    EXPECT_EQ(CookErrorOf("TestOfVersion1", "/root"), "no error");
    EXPECT_EQ(CookErrorOf("TestOfVersion3", "/root"), "no error");
}

TEST_F(PluginManagerTest, LetsAnOpTypeLookForOthersWhileItIsAskedItself) {
    EXPECT_NE(OxOpType::FindOpType("TestAsking"), nullptr);
    EXPECT_NE(OxOpType::FindOpType("TestSound"), nullptr);
}

} // namespace
