#include "ShadingHandles.h"

#include <utility>

namespace TELLAR {
namespace RenderOutputUtilsHost {

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node) {
    return node ? new OxShadingStruct{1, std::move(node), {}} : nullptr;
}

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection) {
    return connection ? new OxShadingStruct{1, {}, std::move(connection)} : nullptr;
}

void RetainShading(OxShadingStruct* handle) noexcept {
    if (handle) ++handle->refCount;
}

void ReleaseShading(OxShadingStruct* handle) noexcept {
    if (handle && --handle->refCount < 1) delete handle;
}

const char* FirstText(OxShadingStruct* handle) noexcept {
    if (handle && handle->node) return handle->node->getName().c_str();
    if (handle && handle->connection) return handle->connection->getName().c_str();
    return "";
}

const char* SecondText(OxShadingStruct* handle) noexcept {
    if (handle && handle->node) return handle->node->getType().c_str();
    if (handle && handle->connection) return handle->connection->getConnectedPort().c_str();
    return "";
}

const char* ThirdText(OxShadingStruct* connection) noexcept {
    const bool isConnection = connection && connection->connection;
    return isConnection ? connection->connection->getConnectedNode().c_str() : "";
}

} // namespace RenderOutputUtilsHost
} // namespace TELLAR
