#ifndef OXTELLARSDK_DESCRIPTIONJSON_H
#define OXTELLARSDK_DESCRIPTIONJSON_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/FileStream.h>

namespace OxAttribute {

/// Facts about the text of a description that are lost when it is read.
struct DescriptionText {
    /// The place where each Op begins, keyed by its name: "scene.json:14:5", with line and column.
    std::unordered_map<std::string, std::string> places;
    /// The number of members "comment" and of comments between "//" or "/*" and their end.
    std::size_t comments = 0;
};

/// Reads an op-tree description written as JSON (docs/description-json.md). Throws
/// TellarError "<source>:<line>:<column>: ..." naming the Op at fault. Relative
/// files are relative to `directory`. Fills `told` unless it is null.
OXTELLARSDK_API GroupAttribute ParseDescriptionJson(std::string_view text,
                                                    const std::string& source,
                                                    const std::string& directory,
                                                    DescriptionText* told = nullptr);
OXTELLARSDK_API GroupAttribute ReadDescriptionJsonFile(const std::string& path);
OXTELLARSDK_API GroupAttribute ReadDescriptionJsonFile(FileStream& stream,
                                                       DescriptionText* told = nullptr);

/// The description as JSON text that reads back as an equal description. Throws
/// std::runtime_error naming the Op that cannot be written.
OXTELLARSDK_API std::string WriteDescriptionJson(const GroupAttribute& description);

/// Any attribute as JSON: plain JSON where it reads back as an equal attribute, otherwise the typed
/// form that docs/description-json.md describes. Each level is indented by `indent` spaces; -1
/// writes everything in one line.
OXTELLARSDK_API std::string WriteAttributeJson(const Attribute& attribute, int indent = 2);

} // namespace OxAttribute

#endif
