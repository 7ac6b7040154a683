#ifndef OXTELLARSDK_GROUPCHILDREN_H
#define OXTELLARSDK_GROUPCHILDREN_H

#include <cstdint>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// A child on its way into a group; both are borrowed.
struct NamedChild {
    std::string_view name;
    const Attribute* attribute;
};

/// The one place where groups are made. Names must be unique and attributes valid; throws
/// std::runtime_error when the group would be nested too deep.
Attribute MakeGroup(const NamedChild* children, std::uint64_t count, bool inherit);

} // namespace OxAttribute

#endif
