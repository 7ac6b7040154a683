#include "ImageGroup.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

constexpr std::size_t kMaxBytes = std::numeric_limits<int>::max();

// Bytes in integers, the last of which is padded.
IntAttribute Packed(const std::string& bytes) {
    std::vector<int> values((bytes.size() + sizeof(int) - 1) / sizeof(int), 0);
    if (!bytes.empty()) std::memcpy(values.data(), bytes.data(), bytes.size());
    return IntAttribute(values, 1);
}

std::string Unpacked(const IntAttribute& packed, int size) {
    const auto sample = packed.getNearestSample(0.0f);
    if (size < 0 || static_cast<std::size_t>(size) > sample.size() * sizeof(int))
        throw std::runtime_error("the scene reader sent a damaged image");
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (size > 0) std::memcpy(bytes.data(), sample.data(), bytes.size());
    return bytes;
}

} // namespace

GroupAttribute ToGroup(const std::vector<ContentImage>& images) {
    GroupBuilder group;
    for (std::size_t i = 0; i < images.size(); ++i) {
        const std::string& bytes = images[i].bytes;
        const std::string sent = bytes.size() <= kMaxBytes ? bytes : std::string();
        GroupBuilder image;
        image.set("hint", StringAttribute(images[i].hint));
        image.set("size", IntAttribute(static_cast<int>(sent.size())));
        image.set("bytes", Packed(sent));
        group.set(std::to_string(i), image.build());
    }
    return group.build();
}

std::vector<ContentImage> ImagesFrom(const GroupAttribute& group) {
    std::vector<ContentImage> images;
    for (std::int64_t i = 0; group.isValid() && i < group.getNumberOfChildren(); ++i) {
        const GroupAttribute source(group.getChildByIndex(i));
        if (!source.isValid()) throw std::runtime_error("the scene reader sent a wrong image");
        ContentImage image;
        image.hint = StringAttribute(source.getChildByName("hint")).getValue("", false);
        image.bytes = Unpacked(IntAttribute(source.getChildByName("bytes")),
                               IntAttribute(source.getChildByName("size")).getValue(-1, false));
        images.push_back(std::move(image));
    }
    return images;
}

} // namespace TellarSceneImport
