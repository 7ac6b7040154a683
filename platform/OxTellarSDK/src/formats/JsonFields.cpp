#include "JsonFields.h"

#include <algorithm>

#include "text/MessageText.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// An order of dotted paths in which the paths below a path follow it directly: the dot comes
/// before every other character.
bool ComesBefore(std::string_view a, std::string_view b) {
    const auto rank = [](char c) { return c == '.' ? -1 : static_cast<unsigned char>(c); };
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [&](char x, char y) { return rank(x) < rank(y); });
}

bool IsBelow(std::string_view path, std::string_view ancestor) {
    return path.size() > ancestor.size() && path[ancestor.size()] == '.' &&
           path.substr(0, ancestor.size()) == ancestor;
}

bool HasEmptyPart(std::string_view path) {
    return path.empty() || path.front() == '.' || path.back() == '.' ||
           path.find("..") != std::string_view::npos;
}

/// The keys in an order in which a path comes after its parent groups. Refuses empty parts.
std::vector<JsonValue> SortedKeys(const std::vector<JsonValue::Member>& members,
                                  const std::string& where) {
    std::vector<JsonValue> keys;
    keys.reserve(members.size());
    for (const JsonValue::Member& member : members) {
        if (HasEmptyPart(member.key.text()))
            member.key.fail("key " + Quoted(member.key.text()) + " has an empty part" + where);
        keys.push_back(member.key);
    }
    std::stable_sort(keys.begin(), keys.end(), [](const JsonValue& a, const JsonValue& b) {
        return ComesBefore(a.text(), b.text());
    });
    return keys;
}

} // namespace

JsonFields::JsonFields(const JsonValue& object, std::initializer_list<std::string_view> known,
                       const std::string& where) {
    for (const JsonValue::Member& member : object.members()) {
        const std::string_view key = member.key.text();
        if (std::find(known.begin(), known.end(), key) == known.end())
            member.key.fail("unknown key " + Quoted(key) + where);
        if (!byKey.emplace(key, member.value).second)
            member.key.fail("key " + Quoted(key) + " given twice" + where);
    }
}

std::optional<JsonValue> JsonFields::find(std::string_view key) const {
    const auto found = byKey.find(key);
    if (found == byKey.end()) return std::nullopt;
    return found->second;
}

void CheckDottedKeys(const std::vector<JsonValue::Member>& members, const std::string& where) {
    const std::vector<JsonValue> keys = SortedKeys(members, where);
    for (std::size_t i = 1; i < keys.size(); ++i) {
        const std::string_view before = keys[i - 1].text();
        const std::string_view path = keys[i].text();
        if (before == path) keys[i].fail("key " + Quoted(path) + " given twice" + where);
        if (IsBelow(path, before))
            keys[i].fail("key " + Quoted(path) + " lies in " + Quoted(before) +
                         ", which is given by itself" + where);
    }
}

} // namespace OxAttribute
