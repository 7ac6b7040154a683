// The change lists of scenes with the op type that authors of op types copy.
#include <OxTellarProducers/SceneChanges.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/ChangedLocations.h>
#include <OxTellarSDK/PluginManager.h>

#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using testing::ElementsAre;

std::shared_ptr<TellarRuntime::Client> SpiralOf(int count, int stalk) {
    OxPluginManager::PluginManager::addSearchPath(TELLAR_TEST_OP_TYPES);
    const GroupAttribute pear =
        Location({}, {{"stalk", Location({{"n", Int(stalk)}})}, {"leaf", Location({})}});
    const GroupAttribute args = Group({{"location", Text("/root/pear")}, {"count", Int(count)}});
    return MakeClient(Group({{"scene", OpEntry("StaticScene", Location({}, {{"pear", pear}}))},
                             {"spiral", OpEntry("Spiral", args, {"scene"})}}));
}

std::vector<std::string> ChangedPaths(const std::shared_ptr<TellarRuntime::Client>& before,
                                      const std::shared_ptr<TellarRuntime::Client>& after) {
    std::vector<std::string> paths;
    for (const TELLAR::SceneChange& change : TELLAR::CompareScenes(before, after))
        paths.push_back(change.path);
    return paths;
}

} // namespace

TEST(ExampleOpChanges, OfAnArgumentAreInTheCopies) {
    const auto before = SpiralOf(2, 0);
    const auto after = SpiralOf(3, 0);
    EXPECT_THAT(OxOpType::ChangedLocations(before->getOp(), after->getOp()).describe(),
                ElementsAre("/root/pear/**"));
    EXPECT_THAT(ChangedPaths(before, after), ElementsAre("/root/pear/copy_1", "/root/pear/copy_2"));
}

TEST(ExampleOpChanges, OfTheInputAreInAllCopies) {
    const auto before = SpiralOf(2, 0);
    const auto after = SpiralOf(2, 1);
    EXPECT_THAT(OxOpType::ChangedLocations(before->getOp(), after->getOp()).describe(),
                ElementsAre("/root/pear/copy_*/stalk", "/root/pear/stalk"));
    EXPECT_THAT(ChangedPaths(before, after),
                ElementsAre("/root/pear/copy_0/stalk", "/root/pear/copy_1/stalk"));
}
