#ifndef OXTELLARSDK_OPDESCRIPTION_H
#define OXTELLARSDK_OPDESCRIPTION_H

#include <string>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// Throws std::runtime_error "<source>: ..." naming the Op at fault unless `description` is a
/// complete op tree: at least one child, each a group with an "opType" string and nothing of a
/// wrong type, every input the name of an Op or empty.
void CheckOpDescription(const GroupAttribute& description, const std::string& source);

/// The description that a serialised op file holds. Throws as CheckOpDescription does, and
/// for a damaged file.
GroupAttribute ReadOpStream(void* stream, StreamRead read);

} // namespace OxAttribute

#endif
