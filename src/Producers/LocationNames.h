#ifndef OXTELLARPRODUCERS_LOCATIONNAMES_H
#define OXTELLARPRODUCERS_LOCATIONNAMES_H

#include <cstring>
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

/// The same. When the last "/" is at `likelySlash`, which may be any number, it is found faster.
inline std::string LeafName(std::string_view path, std::size_t likelySlash) {
    const bool isSlash = likelySlash < path.size() && path[likelySlash] == '/';
    const std::string_view name = isSlash ? path.substr(likelySlash + 1) : path;
    return isSlash && name.find('/') == std::string_view::npos ? std::string(name) : LeafName(path);
}

/// `path` may hold anything before; its room is used.
inline void SetChildPath(std::string& path, std::string_view parentPath, std::string_view name) {
    const std::size_t slash = parentPath.size();
    path.resize(slash + 1 + name.size());
    if (slash > 0) std::memcpy(path.data(), parentPath.data(), slash);
    path[slash] = '/';
    if (!name.empty()) std::memcpy(path.data() + slash + 1, name.data(), name.size());
}

inline std::string ChildPath(std::string_view parentPath, std::string_view name) {
    std::string path;
    SetChildPath(path, parentPath, name);
    return path;
}

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
