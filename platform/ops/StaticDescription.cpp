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
    return description.getChildByIndex(description.findChild("c", 1));
}

GroupAttribute AttrsOf(const GroupAttribute& description) {
    return description.getChildByIndex(description.findChild("a", 0));
}

GroupAttribute ChildDescription(const GroupAttribute& children, std::string_view name,
                                std::int64_t hint) {
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
    const auto count = static_cast<std::size_t>(children.getNumberOfChildren());
    std::vector<std::string_view> names;
    names.reserve(count);
    bool anyEncoded = false;
    for (std::size_t index = 0; index < count; ++index) {
        names.push_back(children.getChildNameView(static_cast<std::int64_t>(index)));
        anyEncoded = anyEncoded || names.back().find('%') != std::string_view::npos;
    }
    if (!anyEncoded) return MakeNames(names);
    std::vector<std::string> decoded;
    decoded.reserve(count);
    for (std::string_view& name : names) {
        decoded.push_back(DelimiterDecode(name));
        name = decoded.back();
    }
    return MakeNames(names);
}

} // namespace TellarOps
