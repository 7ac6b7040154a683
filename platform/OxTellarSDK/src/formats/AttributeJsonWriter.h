#ifndef OXTELLARSDK_ATTRIBUTEJSONWRITER_H
#define OXTELLARSDK_ATTRIBUTEJSONWRITER_H

#include <OxTellarSDK/Attribute.h>

#include "text/JsonWriter.h"

namespace OxAttribute {

/// Writes a valid attribute in the forms that ReadAttributeJson knows.
void WriteAttribute(TellarInternal::JsonWriter& json, const Attribute& attribute);

/// True if every value of every sample is UTF-8.
bool AllUtf8(const StringAttribute& attribute);

} // namespace OxAttribute

#endif
