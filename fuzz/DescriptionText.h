#ifndef TELLAR_FUZZ_DESCRIPTIONTEXT_H
#define TELLAR_FUZZ_DESCRIPTIONTEXT_H

#include <stdexcept>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

/// The op-tree description in an input: JSON, as people write it, or the XML of any attribute,
/// which can say more. An invalid group for any other text.
inline OxAttribute::GroupAttribute ReadDescriptionText(std::string_view text) {
    try {
        if (!text.empty() && text.front() == '{')
            return OxAttribute::ParseDescriptionJson(text, "input", "/nowhere");
        return OxAttribute::ParseAttributeXml(text);
    } catch (const std::runtime_error&) {
        return {};
    }
}

#endif
