// The cache of the flattened materials of locations. Results are found by location path, and by the
// content hashes of the materials and the terminal names, so that locations with equal materials
// share one. Materials are not kept, except for those in files, which take no memory of their own.
// Entries that were not used for long are dropped when memory is short.

#include <OxTellarProducers/MaterialFlattening.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <OxTellarSDK/MemoryBudget.h>

#include "CountedEntries.h"
#include "GenerationCache.h"
#include "MaterialMemory.h"
#include "MaterialsByContent.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Materials = std::vector<GroupAttribute>;
using Hashes = std::vector<Hash>;
using TerminalNames = std::vector<std::string>;
using OxTellarMemory::CurrentTick;
using OxTellarMemory::RelieveMemory;

// What an entry takes in a table beside its contents, and a hash with its material.
constexpr std::uint64_t kTableBytes = 64;
constexpr std::uint64_t kInFileBytes = 128;

/// Containers that stay intact when there is no memory for one more entry.
struct Tables {
    struct Result {
        GroupAttribute flattened;
        std::uint64_t bytes = 0;
        std::size_t locations = 0; // that refer to it
        std::uint32_t usedIn = 0;
    };
    /// Hashes are as good as random, so that a part of each will do.
    struct HashOfHashes {
        std::size_t operator()(const Hashes& hashes) const {
            std::uint64_t mixed = hashes.size();
            for (const Hash& hash : hashes)
                mixed = mixed * 0x9e3779b97f4a7c15u + hash.words[0];
            return static_cast<std::size_t>(mixed);
        }
    };
    // Each material of many is looked up, and in a tree that would be a cache miss at every level.
    using ResultsByHashes = std::unordered_map<Hashes, Result, HashOfHashes>;
    struct Location {
        std::string path;
        Result* result = nullptr; // null: the entry was dropped
        std::uint32_t usedIn = 0;
        std::size_t nextFree = 0; // of a dropped entry: the next one, as `firstFree`
    };
    struct InFile {
        GroupAttribute material;
        Hash hash;
        std::uint32_t usedIn = 0;
    };

    std::deque<Location> locations;                           // ordered by first request
    std::unordered_map<std::string_view, std::size_t> byPath; // views of their paths
    std::size_t firstFree = 0;                                // 1 + index; 0 if there is none
    std::map<TerminalNames, ResultsByHashes> results;
    // The keys are handles. The materials are kept so that no others get their addresses.
    std::unordered_map<const void*, InFile> inFiles;
    CountedEntries counted;

    bool find(const std::string& path, GroupAttribute& flattened) {
        // Threads mostly ask in the order in which the locations were first asked for. The next one
        // then lies next in memory, which saves the cache misses of the table.
        thread_local std::size_t next = 0;
        if (next >= locations.size() || !locations[next].result || locations[next].path != path) {
            const auto found = byPath.find(path);
            if (found == byPath.end()) return false;
            next = found->second;
        }
        Location& location = locations[next++];
        location.usedIn = CurrentTick();
        flattened = location.result->flattened;
        return true;
    }

    Result* findResult(const TerminalNames& terminalNames, const Hashes& hashes) {
        const auto ofNames = results.find(terminalNames);
        if (ofNames == results.end()) return nullptr;
        const auto found = ofNames->second.find(hashes);
        return found == ofNames->second.end() ? nullptr : &found->second;
    }

    void keep(std::string path, Result& result);
    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted);

private:
    static std::uint64_t bytesOf(const Location& location) {
        return sizeof(Location) + location.path.size() + kTableBytes;
    }

    void refer(Location& location, Result* result) {
        if (location.result) --location.result->locations;
        location.result = result;
        if (result) ++result->locations;
    }

    Location& newLocation(std::string path);
    void dropLocation(std::size_t index);
};

class FlattenedMaterialCache final : public OxTellarMemory::Cache {
public:
    FlattenedMaterialCache() : Cache(kFlattenedMaterialsName) {}

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override {
        std::uint64_t freed = 0;
        tables.access([&](Tables& known) { freed = known.drop(usedBefore, wanted); });
        return freed;
    }

    GenerationCache<Tables> tables;
};

FlattenedMaterialCache& GetCache() {
    static auto* const cache = new FlattenedMaterialCache;
    return *cache;
}

GenerationCache<Tables>& Cache() {
    return GetCache().tables;
}

/// Uses the place of a dropped entry if there is one.
Tables::Location& Tables::newLocation(std::string path) {
    if (firstFree == 0) {
        locations.push_back({std::move(path), nullptr, 0, 0});
        try {
            byPath.emplace(locations.back().path, locations.size() - 1);
        } catch (...) {
            locations.pop_back();
            throw;
        }
        return locations.back();
    }
    Location& location = locations[firstFree - 1];
    location.path = std::move(path);
    byPath.emplace(location.path, firstFree - 1);
    firstFree = location.nextFree;
    return location;
}

