#include "ShadingHandles.h"

#include <utility>

namespace TELLAR {
namespace RenderOutputUtilsHost {

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node) {
    return node ? new NodeHandle{{1, OxShadingStruct::kNode}, std::move(node)} : nullptr;
}

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection) {
    return connection
               ? new ConnectionHandle{{1, OxShadingStruct::kConnection}, std::move(connection)}
               : nullptr;
}

boost::shared_ptr<const ShadingNodeDescription> NodeOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->kind != OxShadingStruct::kNode) return nullptr;
    return static_cast<const NodeHandle*>(handle)->node;
}

boost::shared_ptr<const ShadingNodeConnectionDescription>
ConnectionOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->kind != OxShadingStruct::kConnection) return nullptr;
    return static_cast<const ConnectionHandle*>(handle)->connection;
}

void RetainShading(OxShadingStruct* handle) noexcept {
    if (handle) ++handle->refCount;
}

void ReleaseShading(OxShadingStruct* handle) noexcept {
    if (!handle || --handle->refCount >= 1) return;
    if (handle->kind == OxShadingStruct::kNode)
        delete static_cast<NodeHandle*>(handle);
    else
        delete static_cast<ConnectionHandle*>(handle);
}

} // namespace RenderOutputUtilsHost
} // namespace TELLAR
