#ifndef OXTELLARSDK_OPDESCRIPTION_H
#define OXTELLARSDK_OPDESCRIPTION_H

#include <OxTellarSDK/Attribute.h>

#include "FileBuffer.h"

namespace OxAttribute {

/// Throws TellarError "<source>: ..." with the name of the Op at fault unless `description`
/// is a complete op tree. It needs at least one child; each child is a group with an "opType"
/// string whose parts all have the right types, and each input is empty or the name of an Op.
void CheckOpDescription(const GroupAttribute& description, const StreamName& source);

/// The description that a serialised op file holds. Throws as CheckOpDescription does, and
/// for a damaged file.
GroupAttribute ReadOpStream(void* stream, StreamRead read);

} // namespace OxAttribute

#endif
