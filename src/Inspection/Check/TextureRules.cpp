#include "TextureRules.h"

#include <OxTellarSDK/TextureReferences.h>

#include "ContentCache.h"
#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;

void CheckTextureFiles(const GroupAttribute& attrs, Drafts& drafts) {
    for (const TextureReference& texture : FindTextures(attrs))
        if (IsMissingTexture(texture.file))
            drafts.add(Rule::TextureMissing, texture.attribute, MissingFileProblem(texture.file),
                       texture.file);
}

std::string MissingFileProblem(const std::string& file) {
    return "the file " + Quoted(file) + " does not exist";
}

Hash MissingFileKey(const std::string& problem) {
    return JoinedHash(static_cast<std::uint64_t>(Rule::TextureMissing), {HashOfText(problem)});
}

} // namespace TELLAR
