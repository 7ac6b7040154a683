#include "DescribeImport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <OxTellarSDK/LocationPath.h>

#include "../ChildNames.h"
#include "SceneInstances.h"

namespace TellarSceneImport {

using OxAttribute::StringAttribute;
using OxLocationPath::IsSelfOrBelow;
using OxOpType::SubtreeContext;
using OxOpType::SubtreeFacts;

namespace {

SubtreeFacts DescribeGroup(SubtreeContext& context, const StringAttribute& names) {
    SubtreeFacts facts = OxOpType::DescribeLocation(TellarOps::PlainGroupAttrs(), names);
    AddChildren(context, facts);
    return facts;
}

SubtreeFacts DescribeMaterials(const Settings& settings, const Scene& scene,
                               const std::string& path) {
    const bool isMaterial = path != settings.materialLocation;
    const std::size_t begin = settings.materialLocation.size() + 1;
    if (isMaterial && !scene.findMaterial(std::string_view(path).substr(begin)))
        return SubtreeFacts::Missing();
    const StringAttribute names = isMaterial ? StringAttribute() : scene.materialNames();
    SubtreeFacts facts = TellarOps::FactsOfPlainGroup();
    facts.isPlain = !isMaterial;
    facts.ownTypes = isMaterial ? OxOpType::kTypeOther : OxOpType::kTypeGroup;
    facts.types = *facts.ownTypes;
    if (names.isValid()) facts.types = *facts.types | OxOpType::kTypeOther;
    facts.locations = 1 + names.getNumberOfValues();
    facts.children = names;
    return facts;
}

/// The index of the node at a location; nothing if there is none.
std::optional<std::uint32_t> FindNode(const Settings& settings, const Scene& scene,
                                      const std::string& path) {
    const bool isBelow =
        path.size() > settings.location.size() && IsSelfOrBelow(path, settings.location);
    if (!isBelow) return std::nullopt;
    const SceneNode* const node =
        scene.findNode(std::string_view(path).substr(settings.location.size() + 1));
    if (!node) return std::nullopt;
    return static_cast<std::uint32_t>(node - scene.allNodes().data());
}

} // namespace

SubtreeFacts DescribeImport(SubtreeContext& context, const ImportState& state) {
    const Settings& settings = state.settings;
    const std::string& path = context.path();
    const bool areMaterials = IsSelfOrBelow(path, settings.materialLocation);
    if (!areMaterials && !IsSelfOrBelow(path, settings.location))
        return IsAncestor(settings, path) ? DescribeGroup(context, NamesOfAncestor(settings, path))
                                          : SubtreeFacts::Missing();
    if (settings.listFiles) return {};
    const auto facts = state.facts();
    const Scene& scene = facts->getScene();
    CheckNames(settings, scene);
    if (areMaterials) return DescribeMaterials(settings, scene, path);
    if (path == settings.location) return DescribeGroup(context, NamesOfLocation(settings, scene));
    if (IsAncestor(settings, path)) return DescribeGroup(context, NamesOfAncestor(settings, path));
    const auto node = FindNode(settings, scene, path);
    return node ? facts->describe(*node) : SubtreeFacts::Missing();
}

std::shared_ptr<const OxOpType::Instances>
DescribeImportedInstances(OxOpType::InstanceContext& context, const ImportState& state) {
    const Settings& settings = state.settings;
    const std::string& path = context.path();
    const bool areMaterials =
        IsSelfOrBelow(path, settings.materialLocation) || IsAncestor(settings, path);
    if (settings.listFiles || areMaterials) return nullptr;
    auto facts = state.facts();
    const auto node = FindNode(settings, facts->getScene(), path);
    return node ? FindInstances(std::move(facts), *node) : nullptr;
}

} // namespace TellarSceneImport
