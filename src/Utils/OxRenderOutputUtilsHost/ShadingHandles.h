#ifndef TELLAR_SHADINGHANDLES_H
#define TELLAR_SHADINGHANDLES_H

#include <cstdint>
#include <string>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/ShadingNodeDescription.h>

// The objects behind the C handles onto shading networks. Null in gives null, 0 or "".

/// The object behind a handle onto a node or a connection: a count, and a shared pointer to what
/// `kind` says, as every handle of the suite has them. The kind lies in the gap between the two.
struct OxShadingStruct {
    enum Kind : std::int16_t { kNode, kConnection };

    std::int32_t refCount; // not atomic: a handle is for one thread at a time
    Kind kind;
    boost::shared_ptr<const void> described; // never null
};

struct OxShadingNodeMapStruct {
    TELLAR::ShadingNodeDescription::NodeMap nodes;
};

namespace TELLAR {
namespace RenderOutputUtilsHost {

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node);
OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection);

/// The node or the connection behind a handle, with a reference of the caller's; null when the
/// handle is null or one of the other kind.
boost::shared_ptr<const ShadingNodeDescription> NodeOf(const OxShadingStruct* handle) noexcept;
boost::shared_ptr<const ShadingNodeConnectionDescription>
ConnectionOf(const OxShadingStruct* handle) noexcept;

void RetainShading(OxShadingStruct* handle) noexcept;
void ReleaseShading(OxShadingStruct* handle) noexcept;

/// A node's or a connection's name.
const char* FirstText(OxShadingStruct* handle) noexcept;
/// A node's type, or the port that feeds a connection.
const char* SecondText(OxShadingStruct* handle) noexcept;
/// The node that feeds a connection.
const char* ThirdText(OxShadingStruct* connection) noexcept;

} // namespace RenderOutputUtilsHost
} // namespace TELLAR

#endif
