#ifndef TELLAR_CHECK_CONTENTCACHE_H
#define TELLAR_CHECK_CONTENTCACHE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include <xxhash.h>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// One hash of several. `purpose` tells apart what is computed of equal hashes.
inline OxAttribute::Hash JoinedHash(std::uint64_t purpose,
                                    std::initializer_list<OxAttribute::Hash> hashes) {
    OxAttribute::Hash joined{{purpose, 0}};
    for (const OxAttribute::Hash& hash : hashes) {
        const std::uint64_t words[] = {joined.words[0], joined.words[1], hash.words[0],
                                       hash.words[1]};
        const XXH128_hash_t next = XXH3_128bits(words, sizeof(words));
        joined = {{next.low64, next.high64}};
    }
    return joined;
}

inline OxAttribute::Hash HashOfText(std::string_view text) {
    const XXH128_hash_t hash = XXH3_128bits(text.data(), text.size());
    return {{hash.low64, hash.high64}};
}

/// Remembers what was computed of a content, by its hash. When it holds some hundred thousand
/// values, it forgets some of them, which are then computed again.
///
/// Threads: any. Two may compute one value at the same time.
template <typename Value>
class ContentCache {
public:
    using Ptr = std::shared_ptr<const Value>;

    /// The value for the hash, by `compute()` if it is not known. What that throws passes through.
    template <typename Compute>
    Ptr get(const OxAttribute::Hash& hash, const Compute& compute) {
        Shard& shard = shards[hash.words[0] % kShards];
        {
            const std::lock_guard<std::mutex> guard(shard.lock);
            const auto known = shard.values.find(hash);
            if (known != shard.values.end()) return known->second;
        }
        Ptr value = std::make_shared<const Value>(compute());
        const std::lock_guard<std::mutex> guard(shard.lock);
        if (shard.values.size() >= kMostInShard) shard.values.clear();
        shard.values.emplace(hash, value);
        return value;
    }

private:
    static constexpr std::size_t kShards = 64;
    static constexpr std::size_t kMostInShard = 4096;

    struct Shard {
        std::mutex lock;
        std::map<OxAttribute::Hash, Ptr> values; // guarded by lock
    };
    std::array<Shard, kShards> shards;
};

} // namespace TELLAR

#endif
