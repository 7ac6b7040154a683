#ifndef OXTELLARPRODUCERS_ATTRIBUTECHANGES_H
#define OXTELLARPRODUCERS_ATTRIBUTECHANGES_H

#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// The differences between the attributes of a location in two scenes.
struct AttributeChanges {
    std::uint32_t mask = 0;              // bits of SceneChangeMask
    std::vector<std::string> attributes; // those behind kOtherChanged
};

AttributeChanges CompareAttributes(const OxAttribute::GroupAttribute& before,
                                   const OxAttribute::GroupAttribute& after);

} // namespace TELLAR

#endif
