#include "SceneMemory.h"

#include <unordered_set>

#include "ValueMemory.h"

namespace TellarSceneImport {

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;

namespace {

constexpr std::uint64_t kHeadBytes = 64;  // of an attribute, beside its values
constexpr std::uint64_t kTableBytes = 64; // of an entry in a table of names

class SceneMemory {
public:
    void addNode(const SceneNode& node) {
        bytes += sizeof node + sizeof(std::uint32_t) + kTableBytes + node.name.capacity();
        if (node.childNames.isValid())
            bytes += kHeadBytes + TELLAR::MemoryOfValues(node.childNames);
        if (node.motion && isNew(node.motion.get())) bytes += node.motion->memory();
        bytes += kHeadBytes;
        for (std::int64_t i = 0; i < node.attrs.getNumberOfChildren(); ++i)
            addAttribute(node.attrs.getChildByIndex(i), node.attrs.getChildName(i) == "geometry");
    }

    void addMaterial(const ContentMaterial& material) {
        bytes += sizeof material + kTableBytes + MemoryOf(material.network);
    }

    std::uint64_t total() const { return bytes; }

private:
    void addAttribute(const Attribute& attribute, bool mayBeShared) {
        if (mayBeShared && !isNew(attribute.getHandle())) return;
        const GroupAttribute group(attribute);
        bytes += group.isValid() ? MemoryOf(group) : kHeadBytes + TELLAR::MemoryOfValues(attribute);
    }

    bool isNew(const void* shared) { return known.insert(shared).second; }

    std::unordered_set<const void*> known; // only what nodes share, because there may be many
    std::uint64_t bytes = 0;
};

} // namespace

std::uint64_t MemoryOf(const GroupAttribute& group) {
    std::uint64_t bytes = kHeadBytes;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        const Attribute child = group.getChildByIndex(i);
        const GroupAttribute below(child);
        bytes += below.isValid() ? MemoryOf(below) : kHeadBytes + TELLAR::MemoryOfValues(child);
    }
    return bytes;
}

std::uint64_t MemoryOf(const Scene& scene) {
    SceneMemory memory;
    for (const SceneNode& node : scene.allNodes())
        memory.addNode(node);
    for (const ContentMaterial& material : scene.allMaterials())
        memory.addMaterial(material);
    return memory.total();
}

} // namespace TellarSceneImport
