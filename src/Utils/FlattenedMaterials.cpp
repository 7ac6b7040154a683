#include "FlattenedMaterials.h"

using OxAttribute::GroupAttribute;

namespace TELLAR {

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
    known.byPath.emplace(known.locations.back().path, known.locations.size() - 1);
}

GroupAttribute FlattenedMaterials::share(const Materials& materials,
                                         const TerminalNames& terminalNames, Flatten flatten) {
    Handles handles;
    handles.second.reserve(materials.size());
    for (const GroupAttribute& material : materials)
        handles.second.push_back(material.getHandle());
    {
        const std::lock_guard<std::mutex> guard(lock);
        handles.first = numberOf(terminalNames);
        const auto found = known.byHandles.find(handles);
        if (found != known.byHandles.end()) return found->second.flattened;
    }

    Contents contents;
    contents.first = handles.first;
    for (const GroupAttribute& material : materials)
        contents.second.push_back(material.getHash());
    const auto shareEqual = [&](const GroupAttribute& flattened) {
        known.byHandles.emplace(handles, Result{materials, flattened});
        return flattened;
    };
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = known.byContents.find(contents);
        if (found != known.byContents.end()) return shareEqual(found->second);
    }

    const GroupAttribute flattened = flatten(materials, terminalNames);
    const std::lock_guard<std::mutex> guard(lock);
    return shareEqual(known.byContents.emplace(contents, flattened).first->second);
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
