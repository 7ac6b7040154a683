#ifndef OXTELLARSDK_ATTRIBUTEJSONREADER_H
#define OXTELLARSDK_ATTRIBUTEJSONREADER_H

#include <string>

#include <OxTellarSDK/Attribute.h>

#include "text/JsonTree.h"

namespace OxAttribute {

/// The attribute that a JSON value stands for, plain or in the typed form. `depth` is the number of
/// groups around it. Throws std::runtime_error with a text that begins with the place of the
/// fault and ends with `where`.
Attribute ReadAttributeJson(const TellarInternal::JsonValue& value, int depth,
                            const std::string& where);

} // namespace OxAttribute

#endif
