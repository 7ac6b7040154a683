#include "reading/FlattenMaterial.h"

#include <iterator>
#include <string>
#include <vector>

namespace lantern {

namespace {

constexpr const char* kTerminal = "surface";

Attribute Flatten(const Suites& suites, const Location& location) {
    return Attribute::owning(suites.attributes(), suites.utils().getFlattenedMaterialAttr(
                                                      location.get(), &kTerminal, 1));
}

/// A group of those children that are there.
Attribute Group(const Suites& suites, std::vector<const char*> names,
                const std::vector<Attribute>& children) {
    std::vector<OxAttributeStruct*> handles;
    handles.reserve(children.size());
    for (const Attribute& child : children)
        handles.push_back(child.get());
    return Attribute::owning(
        suites.attributes(),
        suites.attributes().createGroup(names.data(), handles.data(),
                                        static_cast<std::int64_t>(handles.size()), 0));
}

Attribute Text(const Suites& suites, const char* text) {
    return Attribute::owning(suites.attributes(), suites.attributes().createString(&text, 1, 1));
}

/// The chain's materials at locations one below the other, as the arguments of a StaticScene, and
/// the path of the lowest one. The paths are of no other chain: flattened materials are kept by
/// path.
Attribute SceneOf(const Suites& suites, const MaterialChain::Ptr& materials, std::string& path) {
    const std::string name = "materials_" + materials->hash().text();
    Attribute scene;
    for (const MaterialChain* link = materials.get(); link; link = link->above()) {
        const Attribute attributes = Group(suites, {"material"}, {link->material()});
        const Attribute children = scene ? Group(suites, {name.c_str()}, {scene}) : Attribute();
        scene = Group(suites, {"a", "c"}, {attributes, children});
        path += "/" + name;
    }
    path = "/root" + path;
    return Group(suites, {"c"}, {Group(suites, {name.c_str()}, {scene})});
}

/// What stands in a replacement has no location whose materials could be asked for.
Attribute FlattenApart(const Suites& suites, const MaterialChain::Ptr& materials) {
    std::string path;
    const Attribute op = Group(suites, {"opType", "opArgs"},
                               {Text(suites, "StaticScene"), SceneOf(suites, materials, path)});
    const Attribute description = Group(suites, {"materials"}, {op});
    const Location root = Location::owning(
        suites, suites.iterators().createRootIteratorFromOpTreeDescription(description.get()));
    return Flatten(suites, root.byPath(path));
}

} // namespace

Attribute FlattenMaterial(const Suites& suites, const Place& place,
                          const MaterialChain::Ptr& materials) {
    if (!materials) return {};
    return place.isReplacement() ? FlattenApart(suites, materials)
                                 : Flatten(suites, place.location());
}

} // namespace lantern
