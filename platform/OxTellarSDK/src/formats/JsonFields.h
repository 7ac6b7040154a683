#ifndef OXTELLARSDK_JSONFIELDS_H
#define OXTELLARSDK_JSONFIELDS_H

#include <algorithm>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "text/JsonTree.h"
#include "text/MessageText.h"

namespace OxAttribute {

/// The members of an object that has a fixed set of keys. It borrows the tree.
class JsonFields {
public:
    /// Throws std::runtime_error if a key is not `known` or is given twice. The text begins with
    /// the place of the key and ends with `where`.
    JsonFields(const TellarInternal::JsonValue& object,
               std::initializer_list<std::string_view> known, const std::string& where) {
        for (const TellarInternal::JsonValue::Member& member : object.members()) {
            const std::string_view key = member.key.text();
            if (std::find(known.begin(), known.end(), key) == known.end())
                member.key.fail("unknown key " + TellarInternal::Quoted(key) + where);
            if (!byKey.emplace(key, member.value).second)
                member.key.fail("key " + TellarInternal::Quoted(key) + " given twice" + where);
        }
    }

    std::optional<TellarInternal::JsonValue> find(std::string_view key) const {
        const auto found = byKey.find(key);
        if (found == byKey.end()) return std::nullopt;
        return found->second;
    }

private:
    std::map<std::string_view, TellarInternal::JsonValue> byKey;
};

} // namespace OxAttribute

#endif
