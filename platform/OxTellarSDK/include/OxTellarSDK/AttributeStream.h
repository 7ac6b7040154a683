#ifndef OXTELLARSDK_ATTRIBUTESTREAM_H
#define OXTELLARSDK_ATTRIBUTESTREAM_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/FileStream.h>

namespace OxAttribute {

/// What kind of file this is, told by its first bytes (behind compression, if any).
enum class FileKind { Unknown, AttributeStream, OpFile };

/// Throws std::runtime_error naming the file when it cannot be read.
OXTELLARSDK_API FileKind ProbeFile(const std::string& path);
/// The same for a file that is open and has not been read; rewinds it.
OXTELLARSDK_API FileKind ProbeFile(FileStream& stream);

/// Writes a whole file in one go: a new file is written beside it and renamed over it
/// only when complete, so nothing is ever half-written. With `compress`, as zstd.
/// Throws std::runtime_error naming the file and the system's reason.
OXTELLARSDK_API void WriteAttributeFile(const std::string& path, const Attribute& attribute,
                                        bool compress = false);

/// Writes an op-tree description as a serialised op file. Throws std::runtime_error
/// naming the Op at fault when the description is no op tree: a child that is no group,
/// an input that names no Op, no Op at all.
OXTELLARSDK_API void WriteOpFile(const std::string& path, const GroupAttribute& description,
                                 bool compress = false);

/// Reads an op file's op tree back as a description. Throws as WriteOpFile and
/// Attribute::readAttributeStream do.
OXTELLARSDK_API GroupAttribute ReadOpFile(const std::string& path);
OXTELLARSDK_API GroupAttribute ReadOpFile(FileStream& stream);

} // namespace OxAttribute

#endif
