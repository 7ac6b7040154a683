#ifndef SCENEIMPORT_URI_H
#define SCENEIMPORT_URI_H

#include <optional>
#include <string>
#include <string_view>

namespace TellarSceneImport {

/// The content of a URI that begins with "data:".
struct DataUri {
    std::string mimeType; ///< may be empty
    std::string bytes;
};

bool IsDataUri(std::string_view uri);

/// Reads base64 and percent-encoded data URIs. Returns nothing for a damaged one.
std::optional<DataUri> DecodeDataUri(std::string_view uri);

/// Replaces "%20" and the like. A "%" that is not followed by two digits stays.
std::string PercentDecoded(std::string_view text);

} // namespace TellarSceneImport

#endif
