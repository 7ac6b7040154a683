#ifndef OXTELLARPRODUCERS_SHADINGHANDLES_H
#define OXTELLARPRODUCERS_SHADINGHANDLES_H

#include <cstdint>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/ShadingNodeDescription.h>

// The objects behind the C handles onto shading networks.

/// The head of the handles onto nodes and connections, which share one type in C. Each has a count
/// and one shared pointer, like every handle of the suite; the kind lies in the gap between them.
struct OxShadingStruct {
    enum Kind : std::int16_t { kNode, kConnection };

    std::int32_t refCount; // not atomic: a handle is for one thread at a time
    Kind kind;
};

struct OxShadingNodeMapStruct {
    TELLAR::ShadingNodeDescription::NodeMap nodes;
};

namespace TELLAR {
namespace RenderOutputUtilsHost {

struct NodeHandle : OxShadingStruct {
    boost::shared_ptr<const ShadingNodeDescription> node; // never null
};

struct ConnectionHandle : OxShadingStruct {
    boost::shared_ptr<const ShadingNodeConnectionDescription> connection; // never null
};

/// New handles with a count of 1; null for null.
OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node);
OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection);

/// What a handle refers to; null for null and for a handle of the other kind.
boost::shared_ptr<const ShadingNodeDescription> NodeOf(const OxShadingStruct* handle) noexcept;
boost::shared_ptr<const ShadingNodeConnectionDescription>
ConnectionOf(const OxShadingStruct* handle) noexcept;

// Both accept null.
void RetainShading(OxShadingStruct* handle) noexcept;
void ReleaseShading(OxShadingStruct* handle) noexcept;

} // namespace RenderOutputUtilsHost
} // namespace TELLAR

#endif
