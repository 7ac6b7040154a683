#ifndef OXTELLARSDK_GROUPCHILDREN_H
#define OXTELLARSDK_GROUPCHILDREN_H

#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// A child on its way into a group; both are borrowed.
struct NamedChild {
    std::string_view name;
    const Attribute* attribute;
};

/// The one place where groups are made. Names must be unique and attributes valid; throws
/// std::runtime_error when the group would be nested too deep.
Attribute MakeGroup(const std::vector<NamedChild>& children, bool inherit);

} // namespace OxAttribute

#endif
