#include "MaterialMemory.h"

#include <utility>
#include <vector>

#include "ValueMemory.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

constexpr std::uint64_t kNodeBytes = 64; // of a value beside its contents
constexpr std::uint64_t kChildBytes = 64;
/// A group may contain the same group many times over. So many are more than any material has.
constexpr std::size_t kMostGroups = 4096;
constexpr std::size_t kUsually = 32;

} // namespace

std::uint64_t MemoryOfMaterial(const GroupAttribute& material) {
    std::uint64_t bytes = 0;
    std::vector<GroupAttribute> groups;
    groups.reserve(kUsually);
    groups.push_back(material);
    for (std::size_t next = 0; next < groups.size(); ++next) {
        const GroupAttribute group = std::move(groups[next]);
        bytes += kNodeBytes;
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            Attribute child = group.getChildByIndex(i);
            bytes += kChildBytes;
            if (child.getType() != kAttributeTypeGroup)
                bytes += MemoryOfValues(std::move(child));
            else if (groups.size() < kMostGroups)
                groups.emplace_back(std::move(child));
        }
    }
    return bytes;
}

} // namespace TELLAR
