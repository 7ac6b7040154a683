#include "StaticDescription.h"

#include <string>
#include <vector>

#include <OxTellarSDK/DelimiterCodec.h>

#include "ChildNames.h"

namespace TellarOps {

using OxAttribute::DelimiterDecode;
using OxAttribute::DelimiterEncode;

namespace {

/// Whether the name needs encoding or looks like an encoded one.
bool HasEncodedCharacter(std::string_view name) {
    bool has = false;
    for (const char c : name)
        has |= c == '.' || c == '/' || c == '%' || c == '\0';
    return has;
}

} // namespace

std::int64_t FindEncoded(const GroupAttribute& children, std::string_view name, std::int64_t hint) {
    if (!HasEncodedCharacter(name)) return children.findChild(name, hint);
    const std::int64_t index = children.findChild(DelimiterEncode(name), hint);
    if (index >= 0) return index;
    // The name may also be written without encoding, unless it looks like an encoded one.
    return DelimiterDecode(name) == name ? children.findChild(name, hint) : -1;
}

GroupAttribute ChildrenOf(const GroupAttribute& description) {
    return description.getChild("c", 1);
}

GroupAttribute AttrsOf(const GroupAttribute& description) {
    return description.getChild("a", 0);
}

GroupAttribute ChildDescription(const GroupAttribute& children, std::string_view name,
                                std::int64_t hint) {
    if (!HasEncodedCharacter(name)) return children.getChild(name, hint);
    return children.getChildByIndex(FindEncoded(children, name, hint));
}

GroupAttribute Descend(GroupAttribute description, std::string_view path,
                       std::string_view location) {
    while (description.isValid() && path.size() > location.size()) {
        const std::string_view name = NameTowards(path, location);
        location = path.substr(0, location.size() + 1 + name.size());
        description = ChildDescription(ChildrenOf(description), name, -1);
    }
    return description;
}

StringAttribute DecodedNames(const GroupAttribute& children) {
    StringAttribute names = children.getChildNames();
    const OxAttribute::ConstStringSample sample = names.getNearestSample(0.0f);
    bool isAnyEncoded = false;
    for (const std::string_view name : sample)
        isAnyEncoded = isAnyEncoded || name.find('%') != std::string_view::npos;
    if (!isAnyEncoded) return names;
    std::vector<std::string> decoded;
    decoded.reserve(sample.size());
    for (const std::string_view name : sample)
        decoded.push_back(DelimiterDecode(name));
    return StringAttribute(decoded, 1);
}

} // namespace TellarOps
