#ifndef TELLAR_FLATTENEDMATERIALS_H
#define TELLAR_FLATTENEDMATERIALS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// What is remembered of flattened materials until all of it is forgotten: the result of every
/// location by its path; and every result by what it was made of, so that locations with equal
/// materials share one value. The materials themselves are not kept, but for those in files, which
/// take no memory of their own. Threads: any. Materials are flattened outside of the lock, perhaps
/// by two threads at once, one of whose results is then shared.
class FlattenedMaterials {
public:
    using Materials = std::vector<OxAttribute::GroupAttribute>;
    using TerminalNames = std::vector<std::string>;
    using Flatten = OxAttribute::GroupAttribute (*)(const Materials&, const TerminalNames&);

    static FlattenedMaterials& get();

    /// False when the path was not asked for yet; `generation` then tells when it was asked.
    /// Nothing is kept for a generation after which all was forgotten.
    bool find(const std::string& path, OxAttribute::GroupAttribute& flattened,
              std::uint64_t& generation) const;
    void keep(std::string path, std::uint64_t generation,
              const OxAttribute::GroupAttribute& flattened);

    /// What `flatten` makes of the materials and terminal names, or made of them before.
    OxAttribute::GroupAttribute share(const Materials& materials,
                                      const TerminalNames& terminalNames, std::uint64_t generation,
                                      Flatten flatten);

    /// How many materials had their contents read for a hash: each once, until all is forgotten.
    std::uint64_t numberOfHashedMaterials() const;

    void clear();

private:
    /// A list of terminal names, and materials by their contents or by what tells those at once.
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
        OxAttribute::GroupAttribute material; // while it is here no other value gets its address
        OxAttribute::Hash hash;
    };
    struct Location {
        std::string path;
        OxAttribute::GroupAttribute flattened;
    };
    // The tables are those of the standard library: when there is no memory for one more entry
    // they stay as they were, where faster ones are not usable any more.
    struct Known {
        std::deque<Location> locations; // in the order in which they were first asked for
        std::unordered_map<std::string_view, std::size_t> byPath; // views of their paths
        std::map<TerminalNames, std::uint64_t> numbers;
        std::unordered_map<Key, OxAttribute::GroupAttribute, HashOfKey> results;
        std::unordered_map<const void*, HashedInFile> hashedInFiles; // by handle
    };

    static OxAttribute::Hash tellAtOnce(const OxAttribute::GroupAttribute& material);
    OxAttribute::Hash hashOf(const OxAttribute::GroupAttribute& material, std::uint64_t generation);
    OxAttribute::GroupAttribute enter(const Key& key, std::uint64_t generation,
                                      const OxAttribute::GroupAttribute& result);
    const Location* locate(const std::string& path) const;
    std::uint64_t numberOf(const TerminalNames& terminalNames);

    mutable std::mutex lock; // guards everything below
    Known known;
    std::uint64_t lastNumber = 0; // never given again, whatever is forgotten
    std::uint64_t cleared = 0;    // how often
    std::uint64_t hashed = 0;     // numberOfHashedMaterials
};

} // namespace TELLAR

#endif
