#include <OxTellarProducers/LocationContent.h>

#include <memory>
#include <string_view>

#include <boost/container/small_vector.hpp>
#include <xxhash.h>

#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

namespace {

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;

constexpr std::string_view kXForm = "xform";

bool HasPotentialChildren(GeometryProducer& location) {
    return location.getPotentialChildren().getNumberOfValues() > 0;
}

/// The zero hash when it is not known.
Hash SubtreeIdentity(GeometryProducer& location) {
    const std::shared_ptr<TellarRuntime::Client> client = location.getClient();
    return client ? OxOpType::DescribeSubtree(*client, location.getFullName()).identity : Hash();
}

} // namespace

Hash ContentHash(GeometryProducer& location) {
    const GroupAttribute attrs(location.getAttribute(nullptr));
    boost::container::small_vector<Hash, 32> parts;
    parts.push_back(location.getPotentialChildren().getHash());
    for (std::int64_t i = 0; i < attrs.getNumberOfChildren(); ++i) {
        const std::string_view name = attrs.getChildNameView(i);
        if (name == kXForm) continue;
        parts.push_back({{XXH3_64bits(name.data(), name.size()), name.size()}});
        parts.push_back(attrs.getChildByIndex(i).getHash());
    }
    const XXH128_hash_t hash = XXH3_128bits_withSeed(parts.data(), parts.size() * sizeof(Hash),
                                                     attrs.getGroupInherit() ? 1 : 0);
    return {{hash.high64, hash.low64}};
}

bool IsSameContent(GeometryProducer& a, GeometryProducer& b) {
    if (&a == &b) return true;
    if (ContentHash(a) != ContentHash(b)) return false;
    if (!HasPotentialChildren(a)) return true;
    const Hash identity = SubtreeIdentity(a);
    return identity != Hash() && identity == SubtreeIdentity(b);
}

} // namespace TELLAR
