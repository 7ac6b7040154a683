#include <OxAssetHost/OxAssetPluginManager.h>

#include <memory>
#include <string>
#include <utility>

#include <gmock/gmock.h>

#include "RunTogether.h"

namespace {

using PluginPointer = std::shared_ptr<const OxAssetPlugin>;

/// Puts its name before every reference.
class NamedPlugin : public OxAssetPlugin {
public:
    explicit NamedPlugin(std::string name) : name(std::move(name)) {}

    std::string resolvePath(const std::string& reference, int frame, bool) const override {
        return name + ":" + reference + "@" + std::to_string(frame);
    }

private:
    std::string name;
};

/// Asks for the default plug-in as it goes away, as a plug-in that wraps another one might.
class AskingAtItsEndPlugin : public NamedPlugin {
public:
    AskingAtItsEndPlugin(PluginPointer& answer) : NamedPlugin("asking"), answer(answer) {}
    ~AskingAtItsEndPlugin() override { answer = OxAssetPluginManager::getDefaultAssetPlugin(); }

private:
    PluginPointer& answer;
};

class OxAssetPluginManagerTest : public testing::Test {
protected:
    ~OxAssetPluginManagerTest() override { OxAssetPluginManager::setDefaultAssetPlugin(nullptr); }
};

std::string Resolve(const std::string& reference, int frame) {
    return OxAssetPluginManager::getDefaultAssetPlugin()->resolvePath(reference, frame, true);
}

TEST_F(OxAssetPluginManagerTest, BeginsWithTheBuiltInPlugin) {
    ASSERT_NE(OxAssetPluginManager::getDefaultAssetPlugin(), nullptr);
    EXPECT_EQ(Resolve("/a.####.exr", 7), "/a.0007.exr");
}

TEST_F(OxAssetPluginManagerTest, UsesThePluginThatWasSetLast) {
    OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<NamedPlugin>("site"));
    OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<NamedPlugin>("show"));
    EXPECT_EQ(Resolve("/a.####.exr", 7), "show:/a.####.exr@7");
}

TEST_F(OxAssetPluginManagerTest, RestoresTheBuiltInPluginWithNull) {
    const PluginPointer builtIn = OxAssetPluginManager::getDefaultAssetPlugin();
    OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<NamedPlugin>("site"));
    ASSERT_NE(OxAssetPluginManager::getDefaultAssetPlugin(), builtIn);
    OxAssetPluginManager::setDefaultAssetPlugin(nullptr);
    EXPECT_EQ(OxAssetPluginManager::getDefaultAssetPlugin(), builtIn);
    EXPECT_EQ(Resolve("/a.####.exr", 7), "/a.0007.exr");
}

TEST_F(OxAssetPluginManagerTest, LeavesAReplacedPluginToThoseWhoHoldIt) {
    OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<NamedPlugin>("site"));
    const PluginPointer held = OxAssetPluginManager::getDefaultAssetPlugin();
    OxAssetPluginManager::setDefaultAssetPlugin(nullptr);
    EXPECT_EQ(held->resolvePath("a", 1, true), "site:a@1");
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(OxAssetPluginManagerTest, LetsAPluginThatIsReplacedAskForTheNextOne) {
    PluginPointer answer;
    OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<AskingAtItsEndPlugin>(answer));
    const auto next = std::make_shared<const NamedPlugin>("next");
    OxAssetPluginManager::setDefaultAssetPlugin(next);
    EXPECT_EQ(answer, next);
}

TEST_F(OxAssetPluginManagerTest, ResolvesInManyThreadsWhileThePluginIsReplaced) {
    RunTogether(8, [](int number) {
        for (int frame = 0; frame < 500; ++frame) {
            if (number == 0) {
                OxAssetPluginManager::setDefaultAssetPlugin(
                    frame % 2 ? nullptr : std::make_shared<const NamedPlugin>("site"));
                continue;
            }
            const std::string builtIn = "/a." + std::to_string(frame) + ".exr";
            const std::string site = "site:/a.%d.exr@" + std::to_string(frame);
            EXPECT_THAT(Resolve("/a.%d.exr", frame), testing::AnyOf(builtIn, site));
        }
    });
}

} // namespace
