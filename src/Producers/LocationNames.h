#ifndef OXTELLARPRODUCERS_LOCATIONNAMES_H
#define OXTELLARPRODUCERS_LOCATIONNAMES_H

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// The text after the last "/"; empty when there is none.
inline std::string LeafName(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(slash + 1));
}

/// The text after the last "/", or all of it. Looks for any "/" first, because that is quicker and
/// nearly always the answer.
inline std::string_view LastPart(std::string_view text) {
    if (text.find('/') == std::string_view::npos) return text;
    return text.substr(text.rfind('/') + 1);
}

inline std::string ChildPath(std::string_view parentPath, std::string_view name) {
    std::string path;
    path.reserve(parentPath.size() + 1 + name.size());
    path += parentPath;
    path += '/';
    path += name;
    return path;
}

/// The parts of a path between slashes, without those at its beginning. "" has one empty part.
class PathParts {
public:
    explicit PathParts(std::string_view path)
        : rest(path.substr(std::min(path.find_first_not_of('/'), path.size()))) {}

    bool isAtEnd() const { return taken; }
    /// Not at the end.
    std::string_view next() {
        const std::string_view part = rest.substr(0, rest.find('/'));
        taken = part.size() == rest.size();
        rest.remove_prefix(taken ? part.size() : part.size() + 1);
        return part;
    }

private:
    std::string_view rest;
    bool taken = false; // the last part
};

inline void InsertChildNames(const OxAttribute::GroupAttribute& group,
                             std::set<std::string>* names) {
    if (!names) return;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names->insert(group.getChildName(i));
}

/// The whole group for a null or empty name, else the child at a dotted path.
inline OxAttribute::Attribute AttributeAt(const OxAttribute::GroupAttribute& group,
                                          const char* name) {
    if (!name || *name == '\0') return group;
    return group.getChildByName(name);
}

inline void RefuseDeepName(std::string_view name) {
    if (name.find('/') != std::string_view::npos)
        throw std::runtime_error("getChildByName does not support deep child lookups");
}

} // namespace TELLAR

#endif
