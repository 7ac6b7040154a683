#ifndef TELLAR_FUZZ_DESCRIPTIONTEXT_H
#define TELLAR_FUZZ_DESCRIPTIONTEXT_H

#include <stdexcept>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

/// The op-tree description in an input: JSON, or the XML of an attribute, which can express
/// more. An invalid group for any other text.
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
