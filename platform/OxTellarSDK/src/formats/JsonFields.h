#ifndef OXTELLARSDK_JSONFIELDS_H
#define OXTELLARSDK_JSONFIELDS_H

#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/JsonTree.h"

/// The keys of JSON objects. Errors are std::runtime_errors that begin with the place of the key at
/// fault and end with `where`.

namespace OxAttribute {

/// The members of an object that has a fixed set of keys. It borrows the tree.
class JsonFields {
public:
    /// Throws if a key is not `known` or is given twice.
    JsonFields(const TellarInternal::JsonValue& object,
               std::initializer_list<std::string_view> known, const std::string& where);

    std::optional<TellarInternal::JsonValue> find(std::string_view key) const;

private:
    std::map<std::string_view, TellarInternal::JsonValue> byKey;
};

/// Checks the keys of an object that are dotted paths. Throws if a path has an empty part, is given
/// twice or lies below another one, which it would replace.
void CheckDottedKeys(const std::vector<TellarInternal::JsonValue::Member>& members,
                     const std::string& where);

} // namespace OxAttribute

#endif
