#ifndef OXTELLARSDK_ATTRIBUTESTREAM_H
#define OXTELLARSDK_ATTRIBUTESTREAM_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/FileStream.h>

namespace OxAttribute {

/// The kind of a file according to its first bytes, decompressed if necessary.
enum class FileKind { Unknown, AttributeStream, OpFile };

/// The kind of a file. Throws TellarError naming the file when it cannot be read.
OXTELLARSDK_API FileKind ProbeFile(const std::string& path);
/// The same for a file that is open and has not been read; rewinds it.
OXTELLARSDK_API FileKind ProbeFile(FileStream& stream);

/// Writes a file, compressed with zstd if `compress`. A new file is written beside it and renamed
/// when it is complete, so readers never see a part of it. Throws TellarError naming the file and
/// the system's reason.
OXTELLARSDK_API void WriteAttributeFile(const std::string& path, const Attribute& attribute,
                                        bool compress = false);

/// Writes an op-tree description as a serialised op file. Throws TellarError naming the Op
/// at fault when the description is not an op tree: when it is empty, a child is not a group, or an
/// input does not name an Op.
OXTELLARSDK_API void WriteOpFile(const std::string& path, const GroupAttribute& description,
                                 bool compress = false);

/// The description in an op file. Throws as WriteOpFile and Attribute::readAttributeStream do.
OXTELLARSDK_API GroupAttribute ReadOpFile(const std::string& path);
OXTELLARSDK_API GroupAttribute ReadOpFile(FileStream& stream);

} // namespace OxAttribute

#endif
