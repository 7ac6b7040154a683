#ifndef TELLAR_MATERIAL_H
#define TELLAR_MATERIAL_H

#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

// What those who take materials apart and put them together share.

using Children = std::vector<OxAttribute::GroupAttribute::Child>;

inline bool IsNetwork(const OxAttribute::GroupAttribute& material) {
    return OxAttribute::StringAttribute(material.getChildByName("style")).getValueView() ==
           "network";
}

/// Nothing in a material shows through from the locations above it.
inline OxAttribute::GroupAttribute Group(const Children& children) {
    return {children, false};
}

inline void AppendUnlessEmpty(Children& children, const char* name, const Children& grandchildren) {
    if (!grandchildren.empty()) children.emplace_back(name, Group(grandchildren));
}

} // namespace TELLAR

#endif
