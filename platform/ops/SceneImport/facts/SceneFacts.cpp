#include "SceneFacts.h"

#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include <xxhash.h>

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::Hash;
using OxOpType::SubtreeFacts;
using OxXFormUtil::Bounds;

namespace {

bool IsShape(const SceneNode& node) {
    return node.attrs.getChildByName("geometry.point").isValid();
}

/// The attribute "bound" of a shape encloses all samples of its points, which need not be read.
SubtreeFacts DescribeNode(const SceneNode& node) {
    if (!IsShape(node)) return OxOpType::DescribeLocation(node.attrs, node.childNames);
    std::vector<GroupAttribute::Child> attrs;
    for (const char* name : {"type", "bound", "xform"})
        attrs.emplace_back(name, node.attrs.getChildByIndex(node.attrs.findChild(name)));
    SubtreeFacts facts = OxOpType::DescribeLocation(GroupAttribute(attrs, false), node.childNames);
    facts.isPlain = false;
    return facts;
}

/// Words that are hashed together.
class Words {
public:
    Words() { words.reserve(32); }
    void add(const Hash& hash) {
        words.push_back(hash.words[0]);
        words.push_back(hash.words[1]);
    }
    void add(std::uint64_t word) { words.push_back(word); }
    Hash hash() const {
        const XXH128_hash_t hash = XXH3_128bits(words.data(), words.size() * sizeof words[0]);
        return {{hash.high64 != 0 ? hash.high64 : 1, hash.low64}};
    }

private:
    std::vector<std::uint64_t> words;
};

std::uint64_t AddressOf(const std::shared_ptr<const Motion>& motion) {
    return reinterpret_cast<std::uintptr_t>(motion.get());
}

Hash OwnContent(const Scene& scene, const SceneNode& node) {
    Words words;
    const GroupAttribute& attrs = node.attrs;
    for (std::int64_t i = 0; i < attrs.getNumberOfChildren(); ++i) {
        const std::string_view name = attrs.getChildNameView(i);
        if (name == "xform") continue;
        words.add(XXH3_64bits(name.data(), name.size()));
        words.add(attrs.getChildByIndex(i).getHash());
    }
    words.add(node.childNames.getHash());
    if (node.material >= 0) {
        const ContentMaterial& material = scene.material(node.material);
        words.add(XXH3_64bits(material.name.data(), material.name.size()));
        words.add(material.network.getHash());
    }
    if (IsShape(node)) words.add(AddressOf(node.motion));
    return words.hash();
}

} // namespace

SceneFacts::SceneFacts(std::shared_ptr<const Scene> shownScene, const FrameClock& clock,
                       const std::string& materialLocation)
    : scene(std::move(shownScene)), clock(clock),
      materials(OxAttribute::StringAttribute(materialLocation).getHash()),
      all(scene->allNodes().size()) {
    listChildren();
    const auto end = static_cast<std::uint32_t>(all.size());
    for (std::uint32_t node = 0; node < end; ++node)
        addOwnFacts(node);
    for (std::uint32_t node = end; node-- > 1;)
        addToParent(node);
}

void SceneFacts::listChildren() {
    const auto end = static_cast<std::uint32_t>(all.size());
    firstChild.assign(end + 1, 0);
    for (std::uint32_t node = 1; node < end; ++node)
        ++firstChild[scene->parentOf(node) + 1];
    std::partial_sum(firstChild.begin(), firstChild.end(), firstChild.begin());
    children.resize(end - 1);
    std::vector<std::uint32_t> next = firstChild;
    for (std::uint32_t node = 1; node < end; ++node)
        children[next[scene->parentOf(node)]++] = node;
}

void SceneFacts::addOwnFacts(std::uint32_t node) {
    const SceneNode& source = scene->allNodes()[node];
    const SubtreeFacts own = DescribeNode(source);
    NodeFacts& facts = all[node];
    facts.content = OwnContent(*scene, source);
    facts.types = own.ownTypes.value_or(0);
    facts.isBoundKnown = own.ownBound.has_value();
    facts.bound = own.ownBound.value_or(Bounds());
    facts.hasMotion = source.motion && IsShape(source);
}

/// Children are added from the last to the first one, when their own facts are complete.
void SceneFacts::addToParent(std::uint32_t node) {
    const SceneNode& source = scene->allNodes()[node];
    const NodeFacts& facts = all[node];
    NodeFacts& parent = all[scene->parentOf(node)];
    Words words;
    words.add(parent.content);
    words.add(facts.content);
    words.add(source.attrs.getChildByIndex(source.attrs.findChild("xform")).getHash());
    words.add(AddressOf(source.motion));
    parent.content = words.hash();
    parent.types |= facts.types;
    parent.locations += facts.locations;
    parent.hasMotion = parent.hasMotion || facts.hasMotion || source.motion;
    if (facts.bound.isEmpty() && facts.isBoundKnown) return;
    const auto moved = facts.isBoundKnown ? OxXFormUtil::MoveBounds(facts.bound, xformOf(node))
                                          : std::optional<Bounds>();
    parent.isBoundKnown = parent.isBoundKnown && moved;
    parent.bound.add(moved.value_or(Bounds()));
}

GroupAttribute SceneFacts::xformOf(std::uint32_t node) const {
    const SceneNode& source = scene->allNodes()[node];
    GroupAttribute xform(source.attrs.getChildByIndex(source.attrs.findChild("xform")));
    if (!source.motion || IsShape(source)) return xform;
    GroupBuilder attrs;
    attrs.set("xform", xform);
    source.motion->apply(clock, attrs);
    return attrs.build().getChildByName("xform");
}

SubtreeFacts SceneFacts::describe(std::uint32_t node) const {
    const NodeFacts& known = all[node];
    SubtreeFacts facts = DescribeNode(scene->allNodes()[node]);
    facts.xform = xformOf(node);
    facts.types = known.types;
    facts.locations = known.locations;
    if (known.isBoundKnown) facts.bound = known.bound;
    if (known.hasMotion) return facts; // hashes of motion differ from one reading to the next
    Words identity;
    identity.add(known.content);
    identity.add(materials);
    facts.identity = identity.hash();
    return facts;
}

} // namespace TellarSceneImport