void Tables::keep(std::string path, Result& result) {
    const auto found = byPath.find(path);
    const bool isNew = found == byPath.end();
    Location& location = isNew ? newLocation(std::move(path)) : locations[found->second];
    location.usedIn = result.usedIn = CurrentTick();
    refer(location, &result);
    if (isNew) counted.add(GetCache(), bytesOf(location));
}

void Tables::dropLocation(std::size_t index) {
    Location& location = locations[index];
    counted.drop(bytesOf(location));
    byPath.erase(location.path);
    refer(location, nullptr);
    std::string().swap(location.path);
    location.nextFree = firstFree;
    firstFree = index + 1;
}

/// A result stays as long as a location refers to it, so that locations with equal materials share
/// one.
std::uint64_t Tables::drop(std::uint32_t usedBefore, std::uint64_t wanted) {
    std::uint64_t freed = 0;
    for (std::size_t i = 0; i < locations.size() && freed < wanted; ++i) {
        if (!locations[i].result || locations[i].usedIn >= usedBefore) continue;
        freed += bytesOf(locations[i]);
        dropLocation(i);
    }
    const auto dropFrom = [&](auto& table, auto isUnused, auto bytesOfEntry) {
        for (auto i = table.begin(); i != table.end() && freed < wanted;) {
            const auto entry = i++;
            if (entry->second.usedIn >= usedBefore || !isUnused(entry->second)) continue;
            const std::uint64_t bytes = bytesOfEntry(entry->second);
            freed += bytes;
            counted.drop(bytes);
            table.erase(entry);
        }
    };
    for (auto& ofNames : results)
        dropFrom(
            ofNames.second, [](const Result& result) { return result.locations == 0; },
            [](const Result& result) { return result.bytes; });
    dropFrom(
        inFiles, [](const InFile&) { return true; }, [](const InFile&) { return kInFileBytes; });
    return freed;
}

/// The content hash. Values in memory keep theirs. For values in files, the SDK keeps few of them.
Hash GetHash(const GroupAttribute& material, std::uint64_t generation) {
    Hash hash = material.getKeptHash();
    if (hash != Hash()) return hash;
    Cache().access(generation, [&](Tables& known) {
        const auto found = known.inFiles.find(material.getHandle());
        if (found == known.inFiles.end()) return;
        found->second.usedIn = CurrentTick();
        hash = found->second.hash;
    });
    if (hash != Hash()) return hash;
    hash = material.getHash();
    if (material.getKeptHash() != hash)
        Cache().access(generation, [&](Tables& known) {
            const bool isNew = known.inFiles
                                   .try_emplace(material.getHandle(),
                                                Tables::InFile{material, hash, CurrentTick()})
                                   .second;
            if (isNew) known.counted.add(GetCache(), kInFileBytes);
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
        Cache().access([&](Tables& known) { isKnown = known.find(path, flattened); });
    if (isKnown) {
        GetCache().hit();
        return flattened;
    }

    Materials materials = GetMaterials(*producer);
    Hashes hashes;
    hashes.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        hashes.push_back(GetHash(material, generation));
    Cache().access(generation, [&](Tables& known) {
        Tables::Result* const result = known.findResult(terminalNames, hashes);
        isKnown = result != nullptr;
        if (!isKnown) return;
        flattened = result->flattened;
        known.keep(std::move(path), *result);
    });
    if (isKnown) {
        GetCache().hit();
        RelieveMemory();
        return flattened;
    }
    GetCache().miss();

    for (GroupAttribute& material : materials)
        material = MinimizeResolvedMaterialAttr(material);
    flattened = GetFlattenedMaterialAttr(materials, terminalNames);
    const std::uint64_t bytes = MemoryOfMaterial(flattened) + kTableBytes +
                                hashes.size() * sizeof(Hash) + sizeof(Tables::Result);
    Cache().access(generation, [&](Tables& known) {
        // Another thread may have flattened equal materials meanwhile.
        const auto [place, isNew] = known.results[terminalNames].try_emplace(hashes);
        Tables::Result& result = place->second;
        if (isNew) {
            result.flattened = flattened;
            result.bytes = bytes;
            known.counted.add(GetCache(), bytes);
        }
        flattened = result.flattened;
        known.keep(std::move(path), result);
    });
    RelieveMemory();
    return flattened;
}

void EmptyFlattenedMaterialCache() {
    Cache().clear();
    EmptyMaterialsByContent();
}

} // namespace TELLAR
