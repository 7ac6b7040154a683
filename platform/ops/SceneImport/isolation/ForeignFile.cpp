#include "ForeignFile.h"

#include <stdexcept>
#include <string>

#include "LargeStack.h"
#include "SourceFile.h"
#include "assimp/AssimpFile.h"

namespace TellarSceneImport {

SceneContent ReadForeignFile(const FileStamp& stamp, const ReadOptions& options,
                             std::vector<FileStamp>& files) {
    const std::string extension = LowerExtension(stamp.path);
    if (!IsAssimpExtension(extension))
        throw std::runtime_error("files of the kind \"" + extension + "\" are not supported");
    SceneContent content;
    RunOnLargeStack([&] { content = ReadWithAssimp(stamp, extension, options, files); });
    return content;
}

} // namespace TellarSceneImport
