#ifndef OXTELLARPRODUCERS_RENDEROUTPUTHANDLES_H
#define OXTELLARPRODUCERS_RENDEROUTPUTHANDLES_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include <boost/shared_ptr.hpp>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/ShadingNodeDescription.h>

/// The object behind a C camera handle: a reference count and the record that it keeps alive.
struct CameraInfoStruct {
    explicit CameraInfoStruct(std::shared_ptr<TELLAR::CameraInfo> camera)
        : camera(std::move(camera)) {}

    std::atomic<std::int32_t> refCount{1};
    const std::shared_ptr<TELLAR::CameraInfo> camera; // never null
};

/// The object behind the C handles of nodes and connections, which share one type in C.
struct OxShadingStruct {
    OxShadingStruct(bool isNode, boost::shared_ptr<const void> description)
        : isNode(isNode), description(std::move(description)) {}

    std::atomic<std::int32_t> refCount{1};
    const bool isNode;                               // otherwise a connection
    const boost::shared_ptr<const void> description; // never null
};

struct OxShadingNodeMapStruct {
    TELLAR::ShadingNodeDescription::NodeMap nodes;
};

namespace TELLAR::RenderOutputUtilsHost {

/// Null for null and for a connection.
inline const ShadingNodeDescription* NodeOf(const OxShadingStruct* handle) noexcept {
    if (!handle || !handle->isNode) return nullptr;
    return static_cast<const ShadingNodeDescription*>(handle->description.get());
}

/// Null for null and for a node.
inline const ShadingNodeConnectionDescription*
ConnectionOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->isNode) return nullptr;
    return static_cast<const ShadingNodeConnectionDescription*>(handle->description.get());
}

inline OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node) {
    return node ? new OxShadingStruct(true, std::move(node)) : nullptr;
}

inline OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection) {
    return connection ? new OxShadingStruct(false, std::move(connection)) : nullptr;
}

/// The nodes of a material or of the one at a location's producer.
template <typename Source>
OxShadingNodeMapStruct* MakeNodeMap(const Source& source) {
    auto map = std::make_unique<OxShadingNodeMapStruct>();
    ShadingNodeDescription::GetShadingNetworkNodes(source, map->nodes);
    return map.release();
}

} // namespace TELLAR::RenderOutputUtilsHost

#endif
