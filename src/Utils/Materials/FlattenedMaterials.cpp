#include "FlattenedMaterials.h"

#include <algorithm>
#include <utility>

using namespace OxAttribute;

namespace TELLAR {

namespace {

/// The hash of a material that keeps one; otherwise its address.
Hash HashOrAddress(const GroupAttribute& material) {
    const Hash kept = material.getKeptHash();
    if (kept.words[0] != 0) return kept;
    return {{reinterpret_cast<std::uintptr_t>(material.getHandle()), 0}};
}

} // namespace

std::size_t FlattenedMaterials::HashOfKey::operator()(const Key& key) const {
    std::uint64_t hash = key.terminalNames;
    for (const Hash& material : key.materials)
        hash = (hash + material.words[0]) * 0x9e3779b97f4a7c15u + material.words[1];
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

const FlattenedMaterials::Location*
FlattenedMaterials::Known::locate(const std::string& path) const {
    // Threads mostly ask in the order in which the locations were first asked for. The next one
    // then lies next in memory, which saves the cache misses of the table.
    thread_local std::size_t next = 0;
    if (next >= locations.size() || locations[next].path != path) {
        const auto found = byPath.find(path);
        if (found == byPath.end()) return nullptr;
        next = found->second;
    }
    return &locations[next++];
}

bool FlattenedMaterials::Known::find(const Key& key, GroupAttribute& result) const {
    const auto found = results.find(key);
    if (found == results.end()) return false;
    result = found->second;
    return true;
}

FlattenedMaterials& FlattenedMaterials::get() {
    static auto* const materials = new FlattenedMaterials;
    return *materials;
}

bool FlattenedMaterials::find(const std::string& path, GroupAttribute& flattened,
                              std::uint64_t& generation) {
    const Location* location = nullptr;
    generation = cache.access([&](const Known& known) {
        location = known.locate(path);
        if (location) flattened = location->flattened;
    });
    return location != nullptr;
}

void FlattenedMaterials::keep(std::string path, std::uint64_t generation,
                              const GroupAttribute& flattened) {
    cache.access(generation, [&](Known& known) {
        const auto found = known.byPath.find(path);
        if (found != known.byPath.end()) {
            known.locations[found->second].flattened = flattened;
            return;
        }
        known.locations.push_back({std::move(path), flattened});
        try {
            known.byPath.emplace(known.locations.back().path, known.locations.size() - 1);
        } catch (...) {
            known.locations.pop_back();
            throw;
        }
    });
}

Hash FlattenedMaterials::hashOf(const GroupAttribute& material, std::uint64_t generation) {
    Hash hash = material.getKeptHash();
    if (hash.words[0] != 0) return hash;
    cache.access(generation, [&](const Known& known) {
        const auto found = known.hashedInFiles.find(material.getHandle());
        if (found != known.hashedInFiles.end()) hash = found->second.hash;
    });
    if (hash.words[0] != 0) return hash;
    hash = material.getHash();
    const bool isInFile = material.getKeptHash().words[0] == 0;
    cache.access(generation, [&](Known& known) {
        ++known.hashed;
        if (isInFile)
            known.hashedInFiles.emplace(material.getHandle(), HashedInFile{material, hash});
    });
    return hash;
}

GroupAttribute FlattenedMaterials::share(const Materials& materials,
                                         const TerminalNames& terminalNames,
                                         std::uint64_t generation, Flatten flatten) {
    Key atOnce;
    atOnce.materials.resize(materials.size());
    std::transform(materials.begin(), materials.end(), atOnce.materials.begin(), HashOrAddress);
    GroupAttribute flattened;
    bool isKnown = false;
    const bool isCurrent = cache.access(generation, [&](Known& known) {
        atOnce.terminalNames =
            known.numbers.try_emplace(terminalNames, known.numbers.size()).first->second;
        isKnown = known.find(atOnce, flattened);
    });
    if (isKnown) return flattened;
    if (!isCurrent) return flatten(materials, terminalNames);

    Key contents{atOnce.terminalNames, {}};
    for (const GroupAttribute& material : materials)
        contents.materials.push_back(hashOf(material, generation));
    // Materials in memory keep their hashes from now on.
    std::transform(materials.begin(), materials.end(), atOnce.materials.begin(), HashOrAddress);
    cache.access(generation,
                 [&](const Known& known) { isKnown = known.find(contents, flattened); });
    if (!isKnown) flattened = flatten(materials, terminalNames);
    // Another thread may have been first.
    cache.access(generation, [&](Known& known) {
        flattened = known.results.emplace(contents, flattened).first->second;
        flattened = known.results.emplace(atOnce, flattened).first->second;
    });
    return flattened;
}

std::uint64_t FlattenedMaterials::numberOfHashedMaterials() {
    std::uint64_t hashed = 0;
    cache.access([&](const Known& known) { hashed = known.hashed; });
    return hashed;
}

} // namespace TELLAR
