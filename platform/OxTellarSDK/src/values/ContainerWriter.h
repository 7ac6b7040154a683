#ifndef OXTELLARSDK_CONTAINERWRITER_H
#define OXTELLARSDK_CONTAINERWRITER_H

#include <string>

#include <OxTellarSDK/Attribute.h>

#include "ContainerLayout.h"

namespace OxAttribute {

/// Writes an attribute file in one pass. Equal numbers, strings and names that stand near each
/// other are written once. Throws std::runtime_error when `write` takes less than it is given,
/// and for a name or a total size that the format cannot hold; `name` is for errors.
void WriteContainer(const Attribute& root, ContainerKind kind, void* stream, StreamWrite write,
                    const std::string& name = "attribute stream");

} // namespace OxAttribute

#endif
