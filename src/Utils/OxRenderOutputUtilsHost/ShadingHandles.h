#ifndef TELLAR_SHADINGHANDLES_H
#define TELLAR_SHADINGHANDLES_H

#include <cstdint>
#include <string>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/ShadingNodeDescription.h>

// What the C handles onto shading networks are. Null in gives null, 0 or "".

/// A node or a connection: just one of the two.
struct OxShadingStruct {
    std::int32_t refCount; // not atomic: a handle is for one thread at a time
    boost::shared_ptr<TELLAR::ShadingNodeDescription> node;
    boost::shared_ptr<TELLAR::ShadingNodeConnectionDescription> connection;
};

struct OxShadingNodeMapStruct {
    TELLAR::ShadingNodeDescription::NodeMap nodes;
};

namespace TELLAR {
namespace RenderOutputUtilsHost {

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node);
OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection);
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
