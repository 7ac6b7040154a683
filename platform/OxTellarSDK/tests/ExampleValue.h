#ifndef OXTELLARSDK_TESTS_EXAMPLEVALUE_H
#define OXTELLARSDK_TESTS_EXAMPLEVALUE_H

#include <OxTellarSDK/Attribute.h>

/// The value whose file docs/attribute-file.md shows byte by byte.
inline OxAttribute::GroupAttribute ExampleValue() {
    using namespace OxAttribute;
    return GroupAttribute(
        {{"size", FloatAttribute({1.0f, 2.5f}, 2)}, {"label", StringAttribute("box")}}, true);
}

#endif
