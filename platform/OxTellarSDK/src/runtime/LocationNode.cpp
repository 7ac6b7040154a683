#include "LocationNode.h"

#include <cstring>

namespace OxTellarRuntimeDetail {

void LocationNode::setName(std::string_view name) {
    if (IsLongName(name)) {
        longName = {name.data(), name.size()};
        nameLength = kLongName;
        return;
    }
    std::memcpy(inlineName, name.data(), name.size());
    nameLength = static_cast<std::uint8_t>(name.size());
}

std::string LocationNode::path() const {
    std::size_t bytes = 0;
    for (const LocationNode* node = this; node->parent(); node = node->parent())
        bytes += 1 + node->name().size();
    std::string path(bytes, '/');
    for (const LocationNode* node = this; node->parent(); node = node->parent()) {
        const std::string_view name = node->name();
        bytes -= name.size();
        std::memcpy(&path[bytes], name.data(), name.size());
        --bytes;
    }
    return path;
}

LocationRecord* LocationNode::acquireRecord() const noexcept {
    for (;;) {
        LocationRecord* seen = record.load(std::memory_order_acquire);
        if (!seen) return nullptr;
        // Between the two steps the record may have been replaced and reused for another node.
        if (seen->tryRetain()) {
            if (record.load(std::memory_order_acquire) == seen) return seen;
            seen->release();
        }
    }
}

} // namespace OxTellarRuntimeDetail
