// The cache of the flattened materials of locations. Results are found by location path, and by the
// content hashes of the materials and the terminal names, so that locations with equal materials
// share one. Materials are not kept, except for those in files, which take no memory of their own.

#include <OxTellarProducers/MaterialFlattening.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "GenerationCache.h"
#include "MaterialsByContent.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Materials = std::vector<GroupAttribute>;
using Hashes = std::vector<Hash>;
using TerminalNames = std::vector<std::string>;

/// Containers that stay intact when there is no memory for one more entry.
struct Tables {
    struct Location {
        std::string path;
        GroupAttribute flattened;
    };

    std::deque<Location> locations;                           // ordered by first request
    std::unordered_map<std::string_view, std::size_t> byPath; // views of their paths
    std::map<TerminalNames, std::map<Hashes, GroupAttribute>> results;
    // The keys are handles. The materials are kept so that no others get their addresses.
    std::unordered_map<const void*, std::pair<GroupAttribute, Hash>> inFiles;

    bool find(const std::string& path, GroupAttribute& flattened) const {
        // Threads mostly ask in the order in which the locations were first asked for. The next one
        // then lies next in memory, which saves the cache misses of the table.
        thread_local std::size_t next = 0;
        if (next >= locations.size() || locations[next].path != path) {
            const auto found = byPath.find(path);
            if (found == byPath.end()) return false;
            next = found->second;
        }
        flattened = locations[next++].flattened;
        return true;
    }

    void keep(std::string path, const GroupAttribute& flattened) {
        const auto found = byPath.find(path);
        if (found != byPath.end()) {
            locations[found->second].flattened = flattened;
            return;
        }
        locations.push_back({std::move(path), flattened});
        byPath.emplace(locations.back().path, locations.size() - 1);
    }
};

GenerationCache<Tables>& Cache() {
    static auto* const cache = new GenerationCache<Tables>;
    return *cache;
}

/// The content hash. Values in memory keep theirs. For values in files, the SDK keeps few of them.
Hash GetHash(const GroupAttribute& material, std::uint64_t generation) {
    Hash hash = material.getKeptHash();
    if (hash != Hash()) return hash;
    Cache().access(generation, [&](const Tables& known) {
        const auto found = known.inFiles.find(material.getHandle());
        if (found != known.inFiles.end()) hash = found->second.second;
    });
    if (hash != Hash()) return hash;
    hash = material.getHash();
    if (material.getKeptHash() != hash)
        Cache().access(generation, [&](Tables& known) {
            known.inFiles.try_emplace(material.getHandle(), material, hash);
        });
    return hash;
}

} // namespace

std::vector<GroupAttribute> GetMaterials(GeometryProducer& location) {
    constexpr std::size_t kUsually = 4;
    Materials materials;
    materials.reserve(kUsually);
    for (GeometryProducer* producer = &location; producer; producer = producer->getRawParentPtr()) {
        GroupAttribute material(producer->getAttribute("material"));
        if (material.isValid()) materials.push_back(std::move(material));
    }
    return materials;
}

GroupAttribute GetFlattenedMaterialAttr(GeometryProducer::Ptr producer,
                                        const TerminalNames& terminalNames) {
    if (!producer) return {};
    std::string path = producer->getFullName();
    GroupAttribute flattened;
    bool isKnown = false;
    const std::uint64_t generation =
        Cache().access([&](const Tables& known) { isKnown = known.find(path, flattened); });
    if (isKnown) return flattened;

    Materials materials = GetMaterials(*producer);
    Hashes hashes;
    hashes.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        hashes.push_back(GetHash(material, generation));
    Cache().access(generation, [&](Tables& known) {
        const auto& results = known.results[terminalNames];
        const auto found = results.find(hashes);
        isKnown = found != results.end();
        if (isKnown) known.keep(std::move(path), flattened = found->second);
    });
    if (isKnown) return flattened;

    for (GroupAttribute& material : materials)
        material = MinimizeResolvedMaterialAttr(material);
    flattened = GetFlattenedMaterialAttr(materials, terminalNames);
    Cache().access(generation, [&](Tables& known) {
        // Another thread may have flattened equal materials meanwhile.
        flattened = known.results[terminalNames].emplace(hashes, flattened).first->second;
        known.keep(std::move(path), flattened);
    });
    return flattened;
}

void EmptyFlattenedMaterialCache() {
    Cache().clear();
    EmptyMaterialsByContent();
}

} // namespace TELLAR
