// The cache of FlattenMaterials. Its key is the content: the hashes of the materials and the
// terminal names. Materials themselves are not kept.

#include "MaterialsByContent.h"

#include <cstddef>
#include <map>
#include <utility>

#include <OxTellarProducers/MaterialFlattening.h>

#include "GenerationCache.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Key = std::pair<std::vector<Hash>, std::vector<std::string>>;

/// The results that were asked for lately. When there are many of them, those that were not asked
/// for since the last time are dropped: scenes that are edited have new materials again and again.
struct Results {
    static constexpr std::size_t kMost = 4096;

    std::map<Key, GroupAttribute> recent;
    std::map<Key, GroupAttribute> older;

    bool find(const Key& key, GroupAttribute& flattened) {
        auto found = recent.find(key);
        if (found == recent.end()) {
            const auto before = older.find(key);
            if (before == older.end()) return false;
            found = keep(key, before->second);
        }
        flattened = found->second;
        return true;
    }

    /// Returns the entry of an earlier caller, if there is one.
    std::map<Key, GroupAttribute>::iterator keep(const Key& key, GroupAttribute flattened) {
        if (recent.size() >= kMost) {
            older = std::move(recent);
            recent.clear();
        }
        return recent.emplace(key, std::move(flattened)).first;
    }
};

GenerationCache<Results>& Cache() {
    static auto* const cache = new GenerationCache<Results>;
    return *cache;
}

} // namespace

GroupAttribute FlattenMaterials(const std::vector<GroupAttribute>& materials,
                                const std::vector<std::string>& terminalNames) {
    if (materials.empty()) return {};
    Key key;
    key.second = terminalNames;
    key.first.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        key.first.push_back(material.getHash());
    GroupAttribute flattened;
    bool isKnown = false;
    const auto generation =
        Cache().access([&](Results& results) { isKnown = results.find(key, flattened); });
    if (isKnown) return flattened;

    std::vector<GroupAttribute> reduced;
    reduced.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        reduced.push_back(MinimizeResolvedMaterialAttr(material));
    flattened = GetFlattenedMaterialAttr(reduced, terminalNames);
    Cache().access(generation, [&](Results& results) {
        // Another thread may have flattened equal materials meanwhile.
        flattened = results.keep(key, flattened)->second;
    });
    return flattened;
}

void EmptyMaterialsByContent() {
    Cache().clear();
}

} // namespace TELLAR
