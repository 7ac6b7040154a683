// The cache of FlattenMaterials. Its key is the content: the hashes of the materials and the
// terminal names. Materials themselves are not kept.

#include "MaterialsByContent.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "CountedEntries.h"
#include "GenerationCache.h"
#include "MaterialMemory.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Key = std::pair<std::vector<Hash>, std::vector<std::string>>;

/// The results that were asked for lately. When there are many of them, those that were not asked
/// for since the last time are dropped: scenes that are edited have new materials again and again.
struct Results {
    static constexpr std::size_t kMost = 4096;

    struct Entry {
        GroupAttribute flattened;
        std::uint64_t bytes = 0;
        std::uint32_t usedIn = 0;
    };
    using Table = std::map<Key, Entry>;

    Table recent;
    Table older;
    CountedEntries counted;

    bool find(const Key& key, GroupAttribute& flattened) {
        auto found = recent.find(key);
        if (found == recent.end()) {
            const auto before = older.find(key);
            if (before == older.end()) return false;
            auto node = older.extract(before); // first, because making room empties the table
            makeRoom();
            found = recent.insert(std::move(node)).position;
        }
        found->second.usedIn = OxTellarMemory::CurrentTick();
        flattened = found->second.flattened;
        return true;
    }

    /// Returns the entry of an earlier caller, if there is one.
    GroupAttribute keep(const Key& key, const GroupAttribute& flattened, std::uint64_t bytes);
    std::uint64_t drop(Table& table, std::uint32_t usedBefore, std::uint64_t wanted);

private:
    void makeRoom() {
        if (recent.size() < kMost) return;
        for (const auto& entry : older)
            counted.remove(entry.second.bytes);
        older = std::move(recent);
        recent.clear();
    }
};

class MaterialsByContentCache final : public OxTellarMemory::Cache {
public:
    MaterialsByContentCache() : Cache(kFlattenedMaterialsName) {}

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override {
        std::uint64_t freed = 0;
        results.access([&](Results& known) {
            freed = known.drop(known.older, usedBefore, wanted);
            freed += known.drop(known.recent, usedBefore, wanted - std::min(wanted, freed));
        });
        return freed;
    }

    GenerationCache<Results> results;
};

MaterialsByContentCache& GetCache() {
    static auto* const cache = new MaterialsByContentCache;
    return *cache;
}

GroupAttribute Results::keep(const Key& key, const GroupAttribute& flattened, std::uint64_t bytes) {
    makeRoom();
    const auto [place, isNew] = recent.try_emplace(key);
    Entry& entry = place->second;
    if (isNew) {
        entry = {flattened, bytes, 0};
        counted.add(GetCache(), bytes);
    }
    entry.usedIn = OxTellarMemory::CurrentTick();
    return entry.flattened;
}

std::uint64_t Results::drop(Table& table, std::uint32_t usedBefore, std::uint64_t wanted) {
    std::uint64_t freed = 0;
    for (auto i = table.begin(); i != table.end() && freed < wanted;) {
        const auto entry = i++;
        if (entry->second.usedIn >= usedBefore) continue;
        freed += entry->second.bytes;
        counted.drop(entry->second.bytes);
        table.erase(entry);
    }
    return freed;
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
    MaterialsByContentCache& cache = GetCache();
    GroupAttribute flattened;
    bool isKnown = false;
    const auto generation =
        cache.results.access([&](Results& results) { isKnown = results.find(key, flattened); });
    isKnown ? cache.hit() : cache.miss();
    if (isKnown) return flattened;

    std::vector<GroupAttribute> reduced;
    reduced.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        reduced.push_back(MinimizeResolvedMaterialAttr(material));
    flattened = GetFlattenedMaterialAttr(reduced, terminalNames);
    const std::uint64_t bytes = MemoryOfMaterial(flattened) + sizeof(Results::Entry) + sizeof(Key) +
                                key.first.size() * sizeof(Hash);
    cache.results.access(generation, [&](Results& results) {
        // Another thread may have flattened equal materials meanwhile.
        flattened = results.keep(key, flattened, bytes);
    });
    OxTellarMemory::RelieveMemory();
    return flattened;
}

void EmptyMaterialsByContent() {
    GetCache().results.clear();
}

} // namespace TELLAR
