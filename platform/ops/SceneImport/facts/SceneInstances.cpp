#include "SceneInstances.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/Space.h"

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxAttribute::StringAttribute;

namespace {

struct HashOfHash {
    std::size_t operator()(const Hash& hash) const noexcept { return hash.words[1]; }
};

/// Whether the location is a group whose attributes a renderer may ignore.
bool IsPlainGroup(const GroupAttribute& attrs) {
    for (std::int64_t i = 0; i < attrs.getNumberOfChildren(); ++i) {
        const std::string_view name = attrs.getChildNameView(i);
        const bool isPlain =
            name == "xform" || name == "bound" ||
            (name == "type" && StringAttribute(attrs.getChildByIndex(i)).getValueView() == "group");
        if (!isPlain) return false;
    }
    return true;
}

std::optional<Matrix> RestingMatrixOf(const SceneFacts& facts, std::uint32_t node) {
    return OxXFormUtil::RestingMatrix(facts.xformOf(node));
}

struct Instance {
    std::uint32_t node;
    std::uint32_t prototype;
};

class SceneInstances final : public OxOpType::Instances {
public:
    SceneInstances(std::shared_ptr<const SceneFacts> facts, std::uint32_t top,
                   std::vector<Instance> instances, const std::vector<std::uint32_t>& prototypes)
        : facts(std::move(facts)), top(top), instances(std::move(instances)) {
        for (const std::uint32_t prototype : prototypes)
            prototypePaths.push_back(pathOfNode(prototype));
    }

    std::int64_t count() const override { return static_cast<std::int64_t>(instances.size()); }
    const std::vector<std::string>& prototypes() const override { return prototypePaths; }

protected:
    void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
                   double* matrices) const override {
        for (std::int64_t i = begin; i < end; ++i) {
            const Instance& instance = instances[static_cast<std::size_t>(i)];
            if (prototypes) *prototypes++ = instance.prototype;
            if (!matrices) continue;
            const Matrix matrix = matrixOf(instance.node);
            matrices = std::copy(matrix.begin(), matrix.end(), matrices);
        }
    }

    std::string pathOf(std::int64_t index) const override {
        return pathOfNode(instances[static_cast<std::size_t>(index)].node);
    }

private:
    /// To the space of the node that was asked for. The search has seen that all of them rest.
    Matrix matrixOf(std::uint32_t node) const {
        Matrix matrix = kIdentity;
        for (; node != top; node = facts->getScene().parentOf(node))
            matrix = Multiply(matrix, RestingMatrixOf(*facts, node).value_or(kIdentity));
        return matrix;
    }

    std::string pathOfNode(std::uint32_t node) const {
        const Scene& scene = facts->getScene();
        std::string path = scene.allNodes()[node].name;
        for (node = scene.parentOf(node); node != top; node = scene.parentOf(node))
            path.insert(0, scene.allNodes()[node].name + '/');
        return path;
    }

    const std::shared_ptr<const SceneFacts> facts;
    const std::uint32_t top;
    const std::vector<Instance> instances;
    std::vector<std::string> prototypePaths;
};

/// The search for instances below one node. The topmost nodes that repeat are instances, and so are
/// those that are more than groups.
class Search {
public:
    Search(const SceneFacts& facts, std::uint32_t top) : facts(facts), top(top) {}

    /// Returns false if an instance or a group above one moves.
    bool run() {
        for (open = {top}; !open.empty();) {
            const std::uint32_t node = takeNext();
            if (node != top) ++repeats[facts.contentOf(node)];
            openChildren(node);
        }
        openChildren(top);
        while (!open.empty())
            if (!look(takeNext())) return false;
        return true;
    }

    std::vector<Instance> instances;
    std::vector<std::uint32_t> prototypes; // nodes

private:
    std::uint32_t takeNext() {
        const std::uint32_t node = open.back();
        open.pop_back();
        return node;
    }

    /// The first child comes next.
    void openChildren(std::uint32_t node) {
        for (const std::uint32_t* child = facts.childrenEnd(node);
             child != facts.childrenBegin(node);)
            open.push_back(*--child);
    }

    bool look(std::uint32_t node) {
        const SceneNode& source = facts.getScene().allNodes()[node];
        const bool isGroup = IsPlainGroup(source.attrs);
        if (isGroup && !source.childNames.isValid()) return true;
        if (!RestingMatrixOf(facts, node)) return false;
        const Hash& content = facts.contentOf(node);
        if (isGroup && repeats[content] == 1) {
            openChildren(node);
            return true;
        }
        const auto next = static_cast<std::uint32_t>(prototypes.size());
        const auto [known, isNew] = prototypeOf.emplace(content, next);
        if (isNew) prototypes.push_back(node);
        instances.push_back({node, known->second});
        return true;
    }

    const SceneFacts& facts;
    const std::uint32_t top;
    std::vector<std::uint32_t> open; // nodes that are looked at later, the next one last
    std::unordered_map<Hash, std::uint32_t, HashOfHash> repeats;
    std::unordered_map<Hash, std::uint32_t, HashOfHash> prototypeOf;
};

} // namespace

std::shared_ptr<const OxOpType::Instances> FindInstances(std::shared_ptr<const SceneFacts> facts,
                                                         std::uint32_t node) {
    Search search(*facts, node);
    if (!search.run() || search.prototypes.size() == search.instances.size()) return nullptr;
    return std::make_shared<SceneInstances>(std::move(facts), node, std::move(search.instances),
                                            search.prototypes);
}

} // namespace TellarSceneImport
