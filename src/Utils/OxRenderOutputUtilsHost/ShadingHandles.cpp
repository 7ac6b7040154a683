#include "ShadingHandles.h"

#include <utility>

namespace TELLAR {
namespace RenderOutputUtilsHost {

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node) {
    return node ? new OxShadingStruct{1, OxShadingStruct::kNode, std::move(node)} : nullptr;
}

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection) {
    return connection ? new OxShadingStruct{1, OxShadingStruct::kConnection, std::move(connection)}
                      : nullptr;
}

boost::shared_ptr<const ShadingNodeDescription> NodeOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->kind != OxShadingStruct::kNode) return nullptr;
    return boost::static_pointer_cast<const ShadingNodeDescription>(handle->described);
}

boost::shared_ptr<const ShadingNodeConnectionDescription>
ConnectionOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->kind != OxShadingStruct::kConnection) return nullptr;
    return boost::static_pointer_cast<const ShadingNodeConnectionDescription>(handle->described);
}

void RetainShading(OxShadingStruct* handle) noexcept {
    if (handle) ++handle->refCount;
}

void ReleaseShading(OxShadingStruct* handle) noexcept {
    if (handle && --handle->refCount < 1) delete handle;
}

const char* FirstText(OxShadingStruct* handle) noexcept {
    if (const auto node = NodeOf(handle)) return node->getName().c_str();
    if (const auto connection = ConnectionOf(handle)) return connection->getName().c_str();
    return "";
}

const char* SecondText(OxShadingStruct* handle) noexcept {
    if (const auto node = NodeOf(handle)) return node->getType().c_str();
    if (const auto connection = ConnectionOf(handle)) return connection->getConnectedPort().c_str();
    return "";
}

const char* ThirdText(OxShadingStruct* handle) noexcept {
    const auto connection = ConnectionOf(handle);
    return connection ? connection->getConnectedNode().c_str() : "";
}

} // namespace RenderOutputUtilsHost
} // namespace TELLAR
