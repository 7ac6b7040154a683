#ifndef SCENEIMPORT_FILETEXT_H
#define SCENEIMPORT_FILETEXT_H

#include <string>

namespace TellarSceneImport {

/// The text of a file in UTF-8 without a byte order mark. UTF-16 is recognised by its byte order
/// mark or by the zero in its first character; other texts are returned as they are.
std::string ToUtf8(std::string content);

} // namespace TellarSceneImport

#endif
