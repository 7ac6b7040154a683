#include <OxTellarProducers/ConvertTextures.h>

#include <cstdint>
#include <string>

#include <OxTellarSDK/GroupBuilder.h>

using namespace OxAttribute;

namespace TELLAR {

Attribute ConvertTexturesToArbitraryAttr(const GroupAttribute& textures) {
    if (!textures.isValid()) return {};
    GroupBuilder builder;
    for (std::int64_t i = 0; i < textures.getNumberOfChildren(); ++i) {
        const std::string path = textures.getChildName(i) + ".";
        const Attribute texture = textures.getChildByIndex(i);
        const GroupAttribute group(texture);
        const StringAttribute maps(group.isValid() ? group.getChildByName("maps") : texture);
        if (!maps.isValid()) continue;
        const IntAttribute index(group.getChildByName("indicies"));
        if (maps.getNumberOfValues() > 1 && index.isValid()) {
            builder.set(path + "scope", StringAttribute("face"));
            builder.set(path + "indexedValue", maps);
            builder.set(path + "index", index);
        } else {
            builder.set(path + "value", maps);
            builder.set(path + "scope", StringAttribute("primitive"));
        }
    }
    return builder.build();
}

} // namespace TELLAR
