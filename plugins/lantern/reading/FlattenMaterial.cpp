#include "reading/FlattenMaterial.h"

#include <cstdint>
#include <vector>

#include "reading/HostError.h"

namespace lantern {

Attribute FlattenMaterial(const Suites& suites, const MaterialChain::Ptr& materials) {
    if (!materials) return {};
    std::vector<OxAttributeStruct*> chain;
    for (const MaterialChain* link = materials.get(); link; link = link->above())
        chain.push_back(link->material().get());
    const char* const terminal = "surface";
    HostError error(suites);
    Attribute flattened = Attribute::owning(
        suites.attributes(),
        suites.utils().flattenMaterials(chain.data(), static_cast<std::int64_t>(chain.size()),
                                        &terminal, 1, error.slot()));
    error.throwIfSet();
    return flattened;
}

} // namespace lantern
