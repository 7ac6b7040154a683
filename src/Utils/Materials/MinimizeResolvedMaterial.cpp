#include <OxTellarProducers/MaterialFlattening.h>

#include <cstdint>

#include "Material.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;

namespace TELLAR {

namespace {

/// The entries of exposed parameters, with nothing but their "src".
Children ReadUsedInterface(const GroupAttribute& material, const GroupAttribute& parameters) {
    Children entries;
    const GroupAttribute interface(material.getChildByName("interface"));
    if (!interface.isValid()) return entries;
    for (std::int64_t i = 0; i < parameters.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(interface.getChildByName(parameters.getChildNameView(i)));
        const Attribute src = entry.getChildByName("src");
        if (src.isValid()) entries.emplace_back(parameters.getChildName(i), Group({{"src", src}}));
    }
    return entries;
}

} // namespace

GroupAttribute MinimizeResolvedMaterialAttr(const GroupAttribute& material) {
    if (!IsNetwork(material)) return material;
    Children children{{"style", material.getChildByName("style")}};
    const GroupAttribute nodes(material.getChildByName("nodes"));
    if (nodes.isValid()) children.emplace_back("nodes", nodes);
    const GroupAttribute parameters(material.getChildByName("parameters"));
    if (parameters.isValid()) {
        children.emplace_back("parameters", parameters);
        AppendUnlessEmpty(children, "interface", ReadUsedInterface(material, parameters));
    }
    const Attribute terminals = material.getChildByName("terminals");
    if (terminals.isValid()) children.emplace_back("terminals", terminals);
    return Group(children);
}

} // namespace TELLAR
