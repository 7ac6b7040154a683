#include <OxTellarProducers/ConvertTextures.h>

#include <cstdint>
#include <string>

#include <OxTellarSDK/GroupBuilder.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

void SetPrimitive(GroupBuilder& builder, const std::string& name, const StringAttribute& maps) {
    builder.set(name + ".value", maps);
    builder.set(name + ".scope", StringAttribute("primitive"));
}

void SetIndexed(GroupBuilder& builder, const std::string& name, const GroupAttribute& texture) {
    const StringAttribute maps(texture.getChildByName("maps"));
    if (!maps.isValid()) return;
    const IntAttribute index(texture.getChildByName("indicies"));
    if (maps.getNumberOfValues() < 2 || !index.isValid()) {
        SetPrimitive(builder, name, maps);
        return;
    }
    builder.set(name + ".scope", StringAttribute("face"));
    builder.set(name + ".indexedValue", maps);
    builder.set(name + ".index", index);
}

} // namespace

Attribute ConvertTexturesToArbitraryAttr(const GroupAttribute& textures) {
    if (!textures.isValid()) return {};
    GroupBuilder builder;
    for (std::int64_t i = 0; i < textures.getNumberOfChildren(); ++i) {
        const std::string name = textures.getChildName(i);
        const Attribute texture = textures.getChildByIndex(i);
        if (texture.getType() == kAttributeTypeGroup)
            SetIndexed(builder, name, GroupAttribute(texture));
        else if (texture.getType() == kAttributeTypeString)
            SetPrimitive(builder, name, StringAttribute(texture));
    }
    return builder.build();
}

} // namespace TELLAR
