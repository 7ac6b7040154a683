#ifndef OXTELLARSDK_TESTS_ATTRIBUTEPRINTER_H
#define OXTELLARSDK_TESTS_ATTRIBUTEPRINTER_H

#include <ostream>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// Lets a failing test show the values that it compared.
inline std::ostream& operator<<(std::ostream& out, const Attribute& attribute) {
    return out << (attribute.isValid() ? attribute.getXML() : "invalid");
}

inline std::ostream& operator<<(std::ostream& out, const Hash& hash) {
    return out << hash.str();
}

} // namespace OxAttribute

#endif
