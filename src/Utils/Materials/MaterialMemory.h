#ifndef OXTELLARPRODUCERS_MATERIALMEMORY_H
#define OXTELLARPRODUCERS_MATERIALMEMORY_H

#include <cstdint>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// The name under which the statistics show all caches of flattened materials.
constexpr const char* kFlattenedMaterialsName = "flattened materials";

/// About how many bytes a flattened material takes. Values count in full, though it may share some
/// with the material of a location.
std::uint64_t MemoryOfMaterial(const OxAttribute::GroupAttribute& material);

} // namespace TELLAR

#endif
