#include "reading/FlattenMaterial.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace lantern {

namespace {

Attribute Flatten(const Suites& suites, const Location& location) {
    const char* const terminal = "surface";
    return Attribute::owning(suites.attributes(),
                             suites.utils().getFlattenedMaterialAttr(location.get(), &terminal, 1));
}

/// A group of the children that are valid.
Attribute Group(const Suites& suites,
                const std::vector<std::pair<const char*, Attribute>>& children) {
    std::vector<const char*> names;
    std::vector<OxAttributeStruct*> handles;
    for (const auto& [name, child] : children) {
        names.push_back(name);
        handles.push_back(child.get());
    }
    return Attribute::owning(
        suites.attributes(),
        suites.attributes().createGroup(names.data(), handles.data(),
                                        static_cast<std::int64_t>(handles.size()), 0));
}

/// The host flattens the materials of a location and its ancestors, but the parts of a replacement
/// are not locations. This function makes a scene whose locations have the materials of the chain,
/// one below the other, and asks the lowest one, so that the host's rules need not be repeated
/// here.
///
/// The host remembers flattened materials by path alone. The hash of the chain in the path keeps
/// different chains apart.
Attribute FlattenChain(const Suites& suites, const MaterialChain::Ptr& materials) {
    const std::string name = "materials_" + materials->hash().text();
    std::string path;
    Attribute children;
    for (const MaterialChain* link = materials.get(); link; link = link->above()) {
        const Attribute attributes = Group(suites, {{"material", link->material()}});
        const Attribute location = Group(suites, {{"a", attributes}, {"c", children}});
        children = Group(suites, {{name.c_str(), location}});
        path += "/" + name;
    }
    const char* const type = "StaticScene";
    const Attribute opType =
        Attribute::owning(suites.attributes(), suites.attributes().createString(&type, 1, 1));
    const Attribute op =
        Group(suites, {{"opType", opType}, {"opArgs", Group(suites, {{"c", children}})}});
    const Attribute description = Group(suites, {{"materials", op}});
    const Location root = Location::owning(
        suites, suites.iterators().createRootIteratorFromOpTreeDescription(description.get()));
    return Flatten(suites, root.byPath("/root" + path));
}

} // namespace

Attribute FlattenMaterial(const Suites& suites, const Place& place,
                          const MaterialChain::Ptr& materials) {
    if (!materials) return {};
    return place.isReplacement() ? FlattenChain(suites, materials)
                                 : Flatten(suites, place.location());
}

} // namespace lantern
