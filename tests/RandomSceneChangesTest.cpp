// Change lists of random scenes beside those of a plain walk of both scenes.
#include <OxTellarProducers/SceneChanges.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/AttributeStream.h>

#include "SceneBuilders.h"
#include "TempDirectory.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::SceneChange;

/// A location that differs, as "path kind mask".
using Line = std::string;

Line LineOf(const std::string& path, SceneChange::Kind kind, std::uint32_t mask) {
    return path + ' ' + std::to_string(kind) + ' ' + std::to_string(mask);
}

class RandomScene {
public:
    explicit RandomScene(unsigned seed) : random(seed) {}

    GroupAttribute location(int depth) {
        Children attrs;
        if (oneIn(2)) attrs.emplace_back("n", Int(int(below(2))));
        if (oneIn(3)) attrs.emplace_back("xform", Int(int(below(2))));
        Children children;
        for (const char* const name : {"a", "b", "c", "d"})
            if (depth > 0 && oneIn(2)) children.emplace_back(name, location(depth - 1));
        std::shuffle(children.begin(), children.end(), random);
        return Location(attrs, children);
    }

private:
    std::size_t below(std::size_t limit) { return random() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }

    std::mt19937 random;
};

GroupAttribute Part(const GroupAttribute& location, const char* part) {
    return GroupAttribute(location.getChildByName(part));
}

/// The names of `names` that the other group has as well, in their order.
std::vector<std::string> CommonNames(const GroupAttribute& group, const GroupAttribute& other) {
    std::vector<std::string> common;
    for (const std::string& name : NamesOf(group))
        if (other.findChild(name) >= 0) common.push_back(name);
    return common;
}

std::uint32_t MaskOf(const GroupAttribute& before, const GroupAttribute& after) {
    const GroupAttribute attrs = Part(before, "a");
    const GroupAttribute newAttrs = Part(after, "a");
    std::uint32_t mask = 0;
    if (attrs.getChildByName("n") != newAttrs.getChildByName("n")) mask |= TELLAR::kOtherChanged;
    if (attrs.getChildByName("xform") != newAttrs.getChildByName("xform"))
        mask |= TELLAR::kTransformChanged;
    if (CommonNames(Part(before, "c"), Part(after, "c")) !=
        CommonNames(Part(after, "c"), Part(before, "c")))
        mask |= TELLAR::kChildrenChanged;
    return mask;
}

/// Walks two descriptions to the end.
void Walk(const std::string& path, const GroupAttribute& before, const GroupAttribute& after,
          std::vector<Line>& lines) {
    if (const std::uint32_t mask = MaskOf(before, after))
        lines.push_back(LineOf(path, SceneChange::Changed, mask));
    const GroupAttribute oldChildren = Part(before, "c");
    const GroupAttribute newChildren = Part(after, "c");
    for (const std::string& name : NamesOf(oldChildren))
        if (newChildren.findChild(name) < 0)
            lines.push_back(LineOf(path + '/' + name, SceneChange::Removed, TELLAR::kAllChanged));
    for (const std::string& name : NamesOf(newChildren)) {
        const GroupAttribute child = Part(newChildren, name.c_str());
        const std::string childPath = path + '/' + name;
        if (oldChildren.findChild(name) < 0)
            lines.push_back(LineOf(childPath, SceneChange::Added, TELLAR::kAllChanged));
        else
            Walk(childPath, Part(oldChildren, name.c_str()), child, lines);
    }
}

std::vector<Line> Changes(const std::shared_ptr<TellarRuntime::Client>& before,
                          const std::shared_ptr<TellarRuntime::Client>& after) {
    std::vector<Line> lines;
    for (const SceneChange& change : TELLAR::CompareScenes(before, after))
        lines.push_back(LineOf(change.path, change.kind, change.mask));
    return lines;
}

/// The scene from an op file, whose values stay in the file.
std::shared_ptr<TellarRuntime::Client> ClientOfFile(const GroupAttribute& root) {
    const TempDirectory folder;
    OxAttribute::WriteOpFile(folder.path("scene.oxop"), SceneTree(root));
    return MakeClient(OxAttribute::ReadOpFile(folder.path("scene.oxop")));
}

} // namespace

class RandomSceneChanges : public testing::TestWithParam<int> {};

TEST_P(RandomSceneChanges, AreThoseThatAWalkFinds) {
    for (unsigned round = 0; round < 50; ++round) {
        RandomScene random(unsigned(GetParam()) * 1000 + round);
        const GroupAttribute before = random.location(4);
        const GroupAttribute after = random.location(4);
        std::vector<Line> expected;
        Walk("/root", before, after, expected);
        ASSERT_EQ(Changes(MakeClient(SceneTree(before)), MakeClient(SceneTree(after))), expected)
            << before.getXML() << after.getXML();
        if (round % 5 != 0) continue;
        ASSERT_EQ(Changes(ClientOfFile(before), ClientOfFile(after)), expected)
            << "in op files" << before.getXML() << after.getXML();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSceneChanges, testing::Range(0, 8));
