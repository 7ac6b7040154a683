#include "Textures.h"

#include <utility>

#include <OxTellarSDK/TextureReferences.h>

namespace TellarOps {

OxOpType::Argument DirectoryArgument() {
    return {"directory", "string",
            "The folder where relative textures are looked for first. Default: none."};
}

GroupAttribute InFolder(const std::string& folder, GroupAttribute attrs) {
    return folder.empty() ? std::move(attrs) : OxAttribute::WithTexturesIn(folder, attrs);
}

void WarnOfMissingTextures(CheckContext& context, const GroupAttribute& attrs,
                           const std::string& path) {
    for (const OxAttribute::TextureReference& texture : OxAttribute::FindTextures(attrs))
        if (OxAttribute::IsMissingTexture(texture.file))
            context.warn("the texture \"" + texture.file + '"' +
                             (path.empty() ? std::string() : " of \"" + path + '"') +
                             " does not exist",
                         texture.file);
}

} // namespace TellarOps
