#ifndef TELLAR_FLATTENEDMATERIALS_H
#define TELLAR_FLATTENEDMATERIALS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <absl/container/flat_hash_map.h>

namespace TELLAR {

/// What is remembered of flattened materials until all of it is forgotten: the result of every
/// location by its path; and every result by the materials that it was made of, so that locations
/// with the same materials, or equal ones, share one value. Threads: any. Materials are flattened
/// outside of the lock, perhaps by two threads at once, one of whose results is then used.
class FlattenedMaterials {
public:
    using Materials = std::vector<OxAttribute::GroupAttribute>;
    using TerminalNames = std::vector<std::string>;
    using Flatten = OxAttribute::GroupAttribute (*)(const Materials&, const TerminalNames&);

    static FlattenedMaterials& get();

    /// False when the path was not asked for yet; `generation` then tells when it was asked.
    bool find(const std::string& path, OxAttribute::GroupAttribute& flattened,
              std::uint64_t& generation) const;
    /// Not kept when all was forgotten since.
    void keep(std::string path, std::uint64_t generation,
              const OxAttribute::GroupAttribute& flattened);

    /// What `flatten` makes of the materials and terminal names, or made of them before.
    OxAttribute::GroupAttribute share(const Materials& materials,
                                      const TerminalNames& terminalNames, Flatten flatten);

    void clear();

private:
    // A list of terminal names by its number, and materials by handle or by content.
    using Handles = std::pair<std::uint64_t, std::vector<const OxAttributeStruct*>>;
    using Contents = std::pair<std::uint64_t, std::vector<OxAttribute::Hash>>;
    struct Result {
        Materials materials; // while they are here no other value can get their handles
        OxAttribute::GroupAttribute flattened;
    };
    struct Location {
        std::string path;
        OxAttribute::GroupAttribute flattened;
    };
    struct Known {
        std::deque<Location> locations; // in the order in which they were first asked for
        absl::flat_hash_map<std::string_view, std::size_t> byPath; // views of their paths
        std::map<TerminalNames, std::uint64_t> numbers;
        absl::flat_hash_map<Handles, Result> byHandles;
        std::map<Contents, OxAttribute::GroupAttribute> byContents;
    };

    const Location* locate(const std::string& path) const;
    std::uint64_t numberOf(const TerminalNames& terminalNames);

    mutable std::mutex lock; // guards everything below
    Known known;
    std::uint64_t lastNumber = 0; // never given again, whatever is forgotten
    std::uint64_t cleared = 0;    // how often
};

} // namespace TELLAR

#endif
