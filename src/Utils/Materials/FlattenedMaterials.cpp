#include "FlattenedMaterials.h"

#include <algorithm>

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;

namespace TELLAR {

/// Hashes are evenly spread already, and an address tells the material apart.
std::size_t FlattenedMaterials::HashOfKey::operator()(const Key& key) const {
    std::uint64_t hash = key.terminalNames;
    for (const Hash& material : key.materials)
        hash = (hash + material.words[0]) * 0x9e3779b97f4a7c15u + material.words[1];
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

FlattenedMaterials& FlattenedMaterials::get() {
    static auto* const materials = new FlattenedMaterials;
    return *materials;
}

bool FlattenedMaterials::find(const std::string& path, GroupAttribute& flattened,
                              std::uint64_t& generation) const {
    const std::lock_guard<std::mutex> guard(lock);
    generation = cleared;
    const Location* const location = locate(path);
    if (!location) return false;
    flattened = location->flattened;
    return true;
}

/// The lock is held.
const FlattenedMaterials::Location* FlattenedMaterials::locate(const std::string& path) const {
    // A thread mostly asks in the order in which somebody asked first; what comes next then lies
    // next in memory, and the table with its cache misses is not needed.
    thread_local std::size_t next = 0;
    if (next >= known.locations.size() || known.locations[next].path != path) {
        const auto found = known.byPath.find(path);
        if (found == known.byPath.end()) return nullptr;
        next = found->second;
    }
    return &known.locations[next++];
}

void FlattenedMaterials::keep(std::string path, std::uint64_t generation,
                              const GroupAttribute& flattened) {
    const std::lock_guard<std::mutex> guard(lock);
    if (generation != cleared) return;
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
}

/// The hash of a material that keeps it; of any other its address, which tells it from all others
/// that are in `hashedInFiles`.
Hash FlattenedMaterials::tellAtOnce(const GroupAttribute& material) {
    const Hash kept = material.getKeptHash();
    if (kept.words[0] != 0) return kept;
    return {{reinterpret_cast<std::uintptr_t>(material.getHandle()), 0}};
}

Hash FlattenedMaterials::hashOf(const GroupAttribute& material, std::uint64_t generation) {
    const Hash kept = material.getKeptHash();
    if (kept.words[0] != 0) return kept;
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = known.hashedInFiles.find(material.getHandle());
        if (found != known.hashedInFiles.end()) return found->second.hash;
    }
    const Hash hash = material.getHash();
    const bool isInFile = material.getKeptHash().words[0] == 0;
    const std::lock_guard<std::mutex> guard(lock);
    ++hashed;
    if (isInFile && generation == cleared)
        known.hashedInFiles.emplace(material.getHandle(), HashedInFile{material, hash});
    return hash;
}

GroupAttribute FlattenedMaterials::share(const Materials& materials,
                                         const TerminalNames& terminalNames,
                                         std::uint64_t generation, Flatten flatten) {
    Key atOnce;
    atOnce.materials.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        atOnce.materials.push_back(tellAtOnce(material));
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (generation == cleared) {
            atOnce.terminalNames = numberOf(terminalNames);
            const auto found = known.results.find(atOnce);
            if (found != known.results.end()) return found->second;
        }
    }
    if (atOnce.terminalNames == 0) return flatten(materials, terminalNames);

    Key contents;
    contents.terminalNames = atOnce.terminalNames;
    for (const GroupAttribute& material : materials)
        contents.materials.push_back(hashOf(material, generation));
    // Those in memory keep their hashes from now on.
    std::transform(materials.begin(), materials.end(), atOnce.materials.begin(), tellAtOnce);
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = known.results.find(contents);
        if (found != known.results.end())
            return enter(atOnce, generation, GroupAttribute(found->second));
    }

    const GroupAttribute flattened = flatten(materials, terminalNames);
    const std::lock_guard<std::mutex> guard(lock);
    return enter(atOnce, generation, enter(contents, generation, flattened));
}

/// The result that is known under the key, from now on if not before. The lock is held.
GroupAttribute FlattenedMaterials::enter(const Key& key, std::uint64_t generation,
                                         const GroupAttribute& result) {
    return generation == cleared ? known.results.emplace(key, result).first->second : result;
}

std::uint64_t FlattenedMaterials::numberOfHashedMaterials() const {
    const std::lock_guard<std::mutex> guard(lock);
    return hashed;
}

void FlattenedMaterials::clear() {
    Known dropped; // destroyed outside of the lock
    const std::lock_guard<std::mutex> guard(lock);
    std::swap(dropped, known);
    ++cleared;
}

std::uint64_t FlattenedMaterials::numberOf(const TerminalNames& terminalNames) {
    const auto [entry, isNew] = known.numbers.try_emplace(terminalNames);
    if (isNew) entry->second = ++lastNumber;
    return entry->second;
}

} // namespace TELLAR
