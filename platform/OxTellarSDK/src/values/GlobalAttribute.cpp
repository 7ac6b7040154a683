#include <OxTellarSDK/GlobalAttribute.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/container/small_vector.hpp>

#include <OxTellarSDK/AttributeChain.h>
#include <OxTellarSDK/LocationPath.h>

#include "NodeAccess.h"

namespace OxTellarServices {

BaseGlobalAttributeProviderLegacy::~BaseGlobalAttributeProviderLegacy() = default;

} // namespace OxTellarServices

namespace OxTellarCookInterfaceUtils {
namespace {

using namespace OxAttribute;
using Provider = OxTellarServices::BaseGlobalAttributeProviderLegacy;

constexpr int kProvided = 0;

/// The value at a location, from its own value `near` and the value `far` at its parent.
Attribute Inherit(const Attribute& near, const Attribute& far) {
    if (!far.isValid()) return near;
    if (!near.isValid()) return far;
    const GroupAttribute nearGroup(near);
    const GroupAttribute farGroup(far);
    if (!nearGroup.isValid() || !nearGroup.getGroupInherit() || !farGroup.isValid()) return near;

    // The ancestors' children come first, so that all locations below have the same order.
    std::vector<GroupAttribute::Child> children;
    children.reserve(static_cast<std::size_t>(farGroup.getNumberOfChildren()));
    for (std::int64_t index = 0; index < farGroup.getNumberOfChildren(); ++index) {
        const std::string_view name = farGroup.getChildNameView(index);
        const Attribute own = nearGroup.getChildByIndex(nearGroup.findChild(name));
        children.emplace_back(name, Inherit(own, farGroup.getChildByIndex(index)));
    }
    for (std::int64_t index = 0; index < nearGroup.getNumberOfChildren(); ++index) {
        const std::string_view name = nearGroup.getChildNameView(index);
        if (farGroup.findChild(name) < 0)
            children.emplace_back(name, nearGroup.getChildByIndex(index));
    }
    return GroupAttribute(children, true);
}

/// True when the location hides the ancestors' values of a dotted name. `head` is the attribute for
/// the first part of the name; it or a group on the way below it may not inherit.
bool HidesAncestors(const Attribute& head, std::string_view name) {
    Attribute attribute = head;
    std::size_t dot = name.find('.');
    while (attribute.isValid() && dot != std::string_view::npos) {
        const GroupAttribute group(attribute);
        if (!group.isValid() || !group.getGroupInherit()) return true;
        name.remove_prefix(dot + 1);
        dot = name.find('.');
        attribute = group.getChildByName(name.substr(0, dot));
    }
    return false;
}

bool InheritsMore(const Attribute& value) {
    const GroupAttribute group(value);
    return !value.isValid() || (group.isValid() && group.getGroupInherit());
}

std::string AncestorPath(std::string_view path, int depth) {
    for (; depth > 0; --depth)
        path = OxLocationPath::Parent(path);
    return std::string(path);
}

/// The value of a location and those of its ancestors, nearest first, as one.
template <typename Values>
Attribute Combine(const Values& values) {
    // Starts at the far end, because a value that does not inherit hides those above it from all
    // locations below.
    Attribute seen;
    for (auto value = values.rbegin(); value != values.rend(); ++value)
        seen = Inherit(*value, seen);
    return seen;
}

/// The values of the location and its ancestors, nearest first, up to one that hides the rest.
/// Locations without a value are left out.
class Lookup {
public:
    Lookup(Provider& provider, const std::string& name)
        : provider(provider), name(name), headSize(std::min(name.find('.'), name.size())) {}

    void run() {
        for (int depth = 0; visit(depth); ++depth) {
        }
    }

    Attribute result() const { return Combine(values); }

    int nearestDepth() const { return nearest; }

private:
    /// Returns false when no ancestor further up can contribute.
    bool visit(int depth) {
        Attribute value;
        if (provider.provideAttribute(name, depth, value) != kProvided) return false;
        const bool isLast = !InheritsMore(value) || isHiddenAt(depth);
        if (!value.isValid()) return !isLast;
        if (nearest < 0) nearest = depth;
        values.push_back(std::move(value));
        return !isLast;
    }

    bool isHiddenAt(int depth) {
        if (headSize == name.size()) return false;
        Attribute value;
        if (provider.provideAttribute(name.substr(0, headSize), depth, value) != kProvided)
            return true;
        return HidesAncestors(value, name);
    }

    Provider& provider;
    const std::string& name;
    const std::size_t headSize; // size of the first part of the name
    boost::container::small_vector<Attribute, 8> values;
    int nearest = -1;
};

/// What one location has for a dotted name, without a reference.
struct OwnValue {
    Node* value;         // null when it has none
    bool hidesAncestors; // no value further up can contribute
};

bool Inherits(const Node* node) {
    return IsGroup(node) && (node->word & kGroupInherit) != 0;
}

/// Finds the value and tells whether it hides those of the ancestors in one walk down the name.
OwnValue FindOwn(const Node* group, std::string_view name) {
    bool isHidden = false;
    for (;;) {
        const std::string_view part = name.substr(0, name.find('.'));
        const std::int64_t index = FindChild(group, part);
        if (index < 0) return {nullptr, isHidden};
        Node* const child = ChildOf(group, static_cast<std::uint64_t>(index));
        isHidden = isHidden || !Inherits(child);
        if (part.size() == name.size()) return {child, isHidden};
        if (!IsGroup(child)) return {nullptr, true};
        group = child;
        name.remove_prefix(part.size() + 1);
    }
}

/// Asks the groups of a chain as GeometryProducer::getAttribute does.
class ChainProvider final : public Provider {
public:
    explicit ChainProvider(const AttributeChain& chain) : chain(chain) {}

    int provideAttribute(const std::string& name, int depth, Attribute& result) override {
        constexpr int kAboveRoot = 2;
        if (static_cast<std::size_t>(depth) >= chain.count) return kAboveRoot;
        const GroupAttribute& group = *chain.groups[depth];
        const char* const text = name.c_str();
        result = *text == '\0' ? Attribute(group) : group.getChildByName(text);
        return kProvided;
    }

private:
    const AttributeChain& chain;
};

/// False for names that getAttribute takes for the whole group, or reads up to a NUL byte.
bool IsPlainName(const std::string& name) {
    return !name.empty() && name[0] != '.' && name.find('\0') == std::string::npos;
}

} // namespace

Attribute getGlobalAttrOfChain(const AttributeChain& chain, const std::string& name) {
    if (!IsPlainName(name)) {
        ChainProvider provider(chain);
        return getGlobalAttrGeneric(provider, name, std::string(), nullptr);
    }
    boost::container::small_vector<Attribute, 4> values; // nearest first
    for (std::size_t depth = 0; depth < chain.count; ++depth) {
        const Node* const group = chain.groups[depth]->getHandle();
        if (!group) continue;
        const OwnValue own = FindOwn(group, name);
        if (own.value && own.hidesAncestors && values.empty())
            return Attribute::CreateAndRetain(own.value);
        if (own.value) values.push_back(Attribute::CreateAndRetain(own.value));
        if (own.hidesAncestors) break;
    }
    return Combine(values);
}

Attribute getGlobalAttrGeneric(Provider& provider, const std::string& name,
                               const std::string& locationPath, std::string* foundAt) {
    Lookup lookup(provider, name);
    lookup.run();
    if (foundAt) {
        const int depth = lookup.nearestDepth();
        *foundAt = depth < 0 ? std::string() : AncestorPath(locationPath, depth);
    }
    return lookup.result();
}

} // namespace OxTellarCookInterfaceUtils
