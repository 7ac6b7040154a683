#ifndef OXTELLARPRODUCERS_FLATTENEDMATERIALS_H
#define OXTELLARPRODUCERS_FLATTENEDMATERIALS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "GenerationCache.h"

namespace TELLAR {

/// The cache of flattened materials: results by location path, and by the materials and terminal
/// names that they were made of, so that locations with equal materials share one. Materials are
/// not kept, except for those in files, which take no memory of their own. It has no bound.
/// Threads: any; two threads that flatten the same materials at once get one result.
class FlattenedMaterials {
public:
    using Materials = std::vector<OxAttribute::GroupAttribute>;
    using TerminalNames = std::vector<std::string>;
    using Flatten = OxAttribute::GroupAttribute (*)(const Materials&, const TerminalNames&);

    static FlattenedMaterials& get();

    /// False when the path is not in the cache. Pass `generation` to the functions below, which
    /// keep nothing when the cache has been cleared since.
    bool find(const std::string& path, OxAttribute::GroupAttribute& flattened,
              std::uint64_t& generation);
    void keep(std::string path, std::uint64_t generation,
              const OxAttribute::GroupAttribute& flattened);

    /// The result of `flatten` for these materials and terminal names, from the cache if it is
    /// there.
    OxAttribute::GroupAttribute share(const Materials& materials,
                                      const TerminalNames& terminalNames, std::uint64_t generation,
                                      Flatten flatten);

    /// How many materials had their contents read for a hash since the cache was cleared.
    std::uint64_t numberOfHashedMaterials();

    void clear() { cache.clear(); }

private:
    /// Terminal names by their number, and materials by the hashes of their contents or, before
    /// those are known, by their addresses.
    struct Key {
        std::uint64_t terminalNames = 0;
        std::vector<OxAttribute::Hash> materials;

        friend bool operator==(const Key& a, const Key& b) {
            return a.terminalNames == b.terminalNames && a.materials == b.materials;
        }
    };
    struct HashOfKey {
        std::size_t operator()(const Key& key) const;
    };
    struct HashedInFile {
        OxAttribute::GroupAttribute material; // keeps the address from being used again
        OxAttribute::Hash hash;
    };
    struct Location {
        std::string path;
        OxAttribute::GroupAttribute flattened;
    };
    // The tables are those of the standard library, which stay intact when there is no memory for
    // one more entry; faster ones do not.
    struct Known {
        std::deque<Location> locations; // in the order in which they were first asked for
        std::unordered_map<std::string_view, std::size_t> byPath; // views of their paths
        std::map<TerminalNames, std::uint64_t> numbers;
        std::unordered_map<Key, OxAttribute::GroupAttribute, HashOfKey> results;
        std::unordered_map<const void*, HashedInFile> hashedInFiles; // by handle
        std::uint64_t hashed = 0;

        const Location* locate(const std::string& path) const;
        bool find(const Key& key, OxAttribute::GroupAttribute& result) const;
    };

    OxAttribute::Hash hashOf(const OxAttribute::GroupAttribute& material, std::uint64_t generation);

    GenerationCache<Known> cache;
};

} // namespace TELLAR

#endif
