#include "ForeignFile.h"

#include <stdexcept>
#include <string>

#include "LargeStack.h"
#include "SourceFile.h"
#include "assimp/AssimpFile.h"

namespace TellarSceneImport {

SceneContent ReadForeignFile(const FileStamp& stamp, const ReadOptions& options,
                             std::vector<FileStamp>& files,
                             const std::function<void(const std::string& path)>& onAccess) {
    const std::string extension = LowerExtension(stamp.path);
    if (!IsAssimpExtension(extension))
        throw std::runtime_error("files of the kind \"" + extension + "\" are not supported");
    SceneContent content;
    RunOnLargeStack([&] { content = ReadWithAssimp(stamp, extension, options, files, onAccess); });
    return content;
}

SceneContent ReadForeignFile(const FileStamp& stamp, const ReadOptions& options,
                             std::vector<FileStamp>& files) {
    return ReadForeignFile(stamp, options, files, [](const std::string&) {});
}

} // namespace TellarSceneImport
